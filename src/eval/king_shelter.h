// How well a king is covered by its own pawns, and the one place where the engine's style reaches the score.
#pragma once

#include "position/types.h"

/// The worth of the shelter of `colour`'s king in centipawns, to be subtracted from the enemy's open_score; sets
/// shelter_penalty[colour], 0..63. Reads PawnEntry. Depends on EngineSide: the engine's own king counts by
/// CowardiceRate, the enemy's by AggressivityRate.
std::int32_t EvaluateKingShelter(Colour colour);

/// The shelter step of the full evaluation, for both kings. A king that needs no protection has penalty 0.
void AddKingShelters();
