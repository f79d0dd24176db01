// From squares to numbers: what turns a list of squares into an index of a table. The format of the table files fixes
// every entry.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "position/types.h"
#include "tablebase/tables.h"

template <class Entry>
using SquareTable = std::array<Entry, 64>;

/// A square's own table, entry by entry from rank and file.
template <class Entry, class Rule>
constexpr SquareTable<Entry> FillSquareTable(Rule rule) {
    SquareTable<Entry> table{};
    for (int square = 0; square < 64; ++square) {
        table[static_cast<std::size_t>(square)] = static_cast<Entry>(rule(RankOf(square), FileOf(square)));
    }
    return table;
}

/// The side of the a1-h8 diagonal that a square is on: 1 above, -1 below, 0 on it.
inline constexpr auto OffDiag =
    FillSquareTable<std::int8_t>([](int rank, int file) { return (rank > file) - (rank < file); });

/// The square mirrored in the a1-h8 diagonal.
inline constexpr auto FlipDiag = FillSquareTable<std::uint8_t>([](int rank, int file) { return file * 8 + rank; });

/// Class of a square under the eight symmetries of the board: 0..5 off the main diagonals, 6..9 on them.
inline constexpr auto Triangle = FillSquareTable<std::uint8_t>([](int rank, int file) {
    constexpr int quadrant[4][4] = {{6, 0, 1, 2}, {0, 7, 3, 4}, {1, 3, 8, 5}, {2, 4, 5, 9}};
    return quadrant[std::min(rank, 7 - rank)][std::min(file, 7 - file)];
});

/// Number of a square below the a1-h8 diagonal, row by row, 0..27, and of its mirror above; 28..35 on the diagonal.
inline constexpr auto Lower = FillSquareTable<std::uint8_t>([](int rank, int file) {
    if (rank == file) {
        return 28 + rank;
    }
    const int row = std::min(rank, file);
    return row * (15 - row) / 2 + std::max(rank, file) - row - 1;
});

/// Place on the diagonal a1-h8, 0..7, or on h1-a8, 8..15; 0 elsewhere.
inline constexpr auto Diag = FillSquareTable<std::uint8_t>([](int rank, int file) {
    return rank == file ? file : rank + file == 7 ? 8 + rank : 0;
});

/// Number of a lead pawn's square, the files e to h as their mirrors: the smallest leads.
inline constexpr auto PawnLead = FillSquareTable<std::uint8_t>(
    [](int rank, int file) { return rank == 0 || rank == 7 ? 0 : rank - 1 + 6 * std::min(file, 7 - file); });

/// A pawn's order behind the lead pawn, largest first: from the edge inward, by rank, left before right.
inline constexpr auto PawnTwist = FillSquareTable<std::uint8_t>([](int rank, int file) {
    return rank == 0 || rank == 7 ? 0 : 47 - 12 * std::min(file, 7 - file) - 2 * (rank - 1) - (file > 3 ? 1 : 0);
});

/// Section of a table by the lead pawn's file.
inline constexpr std::uint8_t FileToSection[8] = {0, 1, 2, 3, 3, 2, 1, 0};

/// Indices that the pieces at the front take up, by EncodingType.
inline constexpr std::int32_t PieceFactor[3] = {31332, 28056, 462};

/// King pairs that differ under the symmetries.
inline constexpr int KING_PAIRS = 462;

/// Number of two kings' squares by Triangle of the first and the square of the second; -1 where they touch, and where
/// a symmetry leads to another pair.
inline constexpr auto KingPairIndex = [] {
    constexpr int first[10] = {B1, C1, D1, C2, 11, 19, A1, 9, 18, 27};  // by Triangle; 11 is d2, then d3, b2, c3, d4
    std::array<SquareTable<std::int16_t>, 10> table{};
    std::int16_t counter = 0;
    const auto number = [&](std::size_t row, auto wanted) {
        for (int square = 0; square < 64; ++square) {
            const int ranks = RankOf(square) - RankOf(first[row]);
            const int files = FileOf(square) - FileOf(first[row]);
            const bool touch = ranks * ranks <= 1 && files * files <= 1;
            if (!touch && wanted(OffDiag[static_cast<std::size_t>(square)])) {
                table[row][static_cast<std::size_t>(square)] = counter++;
            }
        }
    };
    for (auto& row : table) {
        row.fill(-1);
    }
    for (std::size_t row = 0; row < 6; ++row) {
        number(row, [](int) { return true; });
    }
    for (std::size_t row = 6; row < 10; ++row) {
        number(row, [](int side) { return side < 0; });
    }
    for (std::size_t row = 6; row < 10; ++row) {
        number(row, [](int side) { return side == 0; });
    }
    if (counter != KING_PAIRS) {
        throw "the number of king pairs is fixed";  // fails the build: this runs at compile time only
    }
    return table;
}();

/// Binomial[k][n]: ways to choose k + 1 of n. Written by InitTableIndices.
extern std::int32_t Binomial[5][64];

/// PawnIndex[i][j]: index of the lead pawn's square j, counted within its file, with i other lead pawns behind it.
/// PawnFactor[i][file]: how many there are on the file. Written by InitTableIndices.
extern std::int32_t PawnIndex[5][24];
extern std::int32_t PawnFactor[5][4];

/// Builds the computed tables. Once, before the first table is read.
void InitTableIndices();

/// The index of `squares` in a section of a pawnless table, of a table with `lead` and `other` pawns, all of `men`.
/// The first squares are those that the section's Norm takes first; of lead pawns, the one with the smallest PawnLead
/// is at the front. The squares are mirrored and sorted on the way.
std::uint64_t EncodePiece(int encType, int men, const TableSection& section, std::int32_t* squares);
std::uint64_t EncodePawn(int lead, int other, int men, const TableSection& section, std::int32_t* squares);
