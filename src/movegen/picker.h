// The staged picker: a node takes its moves batch by batch and pays only for the batches it reaches.
//
// Remembered moves (killers, counter moves, refutations) may hold anything a cut once stored at another node:
// each is validated on the board when its turn comes, so no table has to be consistent with the position.
#pragma once

#include "movegen/search_records.h"

/// Labels of the batches that NextStage returns.
enum Stage : int {
    STAGE_NONE = 0,
    STAGE_QUIETS = 2,  // quiet moves, or checks when futile
    STAGE_COUNTER_2 = 6,
    STAGE_COUNTER_1 = 7,
    STAGE_KILLER = 8,
    STAGE_REFUTATION_2 = 9,
    STAGE_REFUTATION_1 = 10,
    STAGE_CAPTURES = 11
};

/// Bit of `qflags` that says that there are no captures or promotions.
inline constexpr std::uint8_t QFLAG_NO_CAPTURES = 2;

/// Appends the next batch above MoveCount and returns its label, 0 when nothing is left. `stage` is the last
/// value returned, STAGE_START at first. `futile` asks for checks in place of quiet moves; `plane` is the
/// QuietHistory plane; `qflags` gets QFLAG_NO_CAPTURES when there are none; safeCaptures and safeQuiets leave
/// out moves that lose material. The quiet batch repeats the table stages' moves: skip what WasTried says. Reads
/// InCheck and ThreatMove of the ply; in check the one batch is GenerateEvasions, whatever else is asked for.
int NextStage(int stage, bool futile, int plane, std::uint8_t& qflags, bool safeCaptures, bool safeQuiets);

/// True when a remembered move could be played now, by the board alone: castling in full, any other move by its
/// squares and the line between. The own king may still be left in check.
bool IsPseudoLegal(Move move);

/// Appends `move` with Score 0 and SAFETY_UNKNOWN if IsPseudoLegal; answers whether it did.
bool AddIfPseudoLegal(Move move);

/// Notes that `move` has been offered at this ply; a full list keeps what it has. TriedCount is set to 0 by the
/// first table stage and by the evasion generators.
void NoteTried(Move move);

/// True when the picker's table stages have offered `move` at this ply.
bool WasTried(Move move);

/// Brings the highest Score of MoveList[first..last) to `first`, by exchange; the first of equals wins.
void SelectBest(int first, int last);

/// (i + 1) squared for i = clamp((depth + 4) / 4, 0, 16); depth in quarter plies.
std::int32_t HistoryStepOf(std::int32_t depth);

/// Rewards a quiet move that cut at `depth` quarter plies: in check its history and the evasions; else history,
/// killers, counter moves, follow-ups and, by ThreatMove of the ply, refutations. Of `plane` only bit 0 counts.
/// Unknown `safety` is worked out first. The move must not stand on the board.
void UpdateMoveStats(std::int32_t depth, Move move, int plane, bool inCheck, std::int32_t safety);

/// Lowers the history of the quiet moves of MoveList[first..last), which were tried before a cut:
/// H -= H * step >> 9. `plane` 0..2. Unknown Safety is worked out first.
void PenaliseQuiets(int first, int last, int plane, std::int32_t step);
