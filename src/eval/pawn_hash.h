// The pawn hash: one slot to a pawn key, always overwritten. Its memory is told in eval/evaluation.h; the working
// copy thread_board.PawnEntry stands before it.
#pragma once

#include "position/board.h"

/// True when PawnEntry holds the structure of PawnKey, after it has been read from the table if need be. With a
/// PawnHashSize of 0 never.
bool LoadPawnEntry();

/// Writes PawnEntry to its slot.
void StorePawnEntry();
