// The two recursive routines and their companions.
//
// All are called with the position on thread_board and Ply set; all restore MoveCount and Ply. A stopped search
// returns 0 with thread_board.SearchAborted set, and every caller tests that before it uses a result.
#pragma once

#include "movegen/search_records.h"
#include "position/types.h"

/// Alpha-beta search. `depth` in quarter plies, 4 or more but for the margin scout's 0. `allowNull` 0 forbids
/// the null move here. `nodeType` 0 principal variation, -1 expected cut node, 1 expected all node; a node is
/// zero-window exactly when its type is not 0. Side to move's view; fail-hard at the bounds told beside the
/// steps.
std::int32_t Search(std::int32_t alpha, std::int32_t beta, std::int32_t depth, int allowNull, int nodeType);

/// The search of captures, evasions and a few plies of checks below depth 4. `depth` is 0 or negative. Fail-soft.
std::int32_t Quiescence(std::int32_t alpha, std::int32_t beta, std::int32_t depth, int nodeType);

/// Search at depth 4 and above, Quiescence below: the road to every child.
std::int32_t SearchChild(std::int32_t alpha, std::int32_t beta, std::int32_t depth, int allowNull, int nodeType);

/// Depth change for a move about to be made: -4 for a plain one, at most 0, at most 4 for a capture into a pawn
/// ending. Writes MoveFlags and CreatedThreat of this ply and InCheck of the next. `gap` is alpha - eval.
/// `safety` is filled in if the routine has to know it.
std::int32_t AnnotateMove(bool extAllowed, bool mateThreat, std::int32_t depth, bool isSingleReply, Move move,
                          std::int32_t score, bool isPV, std::int32_t gap, std::int32_t& safety);

/// Estimated gain of a capture or promotion, centipawns. Refreshes the phase fields as a side effect.
std::int32_t CaptureGain(Move move);

/// The draws by rule of both routines: true when the node is a draw by the fifty-move rule, by repetition or, with
/// beta <= 0, by a forced return to an earlier position.
bool IsDrawnBySearchRules(std::int32_t beta);

/// Margins of the scout of late moves, by depth / 4 capped at 15, and by place in the list capped at 7.
inline constexpr std::int32_t ScoutMargin[16] = {100, 100, 100, 100, 100, 100, 90, 80, 70, 60, 50, 45, 40, 35, 30, 25};
inline constexpr std::int32_t ScoutIndexMargin[8] = {80, 30, 15, 10, 8, 6, 4, 0};

/// Non-zero while a singular test runs: no second one starts inside.
extern std::int32_t SingularActive;
