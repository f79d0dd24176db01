#include "match/openings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <ranges>

#include "games/rules.h"
#include "position/move_text.h"
#include "support/rules_environment.h"

namespace {

constexpr int ALL = std::numeric_limits<int>::max();

std::string MovesOf(const Opening& opening) {
    std::string text;
    char buffer[MOVE_BUFFER];
    for (const Move move : opening.moves) {
        text += (text.empty() ? "" : " ");
        text += MoveToText(buffer, move);
    }
    return text;
}

TEST(MatchOpenings, PgnWithItsUsualNoise) {
    constexpr std::string_view text =
        "\xef\xbb\xbf% a line for programs\n"
        "[Event \"with \\\"quotes\\\" and ] inside\"]\n[Result \"*\"]\n\n"
        "1. e4 {a comment (with 1. d4)} e5 $1 2.Nf3!? (2. f4 {King's} exf4 (2... d5)) 2... Nc6 ; to the end 3. Bc4\n"
        "3 Bb5 a6?! *\n"
        "[Event \"from a position\"]\r\n[FEN \"4k3/8/8/8/8/8/P7/4K2R w K - 0 20\"]\r\n[SetUp \"1\"]\r\n\r\n"
        "20. O-O Ke7 1/2-1/2\n\n"
        "1. d4 d5 1-0\n"
        "[Event \"no moves\"]\n\n*\n"
        "[Event \"no result\"]\n\n1. c4";
    std::string error;
    const std::vector<Opening> openings = ReadPgnOpenings(text, ALL, error);
    ASSERT_EQ(error, "");
    ASSERT_EQ(openings.size(), 5u);
    EXPECT_EQ(MovesOf(openings[0]), "e2e4 e7e5 g1f3 b8c6 f1b5 a7a6");
    EXPECT_EQ(openings[0].fen, START_FEN);
    EXPECT_EQ(openings[1].fen, "4k3/8/8/8/8/8/P7/4K2R w K - 0 20");
    EXPECT_EQ(MovesOf(openings[1]), "e1g1 e8e7");
    EXPECT_EQ(MovesOf(openings[2]), "d2d4 d7d5");
    EXPECT_EQ(MovesOf(openings[3]), "");
    EXPECT_EQ(MovesOf(openings[4]), "c2c4");

    const std::vector<Opening> cut = ReadPgnOpenings(text, 3, error);
    ASSERT_EQ(cut.size(), 5u);
    EXPECT_EQ(MovesOf(cut[0]), "e2e4 e7e5 g1f3");
}

TEST(MatchOpenings, BadPgnIsRefusedWithItsPlace) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "no game"},
        {"{never closed", "no game"},
        {"1. e4 e5 *\n\n1. e4 Ke7 *", "game 2, line 3"},
        {"[FEN \"8/8/8/8/8/8/8/8 w - -\"]\n\n*", "game 1, line 1"},
        {"1. f3 e5 2. g4 Qh4# 0-1", "over before it begins"},
        {"1. \" *", "by the name"},
    };
    for (const auto& [text, message] : cases) {
        std::string error;
        EXPECT_TRUE(ReadPgnOpenings(text, ALL, error).empty()) << text;
        EXPECT_NE(error.find(message), std::string::npos) << text << ": " << error;
    }
}

// Any text has an end, and an answer: openings or a reason why not.
TEST(MatchOpenings, AnyTextIsAnswered) {
    constexpr std::string_view PIECES[] = {"[", "]",   "{",    "}",    "(",  ")",  ";",   "\"", "\\", "\n",
                                           " ", "1.",  "1-0",  "*",    "e4", "e5", "Nf3", "$",  "%",  "<",
                                           ".", "0-0", "\xff", "FEN ", "w",  "/",  "8",   "k"};
    std::mt19937 random(11);
    for (int trial = 0; trial < 2000; ++trial) {
        std::string text;
        for (int i = 0; i < 40; ++i) {
            text += PIECES[random() % std::size(PIECES)];
        }
        std::string error;
        const bool no_game = ReadPgnOpenings(text, ALL, error).empty();
        EXPECT_EQ(no_game, !error.empty()) << text;
        error.clear();
        const bool no_position = ReadEpdOpenings(text, error).empty();
        EXPECT_EQ(no_position, !error.empty()) << text;
    }
}

TEST(MatchOpenings, Epd) {
    std::string error;
    const std::vector<Opening> openings = ReadEpdOpenings(
        "# positions\r\n\n  4k3/8/8/8/8/8/P7/4K3 w - - bm a4; id \"one\";\r\n4k3/8/8/8/8/8/P7/4K3 b - - 5 41", error);
    ASSERT_EQ(openings.size(), 2u) << error;
    EXPECT_EQ(openings[0].fen, "4k3/8/8/8/8/8/P7/4K3 w - - 0 1");
    EXPECT_EQ(openings[1].fen, "4k3/8/8/8/8/8/P7/4K3 b - - 5 41");

    EXPECT_TRUE(ReadEpdOpenings("4k3/8/8/8/8/8/P7/4K3 w - -\nrubbish\n", error).empty());
    EXPECT_EQ(error.find("line 2: "), 0u) << error;
    EXPECT_TRUE(ReadEpdOpenings("4k3/8/8/8/8/8/8/4K3 w - -", error).empty());
    EXPECT_NE(error.find("over before it begins"), std::string::npos);
    EXPECT_TRUE(ReadEpdOpenings("# nothing\n", error).empty());
}

TEST(MatchOpenings, OrderFollowsTheSeed) {
    const std::vector<std::size_t> order = ShuffledOrder(100, 5);
    EXPECT_EQ(order, ShuffledOrder(100, 5));
    EXPECT_NE(order, ShuffledOrder(100, 6));
    EXPECT_FALSE(std::ranges::is_sorted(order));
    EXPECT_TRUE(std::ranges::is_permutation(order, std::views::iota(std::size_t{0}, std::size_t{100})));
}

}  // namespace
