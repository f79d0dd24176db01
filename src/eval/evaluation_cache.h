// The evaluation cache: one slot to a key, always overwritten, shared by both sides to move.
#pragma once

#include "eval/evaluation.h"

/// The key of the position on the board: pieces and castling rights, not the side to move.
Key EvaluationKey();

/// The cached result for the side to move, NO_EVALUATION if there is none. On a key match attacks and
/// material_score of thread_eval_info are loaded, whether or not there is a result.
std::int32_t ProbeEvaluation(Key key);

/// Stores what the full evaluation that has just run left in thread_eval_info. A result that the 16 bits do not
/// hold, which only an impossible army can reach, is stored as not known rather than cut.
void StoreEvaluation(Key key, std::int32_t result);
