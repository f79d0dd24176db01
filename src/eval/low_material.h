// What is known of positions with few pieces, beyond what the terms of the evaluation could say: drawn and won
// endings, mate and stalemate of a bare king, and terms that go into the material value.
#pragma once

#include <cstdint>

/// Called when a side's PieceWeight is below EndingWeight, before any other term. True: the position is settled and
/// `result` is its score from the side to move's point of view. False: `result` is the base value from Black's point
/// of view, and material_score, the phases, forces, ending, cannot_win and AllPawns are set. Clears
/// both_sides_valid wherever the answer hangs on the side to move.
bool EvaluateLowMaterial(std::int32_t& result);
