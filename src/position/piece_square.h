// The table whose sum MakeMove carries along. eval/ builds it at start-up; this room only adds it up.
#pragma once

#include "position/types.h"

/// Index of PieceSquareTable, PieceSquareOpen and PieceSquareEnd.
constexpr int PieceSquareIndex(int code, int colour, int square) {
    return (code << 7) | (colour << 6) | square;
}

/// Packed words: opening value x 65536 + ending value. Rows of codes 0 and 4 stay 0.
/// Owner: position/make_move.cpp; written by BuildPieceSquareTable at start-up and by the self test.
extern std::int32_t PieceSquareTable[1024];
