#include "tools/perft.h"

#include "movegen/search_records.h"
#include "position/board.h"
#include "position/fen.h"
#include "support/board_tables.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

class PerftTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { FillBoardTables(); }
};

TEST_F(PerftTest, KnownCounts) {
    std::ifstream file(QUORVANTH_TEST_DATA "/perft.epd");
    int counts = 0;
    for (std::string line; std::getline(file, line);) {
        const std::string fen = line.substr(0, line.find(';'));
        for (std::size_t at = line.find(';'); at != std::string::npos; at = line.find(';', at + 1), ++counts) {
            int depth = 0;
            unsigned long long leaves = 0;
            ASSERT_EQ(std::sscanf(line.c_str() + at, "; D%d %llu", &depth, &leaves), 2) << line;
            SetupFen(fen);
            const std::string before = WriteFen(0);
            EXPECT_EQ(CountMoves(depth), leaves) << fen << " depth " << depth;
            EXPECT_TRUE(WriteFen(0) == before && PositionIsConsistent() && MoveCount == 0) << fen;
        }
    }
    EXPECT_GT(counts, 50);
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

}  // namespace
