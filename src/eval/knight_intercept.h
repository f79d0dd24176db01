// Knights that stop a running pawn.
#pragma once

#include "position/types.h"

/// By the square of a black pawn that walks down the board (8..55, other rows are empty) and of its own king: bit n
/// says that a knight on n stops the pawn. For a white pawn read all three squares as 63 - s.
/// Owner: eval/knight_intercept.cpp; written by InitKnightIntercept at start-up.
extern Bitboard KnightIntercept[64][64];
