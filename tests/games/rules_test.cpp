#include "games/rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>

#include "games/san.h"
#include "position/board.h"
#include "support/rules_environment.h"

namespace {

void Begin(std::string_view text) {
    std::string error;
    const std::string fen = TidyFen(text, error);
    ASSERT_FALSE(fen.empty()) << text << ": " << error;
    BeginGame(fen);
}

/// Plays the moves, which must not end the game before the last.
void Play(const std::string& moves) {
    std::istringstream words(moves);
    for (std::string word; words >> word;) {
        ASSERT_EQ(GameEnding(), Ending::NONE) << "before " << word;
        const Move move = MoveFromSan(word);
        ASSERT_NE(move, 0u) << word;
        PlayGameMove(move);
    }
}

TEST(GamesRules, EndingsOfPositions) {
    struct Case {
        const char* fen;
        Ending ending;
    };
    for (const Case& each : {
             Case{"rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq -", Ending::CHECKMATE},
             Case{"7k/5Q2/6K1/8/8/8/8/8 b - -", Ending::STALEMATE},
             Case{"4k3/8/8/8/8/8/8/4K3 w - -", Ending::DEAD_POSITION},
             Case{"4k3/8/8/8/8/8/8/4KN2 w - -", Ending::DEAD_POSITION},
             Case{"4kb2/8/8/8/8/8/8/4K3 w - -", Ending::DEAD_POSITION},
             Case{"4kb2/8/8/8/8/B7/8/4K3 w - -", Ending::DEAD_POSITION},
             Case{"2b1k3/8/8/8/8/B7/8/4K3 w - -", Ending::NONE},
             Case{"4k3/8/8/8/8/8/8/3NKN2 w - -", Ending::NONE},
             Case{"4k1n1/8/8/8/8/8/8/4KN2 w - -", Ending::NONE},
             Case{"4kb2/8/8/8/8/8/8/4KN2 w - -", Ending::NONE},
             Case{"4k3/7p/8/8/8/8/8/4K3 w - -", Ending::NONE},
         }) {
        Begin(each.fen);
        EXPECT_EQ(GameEnding(), each.ending) << each.fen;
    }
}

// With the right to castle the first position was another one.
TEST(GamesRules, RepetitionRespectsCastling) {
    Begin("4k3/8/8/8/8/8/P7/R3K3 w Q -");
    Play("Rb1 Kd7 Ra1 Ke8 Rb1 Kd7 Ra1 Ke8");
    EXPECT_EQ(GameEnding(), Ending::NONE);
    Play("Rb1");
    EXPECT_EQ(GameEnding(), Ending::REPETITION);
}

TEST(GamesRules, RepetitionRespectsEnPassantThatIsLegal) {
    // exd6 was possible the first time.
    Begin("4k3/3p4/8/4P3/8/8/8/4K3 b - -");
    Play("d5 Kd1 Kd8 Ke1 Ke8 Kd1 Kd8 Ke1 Ke8");
    EXPECT_EQ(GameEnding(), Ending::NONE);
    // Here the pawn is pinned against its king: the position is the same each time.
    Begin("k3r3/3p4/8/4P3/8/8/8/4K3 b - -");
    Play("d5 Kd1 Rf8 Ke1 Re8 Kd1 Rf8 Ke1 Re8");
    EXPECT_EQ(GameEnding(), Ending::REPETITION);
}

TEST(GamesRules, FiftyMoves) {
    Begin("4k3/8/8/8/8/8/P7/R3K3 w - - 98 120");
    Play("Rb1 Kd7");
    EXPECT_EQ(GameEnding(), Ending::FIFTY_MOVES);
    EXPECT_EQ(GameMoveNumber(), 121);
    Begin("4k3/8/8/8/8/8/P7/R3K3 w - - 99 120");
    Play("a3 Kd7");
    EXPECT_EQ(GameEnding(), Ending::NONE);
    // Mate on the last half-move stands.
    Begin("7k/8/6K1/8/8/8/8/R7 w - - 99 120");
    Play("Ra8#");
    EXPECT_EQ(GameEnding(), Ending::CHECKMATE);
}

// The engine's own record of a game holds fewer half-moves than this.
TEST(GamesRules, LongGames) {
    constexpr int HALF_MOVES = 1000;
    Begin("nrb1k1rn/pppppppp/8/8/8/8/PPPPPPPP/NRB1K1RN w - -");
    std::mt19937 random(3);
    for (int played = 0; played < HALF_MOVES; ++played) {
        ASSERT_EQ(GameEnding(), Ending::NONE) << "after " << played;
        // Quiet moves, and now and then a pawn's, keep the game going.
        const bool pawn_moves = thread_board.FiftyCounter > 80;
        std::vector<Move> choice;
        std::ranges::copy_if(GameMoves(), std::back_inserter(choice),
                             [&](Move move) { return IsQuiet(move) && (MovePiece(move) == PAWN) == pawn_moves; });
        const std::vector<Move>& moves = choice.empty() ? GameMoves() : choice;
        const Move move = moves[random() % moves.size()];
        ASSERT_EQ(MoveFromSan(MoveToSan(move)), move);
        PlayGameMove(move);
        ASSERT_TRUE(PositionIsConsistent());
    }
    EXPECT_EQ(GameMoveNumber(), 1 + HALF_MOVES / 2);
}

TEST(GamesRules, TidyFenReadsAndRefuses) {
    std::string error;
    EXPECT_EQ(TidyFen(START_FEN, error), START_FEN);
    EXPECT_EQ(TidyFen("4k3/8/8/3pP3/8/8/8/4K3  w  -  d6", error), "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1");
    EXPECT_EQ(TidyFen("4k3/8/8/3pP3/8/8/8/4K3 b - - hmvc 7; id \"x\"; fmvn 33;", error),
              "4k3/8/8/3pP3/8/8/8/4K3 b - - 7 33");
    // Rights that the board denies go.
    EXPECT_EQ(TidyFen("4k3/8/8/8/8/8/P7/4K2R w KQkq - 3 9", error), "4k3/8/8/8/8/8/P7/4K2R w K - 3 9");
    EXPECT_EQ(error, "");
    for (const char* bad :
         {"", "hello", "4k3/8/8/8/8/8/8 w - -", "4k3/8/8/8/8/8/8/4K3/8 w - -", "4k4/8/8/8/8/8/8/4K3 w - -",
          "4k3/8/8/8/8/8/8/4K3", "4k3/8/8/8/8/8/8/4K3 x - -", "4k3/8/8/8/8/8/8/4K3 w Z -", "4k3/8/8/8/8/8/8/4K3 w - d4",
          "4k3/8/8/8/8/8/8/8 w - -", "4k3/4R3/8/8/8/8/8/4K3 w - -", "4k2P/8/8/8/8/8/8/4K3 w - -",
          "4k3/8/8/8/8/8/P7/4K3 w - - 100 90", "4k3/pppppppp/p7/8/8/8/8/4K3 w - -", "99999999/8/8/8/8/8/8/8 w - -"}) {
        error.clear();
        EXPECT_EQ(TidyFen(bad, error), "") << bad;
        EXPECT_NE(error, "") << bad;
    }
}

}  // namespace
