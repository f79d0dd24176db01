// What depends on the pawns alone: worked out once for a pawn key and kept in thread_board.PawnEntry and the pawn
// hash.
#pragma once

/// Makes PawnEntry valid for PawnKey, adds its value for wing_index[WHITE] to packed, and sets passed_pawns.
/// Kept entries hold the parameters that they were worked out with: ClearPawnHash after a change.
void EvaluatePawnStructure();
