// Endings that are harder to win than the count says: terms of the few-piece stage, and factors in 1/256 on the
// tapered value.
#pragma once

#include <cstdint>

/// Passed pawns against two minors, and kings that outflank each other in pawn endings: adds to packed. Reads
/// PawnEntry; called when an `ending` flag is set.
void AddFewPieceTerms();

// Both take and answer a value from Black's point of view, and scale side_delta with it unless said.

/// Bishops of different colours.
std::int32_t ScaleOppositeBishops(std::int32_t value);

/// Leaves the value alone unless a side has at most EndingWeightNoQueen. Reads PawnEntry, AllPawns and cannot_win,
/// which turns a value in favour of its colour to 0; clears both_sides_valid where factors hang on the side to move.
std::int32_t ScaleEndgame(std::int32_t value);
