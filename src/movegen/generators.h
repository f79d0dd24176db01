// Move generators, one flat routine per stage, each appending scored and judged moves to MoveList.
//
// All but the evasion routines are pseudo-legal: pins and the safety of the king's target are the caller's.
// The evasion routines give legal moves. No routine looks at the room in MoveList: the caller leaves MAX_MOVES.
// `targets` is always ColourPieces of the side not to move; of `plane` only bit 0 counts.
#pragma once

#include "movegen/search_records.h"
#include "position/types.h"

/// Stage that NextStage starts with, and the one of evasions.
inline constexpr int STAGE_START = 14;
inline constexpr int STAGE_EVASIONS = 12;

/// The exchange verdict of a move of the side to move: SAFE or LOSING. Reads PlyState[Ply].AttackMap.
std::int32_t MoveSafety(Move move);

/// Every capture onto `targets`, capturing promotions in all four kinds, every en passant.
void GenerateCaptures(Bitboard targets);

/// The same without those of Safety 0.
void GenerateSafeCaptures(Bitboard targets);

/// Castling and every non-capture except promotions. Whether the king's own square is attacked is not asked: a caller
/// in check drops castling, as it drops whatever else leaves the king attacked. The safe form leaves out moves of
/// Safety 0.
void GenerateQuiets(int plane);
void GenerateSafeQuiets(int plane);

/// Safe non-captures, no promotions, that give check directly, by discovery or by castling.
void GenerateChecks(int plane);

/// Every non-capturing promotion in all four kinds.
void GeneratePromotions();

/// All evasions of a side in check. GenerateEvasions does nothing and returns 0 unless `stage` is STAGE_START;
/// it and GenerateEvasionsNow set TriedCount of the ply to 0 and return STAGE_EVASIONS if they appended a move,
/// else 0. GenerateEvasionsPlain touches nothing but the list.
int GenerateEvasions(int stage);
int GenerateEvasionsNow();
void GenerateEvasionsPlain();

/// The side to move must be in check: true when it has no evasion. MoveList is not touched.
bool IsCheckmated();

/// Appends one non-capturing promotion with its MoveSafety and CaptureOrderScore, for the stages that want
/// single ones.
void AppendPromotion(int from, int to, int promotion);
