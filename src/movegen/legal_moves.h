// Legal moves as a list, for everything outside the search.
//
// Making moves to see whether they are legal rewrites the free record GameHistory[GamePly], which must exist.
#pragma once

#include "position/types.h"

/// Fills MoveList from `index` upward with the legal moves and leaves MoveCount behind them. `index` leaves at
/// least MAX_MOVES entries. Works on the spare frame LEGALITY_PLY and gives Ply back.
void GenerateLegalMoves(int index);

/// True when `move` is, bit for bit, a legal move that captures no king. Overwrites MoveList from LEGALITY_WINDOW up;
/// MoveCount is given back as it was.
bool IsLegalMove(Move move);

/// True when the position can be searched: one king each, the side not to move not in check, no pawn on the
/// first or last rank, no colour with more than eight pawns or sixteen men.
bool PositionIsPlayable();
