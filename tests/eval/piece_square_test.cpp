#include "position/piece_square.h"

#include <gtest/gtest.h>

#include <array>

#include "eval/built_in_piece_square.h"
#include "eval/init.h"
#include "eval/packed.h"
#include "eval/parameters.h"

namespace {

using Table = std::array<std::int32_t, 1024>;

Table BuiltTable() {
    Table table{};
    const Table before = std::to_array(PieceSquareTable);
    BuildPieceSquareTable();
    std::ranges::copy(PieceSquareTable, table.begin());
    std::ranges::copy(before, PieceSquareTable);
    return table;
}

/// As at start-up: taken before any test can have put parameters in the place of the built-in rows.
const Table StartTable = BuiltTable();

std::size_t At(int code, int colour, int square) {
    return static_cast<std::size_t>(PieceSquareIndex(code, colour, square));
}

TEST(PieceSquare, StartTableHoldsTheBuiltInNumbers) {
    for (std::size_t i = 0; i < 1024; ++i) {
        EXPECT_EQ(StartTable[i], PieceSquareOpen[i] * 65536 + PieceSquareEnd[i]) << i;
        EXPECT_EQ(StartTable[i], StartTable[i ^ (1 << 6) ^ 56]) << "Black reads the mirrored rank " << i;
    }
    const struct {
        int code, colour, square, opening, ending;
    } cases[] = {
        {KING, WHITE, G1, 15, -48},
        {KING, WHITE, B1, 19, -48},
        {KING, BLACK, G8, 15, -48},
        {KNIGHT, WHITE, A8, -76, -40},
        {KNIGHT, BLACK, A1, -76, -40},
        {PAWN, WHITE, D2 + 16, 25, 2},
        {PAWN, BLACK, E7 - 16, 15 + 10, 2},
        {ROOK, WHITE, H2, -6, 0},
        {BISHOP, BLACK, H8, -18, -18},
        {BISHOP, WHITE, H8, -8, -18},
        {QUEEN, WHITE, C1, -5, -12},
        {QUEEN, BLACK, C1, 0, -12},
        {0, WHITE, E1, 0, 0},
        {4, BLACK, E8, 0, 0},
    };
    for (const auto& c : cases) {
        const std::size_t at = At(c.code, c.colour, c.square);
        EXPECT_EQ(PieceSquareOpen[at], c.opening) << c.code << " on " << c.square;
        EXPECT_EQ(PieceSquareEnd[at], c.ending) << c.code << " on " << c.square;
    }
}

TEST(PieceSquare, ParametersFoldBothWings) {
    AssignParameterDefaults();
    BuildPieceSquareSource();
    Table table = BuiltTable();
    // The defaults are the built-in numbers but for the one that is not symmetric.
    for (std::size_t i = 0; i < 1024; ++i) {
        const bool asymmetric = i == At(KING, WHITE, G1) || i == At(KING, BLACK, G8);
        EXPECT_EQ(PackedOpening(table[i]), asymmetric ? 19 : PieceSquareOpen[i]) << i;
        EXPECT_EQ(PackedEnding(table[i]), PieceSquareEnd[i]) << i;
        EXPECT_EQ(table[i], table[i ^ 7]) << i;
    }

    // Numbers beyond 16 bits are cut; the file columns run from the own side.
    const auto columns = PieceSquareColumn;
    PieceSquareColumn[static_cast<std::size_t>(PieceSquareColumnIndex(1, 0, 1, 2))] = 65536 + 77;
    BuildPieceSquareSource();
    table = BuiltTable();
    for (const int file : {1, 6}) {
        EXPECT_EQ(PackedOpening(table[At(KNIGHT, WHITE, 16 + file)]), 77);
        EXPECT_EQ(PackedOpening(table[At(KNIGHT, BLACK, 40 + file)]), 77);
    }
    EXPECT_EQ(PieceSquareOpen[At(KNIGHT, WHITE, 17)], -10);
    PieceSquareColumn = columns;
    BuildPieceSquareSource();
}

}  // namespace
