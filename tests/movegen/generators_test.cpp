#include "movegen/generators.h"

#include "movegen/generated.h"
#include "movegen/ordering.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/move_text.h"

#include <gtest/gtest.h>

#include <random>

namespace {

class Generators : public testing::Test {
  protected:
    void SetUp() override {
        ClearMoveStats();
        Ply = 0;
        PlyState[0] = {};
    }

    std::vector<MoveEntry> Captures() {
        return Generated([] { GenerateCaptures(thread_board.ColourPieces[ChangeSide(thread_board.SideToMove)]); });
    }
    std::string Quiets() {
        return TextsOf(Generated([] { GenerateQuiets(0); }));
    }
    void Play(std::initializer_list<const char*> moves) {
        for (const char* move : moves) {
            MakeMove(MoveFromText(move), 1);
        }
    }
};

TEST_F(Generators, OrderOfQuietMoves) {
    PlaceStartPosition();
    Play({"e2e4"});
    EXPECT_TRUE(Captures().empty());
    EXPECT_EQ(Quiets(),
              "b8a6 b8c6 g8f6 g8h6 h7h6 h7h5 g7g6 g7g5 f7f6 f7f5 e7e6 e7e5 d7d6 d7d5 c7c6 c7c5 b7b6 b7b5 "
              "a7a6 a7a5")
        << "black pawns from the highest square down";
    SetupFen("4k3/P7/8/8/8/1p6/1P4B1/R3K2R w KQ -");
    EXPECT_EQ(Quiets(),
              "e1g1 e1c1 g2f1 g2f3 g2h3 g2e4 g2d5 g2c6 g2b7 g2a8 a1b1 a1c1 a1d1 a1a2 a1a3 a1a4 a1a5 a1a6 "
              "h1f1 h1g1 h1h2 h1h3 h1h4 h1h5 h1h6 h1h7 h1h8 e1d1 e1f1 e1d2 e1e2 e1f2");
}

TEST_F(Generators, OrderOfCapturesAndPromotions) {
    SetupFen("3r1n2/4P3/8/8/8/8/8/K6k w - -");
    EXPECT_EQ(TextsOf(Captures()), "e7d8q e7d8n e7d8r e7d8b e7f8q e7f8n e7f8r e7f8b");
    EXPECT_EQ(TextsOf(Generated([] { GenerateSafeCaptures(thread_board.ColourPieces[BLACK]); })), "e7d8q e7f8q");
    EXPECT_EQ(TextsOf(Generated(GeneratePromotions)), "e7e8q e7e8r e7e8n e7e8b");

    SetupFen("k7/P5P1/8/8/8/8/2p3p1/K7 b - -");
    EXPECT_EQ(TextsOf(Generated(GeneratePromotions)), "g2g1q g2g1r g2g1n g2g1b c2c1q c2c1r c2c1n c2c1b");
    EXPECT_EQ(TextsOf(Captures()), "a8a7");

    SetupFen("4k3/8/8/2pqp3/3Pn3/1N3B2/8/3QK3 w - -");
    EXPECT_EQ(TextsOf(Captures()), "d4c5 d4e5 b3c5 f3e4");
    SetupFen("4k3/8/8/2pqp3/3P1P2/8/8/4K3 b - -");
    EXPECT_EQ(TextsOf(Captures()), "e5d4 e5f4 c5d4 d5d4") << "black pawns from the highest square down";
}

// Where it is legal, and what it opens, is told by the random games and by the known counts.
TEST_F(Generators, EnPassantFollowsADoublePushOnly) {
    PlaceStartPosition();
    Play({"e2e4", "d7d5", "e4e5", "f7f5"});
    ASSERT_EQ(TextsOf(Captures()), "e5f6");
    GameHistory[GamePly++].move = 0;
    EXPECT_EQ(TextsOf(Captures()), "") << "after a null move";
    ClearHistory();
    EXPECT_EQ(TextsOf(Captures()), "") << "without a last move";
    SetupFen("4k3/8/8/7p/PpP5/8/8/4K3 b - a3");
    EXPECT_EQ(TextsOf(Captures()), "b4a3") << "h5 stands beside a4 on no board";
    SetupFen("4k3/8/3n4/3pP3/8/8/8/4K3 w - d6");
    ASSERT_EQ(TextsOf(Captures()), "e5d6");
    EXPECT_EQ(MoveCaptured(Captures()[0].Move), KNIGHT) << "a set-up with a man on the passed square";
}

TEST_F(Generators, OrderOfEvasions) {
    const char* const cases[][2] = {
        // King, pieces, pushes, pawn captures; double pushes before single ones; promotions; en passant last.
        {"4k3/8/8/8/3r4/2P1PN2/BP6/Q2K3R w - -", "d1c1 d1e1 d1c2 d1e2 f3d2 f3d4 c3d4 e3d4"},
        {"4k3/8/8/8/r5K1/8/2PPP3/8 w - -", "g4f3 g4g3 g4h3 g4f5 g4g5 g4h5 c2c4 d2d4 e2e4"},
        {"3rk3/2P5/8/8/8/8/8/3K4 w - -", "d1c1 d1e1 d1c2 d1e2 c7d8q c7d8r c7d8b c7d8n"},
        {"8/8/8/2PpP3/4K3/8/8/7k w - d6", "e4d3 e4e3 e4f3 e4d4 e4f4 e4d5 e4f5 c5d6 e5d6"},
        {"4k3/8/8/8/8/8/8/4RK2 b - -", "e8d7 e8f7 e8d8 e8f8"},
    };
    for (const auto& [fen, evasions] : cases) {
        SetupFen(fen);
        EXPECT_EQ(TextsOf(Generated(GenerateEvasionsPlain)), evasions) << fen;
    }
}

/// Boards that no game reaches: any man on any square, kings missing or many, a double push that never was. The
/// generators answer with words that fit the board, in the room a batch has.
TEST_F(Generators, ImpossibleBoards) {
    std::mt19937 random(3);
    for (int round = 0; round < 4000; ++round) {
        ClearBoard();
        ClearHistory();
        const auto density = random() % 9 + 1;
        constexpr int codes[] = {KING, KNIGHT, PAWN, ROOK, BISHOP, QUEEN, QUEEN, PAWN};
        for (int square = 0; square < 64; ++square) {
            if (random() % 10 < density) {
                PlacePiece(square, static_cast<Colour>(random() % 2), round % 5 == 0 ? QUEEN : codes[random() % 8]);
            }
        }
        thread_board.KingSquare[WHITE] = static_cast<int>(random() % 64);
        thread_board.KingSquare[BLACK] = static_cast<int>(random() % 64);
        thread_board.SideToMove = static_cast<Colour>(random() % 2);
        thread_board.CastlingFlags = 0;
        if (round % 3 == 0) {
            const int from = static_cast<int>(random() % 48);
            const bool white = thread_board.SideToMove == BLACK;
            GameHistory[0].move = white ? BuildMove(from, from + 16, PAWN) : BuildMove(from + 16, from, PAWN);
            GamePly = 1;
        }
        PlyState[0].AttackMap[WHITE] = PlyState[0].AttackMap[BLACK] = round % 2 == 0 ? 0 : random();

        const Bitboard targets = thread_board.ColourPieces[ChangeSide(thread_board.SideToMove)];
        std::vector<MoveEntry> moves = Generated([&] {
            GenerateCaptures(targets);
            GeneratePromotions();
            GenerateQuiets(0);
        });
        ASSERT_LE(moves.size(), static_cast<std::size_t>(MAX_MOVES));
        for (auto* generate : {GenerateEvasionsPlain, +[] { GenerateChecks(0); }, +[] { GenerateSafeQuiets(1); }}) {
            const std::vector<MoveEntry> more = Generated(generate);
            ASSERT_LE(more.size(), static_cast<std::size_t>(MAX_MOVES));
            moves.insert(moves.end(), more.begin(), more.end());
        }
        IsCheckmated();
        for (const MoveEntry& entry : moves) {
            const Move move = entry.Move;
            ASSERT_EQ(move >> 21, 0u);
            ASSERT_EQ(MoveCaptured(move), static_cast<int>(thread_board.Board[MoveTo(move)])) << TextOf(move);
            if (MovePiece(move) != KING) {
                ASSERT_EQ(MovePiece(move), static_cast<int>(thread_board.Board[MoveFrom(move)])) << TextOf(move);
                ASSERT_LE(std::abs(RankOf(MoveFrom(move)) - RankOf(MoveTo(move))), MovePiece(move) == PAWN ? 2 : 7);
            }
        }
    }
    ClearHistory();
    PlaceStartPosition();
}

}  // namespace
