// Passed pawns, which cannot be hashed: they depend on kings and pieces. Each gets a product of rank, file, state and
// force; against few pieces a count of moves to promotion is kept as well, and two pawns that run make a race.
#pragma once

#include "position/types.h"

/// The running packed score with the passed pawn and race terms added; open_score and end_score through
/// ScorePassedPawn. Reads PawnEntry and passed_pawns; called when a colour has a passed pawn. Clears both_sides_valid
/// where the terms hang on the side to move.
std::int32_t EvaluatePassedPawns(std::int32_t packed);

/// Takes the worth of a passed pawn of `colour` from the enemy's private scores, so that it fades in with the loss of
/// the enemy's army.
void ScorePassedPawn(int square, Colour colour);
