// How often a move of a kind was played when it could have been: what late-move reduction reads.
#pragma once

#include <span>

#include "position/types.h"

/// Per-mille by ending flag of the mover, HistoryClass of the piece, from-to (low 12 bits of the Move), colour.
/// Never negative; may exceed 1000 if the counts do not agree. 0 without a parameter file.
/// Owner: eval/move_stats.cpp; written by BuildMoveStats.
extern std::int32_t MoveFrequency[2][4][4096][2];

/// The counts as the parameter file tells them: by ending flag, MoveCountPiece, from, to (White's squares), the
/// times played and the times seen.
inline constexpr int MoveCountPiece[6] = {KING, KNIGHT, PAWN, ROOK, BISHOP, QUEEN};

/// Fills MoveFrequency from MOVE_COUNT_VALUES counts. Without counts, that is when no file gives any, all is 0, also
/// after a file that gave some.
void BuildMoveStats(std::span<const std::int64_t> counts);
