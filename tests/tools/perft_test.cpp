#include "tools/perft.h"

#include "movegen/search_records.h"
#include "position/board.h"
#include "position/fen.h"
#include "support/board_tables.h"
#include "support/perft_lines.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

class PerftTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { FillBoardTables(); }
};

TEST_F(PerftTest, KnownCounts) {
    const std::vector<PerftLine> lines = ReadPerftFile(QUORVANTH_TEST_DATA "/perft.epd");
    ASSERT_GT(lines.size(), 40u);
    for (const PerftLine& line : lines) {
        for (const PerftCount& known : line.counts) {
            ASSERT_GE(known.depth, 1) << line.fen;
            SetupFen(line.fen);
            EXPECT_EQ(CountMoves(known.depth), known.leaves) << line.fen << " depth " << known.depth;
        }
    }
}

TEST_F(PerftTest, NothingToCount) {
    PlaceStartPosition();
    for (const int depth : {0, -1, INT_MIN}) {
        EXPECT_EQ(CountMoves(depth), 0u) << depth;
    }
    SetupFen("4k3/4R3/8/8/8/8/8/4K3 w - -");
    EXPECT_EQ(CountMoves(1), 0u) << "the side not to move stands in check";
    EXPECT_EQ(CountMoves(3), 0u);
    SetupFen("R3k3/8/4K3/8/8/8/8/8 b - -");
    EXPECT_EQ(CountMoves(1), 0u) << "mate";
}

/// Both kings shuffle between two squares for ever: one sequence of any length, so the bounds are what ends it.
TEST_F(PerftTest, DepthIsBounded) {
    SetupFen("k1b5/1p1p4/1P1P4/8/8/1p1p4/1P1P4/K1B5 w - -");
    for (const int depth : {1, 2, 100, HISTORY_RECORDS, INT_MAX}) {
        EXPECT_EQ(CountMoves(depth), 1u) << depth;
    }
    // A game that has filled its records makes room first.
    for (int ply = 0; ply < 600; ++ply) {
        MakeRoomInHistory();
        MakeMove(ply % 4 < 2 ? BuildMove(ply % 2 * A8, ply % 2 * A8 + 1, KING)
                             : BuildMove(ply % 2 * A8 + 1, ply % 2 * A8, KING),
                 1);
    }
    EXPECT_EQ(CountMoves(INT_MAX), 1u);
    EXPECT_EQ(MoveCount, 0);
}

TEST_F(PerftTest, LeavesEverythingAsItWas) {
    SetupFen("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -");
    MoveCount = 40;
    EXPECT_EQ(CountMoves(2), 2039u);
    EXPECT_EQ(MoveCount, 40);
    EXPECT_STREQ(WriteFen(0), "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - ");
    EXPECT_TRUE(PositionIsConsistent());
    EXPECT_EQ(GamePly, 0);
    MoveCount = 0;
}

TEST_F(PerftTest, Report) {
    PlaceStartPosition();
    testing::internal::CaptureStdout();
    Perft(3);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text.find("total moves = 8902 time = "), 0U) << text;
    EXPECT_EQ(text.find('.'), text.size() - 4) << text;  // two digits of a second
}

}  // namespace
