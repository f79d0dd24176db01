// The built-in piece-square numbers, in centipawns. The halves of the table never change; the parameters start as
// the same numbers folded to files a..d.
#pragma once

#include <array>

#include "position/piece_square.h"

inline constexpr int PIECE_SQUARE_PIECES = 6;
inline constexpr int PieceSquarePiece[PIECE_SQUARE_PIECES] = {KING, KNIGHT, PAWN, ROOK, BISHOP, QUEEN};

/// By place in PieceSquarePiece, opening and ending, square of a white piece.
// clang-format off
inline constexpr std::int16_t BuiltInPieceSquare[PIECE_SQUARE_PIECES][2][64] = {
    {{10, 19, 10, -1, -1, 10, 15, 10,
      9, 11, 9, -2, -2, 9, 11, 9,
      -1, 0, -7, -10, -10, -7, 0, -1,
      -6, -5, -7, -15, -15, -7, -5, -6,
      -9, -10, -14, -12, -12, -14, -10, -9,
      -20, -13, -23, -21, -21, -23, -13, -20,
      -16, -24, -25, -48, -48, -25, -24, -16,
      -15, -21, -42, -34, -34, -42, -21, -15},
     {-76, -48, -36, -30, -30, -36, -48, -76,
      -48, -24, -14, -2, -2, -14, -24, -48,
      -36, -12, 0, 12, 12, 0, -12, -36,
      -24, -1, 12, 24, 24, 12, -1, -24,
      -23, 0, 12, 24, 24, 12, 0, -23,
      -38, -12, 0, 11, 11, 0, -12, -38,
      -48, -22, -12, 0, 0, -12, -22, -48,
      -72, -48, -42, -24, -24, -42, -48, -72}},
    {{-38, -42, -30, -25, -25, -30, -42, -38,
      -23, -35, -15, -10, -10, -15, -35, -23,
      -20, -10, 1, 6, 6, 1, -10, -20,
      -10, -1, 10, 7, 7, 10, -1, -10,
      -5, 3, 15, 20, 20, 15, 3, -5,
      -4, 6, 17, 25, 25, 17, 6, -4,
      -11, -10, 0, 7, 7, 0, -10, -11,
      -76, -25, -13, -16, -16, -13, -25, -76},
     {-39, -30, -20, -15, -15, -20, -30, -39,
      -27, -20, -10, -5, -5, -10, -20, -27,
      -20, -10, 0, 5, 5, 0, -10, -20,
      -16, -5, 5, 10, 10, 5, -5, -16,
      -21, -5, 5, 10, 10, 5, -5, -21,
      -20, -10, 0, 5, 5, 0, -10, -20,
      -30, -20, -10, -5, -5, -10, -20, -30,
      -40, -30, -20, -15, -15, -20, -30, -40}},
    {{-15, -5, 0, 5, 5, 0, -5, -15,
      -15, -5, 0, 5, 5, 0, -5, -15,
      -15, -5, 0, 15, 15, 0, -5, -15,
      -15, -5, 0, 25, 25, 0, -5, -15,
      -15, -5, 0, 15, 15, 0, -5, -15,
      -15, -5, 0, 5, 5, 0, -5, -15,
      -15, -5, 0, 5, 5, 0, -5, -15,
      -15, -5, 0, 5, 5, 0, -5, -15},
     {0, 0, 0, 0, 0, 0, 0, 0,
      -3, -2, -1, 0, 0, -1, -2, -3,
      -3, -2, -1, 0, 0, -1, -2, -3,
      -1, 0, 1, 2, 2, 1, 0, -1,
      2, 3, 4, 5, 5, 4, 3, 2,
      6, 7, 8, 9, 9, 8, 7, 6,
      6, 7, 8, 9, 9, 8, 7, 6,
      0, 0, 0, 0, 0, 0, 0, 0}},
    {{-6, -3, 0, 3, 3, 0, -3, -6,
      -6, -3, 0, 3, 3, 0, -3, -6,
      -6, -3, 0, 3, 3, 0, -3, -6,
      -6, -3, 0, 3, 3, 0, -3, -6,
      -6, -3, 0, 3, 3, 0, -3, -6,
      -6, -3, 0, 3, 3, 0, -3, -6,
      -6, -3, 0, 3, 3, 0, -3, -6,
      -6, -3, 0, 3, 3, 0, -3, -6},
     {}},
    {{-18, -18, -16, -14, -14, -16, -18, -18,
      -8, 0, -2, 0, 0, -2, 0, -8,
      -6, -2, 4, 2, 2, 4, -2, -6,
      -4, 0, 2, 8, 8, 2, 0, -4,
      -4, 0, 2, 8, 8, 2, 0, -4,
      -6, -2, 4, 2, 2, 4, -2, -6,
      -8, 0, -2, 0, 0, -2, 0, -8,
      -8, -8, -6, -4, -4, -6, -8, -8},
     {-18, -12, -9, -6, -6, -9, -12, -18,
      -12, -6, -3, 0, 0, -3, -6, -12,
      -9, -3, 0, 3, 3, 0, -3, -9,
      -6, 0, 3, 6, 6, 3, 0, -6,
      -6, 0, 3, 6, 6, 3, 0, -6,
      -9, -3, 0, 3, 3, 0, -3, -9,
      -12, -6, -3, 0, 0, -3, -6, -12,
      -18, -12, -9, -6, -6, -9, -12, -18}},
    {{-5, -5, -5, -5, -5, -5, -5, -5},
     {-24, -16, -12, -8, -8, -12, -16, -24,
      -16, -8, -4, 0, 0, -4, -8, -16,
      -12, -4, 0, 4, 4, 0, -4, -12,
      -8, 0, 4, 8, 8, 4, 0, -8,
      -8, 0, 4, 8, 8, 4, 0, -8,
      -12, -4, 0, 4, 4, 0, -4, -12,
      -16, -8, -4, 0, 0, -4, -8, -16,
      -24, -16, -12, -8, -8, -12, -16, -24}}};
// clang-format on

/// One half (0 opening, 1 ending) of the built-in table, indexed by PieceSquareIndex.
constexpr std::array<std::int16_t, 1024> BuiltInHalf(int half) {
    std::array<std::int16_t, 1024> table{};
    for (int piece = 0; piece < PIECE_SQUARE_PIECES; ++piece) {
        for (int square = 0; square < 64; ++square) {
            const std::int16_t value = BuiltInPieceSquare[piece][half][square];
            table[static_cast<std::size_t>(PieceSquareIndex(PieceSquarePiece[piece], WHITE, square))] = value;
            table[static_cast<std::size_t>(PieceSquareIndex(PieceSquarePiece[piece], BLACK, MirrorRank(square)))] =
                value;
        }
    }
    return table;
}

/// The built-in numbers by PieceSquareIndex, whatever the parameters say.
inline constexpr std::array<std::int16_t, 1024> PieceSquareOpen = BuiltInHalf(0);
inline constexpr std::array<std::int16_t, 1024> PieceSquareEnd = BuiltInHalf(1);

inline constexpr int PIECE_SQUARE_COLUMN_VALUES = PIECE_SQUARE_PIECES * 2 * 4 * 8;

/// Index of PieceSquareColumn: `file` 0..3, `rank` from the piece's own side.
constexpr int PieceSquareColumnIndex(int piece, int half, int file, int rank) {
    return ((piece * 2 + half) * 4 + file) * 8 + rank;
}

/// The parameters' start values. Files e..h are lost: the only number that differs there is the king's on g1.
constexpr std::array<std::int32_t, PIECE_SQUARE_COLUMN_VALUES> FoldBuiltInRows() {
    std::array<std::int32_t, PIECE_SQUARE_COLUMN_VALUES> columns{};
    for (int piece = 0; piece < PIECE_SQUARE_PIECES; ++piece) {
        for (int half = 0; half < 2; ++half) {
            for (int file = 0; file < 4; ++file) {
                for (int rank = 0; rank < 8; ++rank) {
                    columns[static_cast<std::size_t>(PieceSquareColumnIndex(piece, half, file, rank))] =
                        BuiltInPieceSquare[piece][half][rank * 8 + file];
                }
            }
        }
    }
    return columns;
}
