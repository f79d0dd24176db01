#include "frontend/tokens.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

TEST(CommandIs, AgreesUpToTheShorterEnd) {
    struct Case {
        const char* keyword;
        const char* text;
        bool matches;
    };
    const Case cases[] = {
        {"help", "h", true},          {"help", "hard", false},     {"hard", "HARD", true},
        {"perft", "  perft 5", true}, {"  perft", "perft", true},  {"perft", "perft5", true},
        {"perft", "per ft", false},   {"help", "", false},         {"help", "   ", false},
        {"", "help", false},          {"st", "stop", false},       {"stop", "st", false},
        {"st", "st 10", true},        {"stop", "stopping", false}, {"uci", "ucinewgame", false},
        {"ucinewgame", "uci", false}, {"q", "quit", true},         {"ucinewgame", "UciNewGame ", true}};
    for (const Case& each : cases) {
        EXPECT_EQ(CommandIs(each.keyword, each.text), each.matches) << each.keyword << " | " << each.text;
    }
}

TEST(Tokenize, SplitsAtRunsAndCountsTheOpenEnd) {
    struct Case {
        const char* line;
        const char* delimiters;
        std::vector<std::string> tokens;
        std::vector<int> offsets;
    };
    const Case cases[] = {
        {"", " ", {""}, {0}},
        {"   ", " ", {""}, {3}},
        {"go", " ", {"go"}, {0}},
        {"go ", " ", {"go", ""}, {0, 3}},
        {"  go   depth 5", " ", {"go", "depth", "5"}, {2, 7, 13}},
        {"level 40 5:30 2", " :", {"level", "40", "5", "30", "2"}, {0, 6, 9, 11, 14}},
        {"level 40 5:30 2", " ", {"level", "40", "5:30", "2"}, {0, 6, 9, 14}},
    };
    for (const Case& each : cases) {
        const std::string line = each.line;
        ASSERT_EQ(Tokenize(line, each.delimiters), static_cast<int>(each.tokens.size())) << each.line;
        for (std::size_t i = 0; i < each.tokens.size(); ++i) {
            EXPECT_EQ(Tokens[i], each.tokens[i]) << each.line;
            EXPECT_EQ(TokenOffset[i], each.offsets[i]) << each.line;
        }
    }
}

TEST(Tokenize, IgnoresWhatIsBeyondItsBound) {
    std::string line;
    for (int i = 0; i < MAX_TOKENS + 500; ++i) {
        line.append("a").append(std::to_string(i)).append(" ");
    }
    EXPECT_EQ(Tokenize(line, " "), MAX_TOKENS);
    EXPECT_EQ(Tokens[MAX_TOKENS - 1], std::string("a").append(std::to_string(MAX_TOKENS - 1)));

    std::string_view rest = line;
    int walked = 0;
    while (!rest.empty()) {
        walked += TakeToken(rest, " ").empty() ? 0 : 1;
    }
    EXPECT_EQ(walked, MAX_TOKENS + 500);
}

TEST(TextFromToken, KeepsTheBlanksOfAPath) {
    const std::string line = "setoption name SyzygyPath value  c:\\my tables;d:\\more  ones";
    Tokenize(line, " ");
    EXPECT_EQ(TextFromToken(line, 4), "c:\\my tables;d:\\more  ones");
    Tokenize("setoption name", " ");  // nothing is left of the line before
    EXPECT_TRUE(Tokens[2].empty() && Tokens[4].empty());
    EXPECT_EQ(TextFromToken("setoption name", 4), "");
}

TEST(TextToInteger, ToleratesJunkAndSaturates) {
    constexpr std::int32_t low = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t high = std::numeric_limits<std::int32_t>::max();
    const std::pair<const char*, std::int32_t> cases[] = {{"", 0},
                                                          {"junk", 0},
                                                          {"-", 0},
                                                          {"+-3", 0},
                                                          {"12ab", 12},
                                                          {" \t-7 9", -7},
                                                          {"+5", 5},
                                                          {"007", 7},
                                                          {"2147483647", high},
                                                          {"2147483648", high},
                                                          {"-2147483648", low},
                                                          {"-2147483649", low},
                                                          {"99999999999999999999999999", high},
                                                          {"-99999999999999999999999999", low}};
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(TextToInteger(text), value) << text;
    }
    const std::pair<const char*, std::int64_t> wide[] = {
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"9223372036854775808", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {"-9223372036854775809", std::numeric_limits<std::int64_t>::min()},
        {"5000000000", 5000000000},
    };
    for (const auto& [text, value] : wide) {
        EXPECT_EQ(TextToInteger64(text), value) << text;
    }
    EXPECT_EQ(SaturatingProduct(high, 100), high);
    EXPECT_EQ(SaturatingProduct(low, 100), low);
    EXPECT_EQ(SaturatingProduct(-3, 100), -300);
}

}  // namespace
