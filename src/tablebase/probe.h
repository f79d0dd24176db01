// Answers about real positions: table lookups with captures and en passant taken into account, and the filter of the
// root moves. Positions with castling rights must not be asked about.
//
// `Ply` must be the ply of the position on the board and PlyState[Ply].InCheck valid. MoveList above MoveCount is
// scratch; MoveCount, the board and Ply come back as they were, except where the root filters say otherwise.
#pragma once

#include <cstdint>

/// `success` of a probe. At 0 the result means nothing: a table is missing or cannot be used. ProbeWdl and ProbeDtz set
/// it to 1 first, whatever it was.
enum ProbeSuccess : std::int32_t {
    PROBE_OTHER_SIDE = -1,  // only from ProbeDtzTable: the table holds the position for the other side to move
    PROBE_FAILED = 0,
    PROBE_DONE = 1,
    PROBE_WINNING_CAPTURE = 2  // from the capture search: no value of a table applies
};

/// Distance by a zeroing move whose WDL value is the index less 2: the least that the value allows.
inline constexpr std::int32_t WdlToDtz[5] = {-1, -101, 0, 101, 1};

/// Beyond every distance.
inline constexpr std::int32_t NO_DTZ = 65535;

/// Win, draw and loss for the side to move: 2 win, 1 win that the fifty-move rule undoes, 0 draw, -1 loss that the
/// rule undoes, -2 loss.
std::int32_t ProbeWdl(std::int32_t& success);

/// Plies to the next zeroing move, positive for the side to move's wins; beyond 100 where the fifty-move rule undoes
/// the result; 0 for a draw.
std::int32_t ProbeDtz(std::int32_t& success);

/// Filters the root moves MoveList[0 .. MoveCount - 1], RootGivesCheck beside them, by distance to zeroing, by win,
/// draw and loss. Answers 1, and in `score` the root's value in centipawns. Answers 0, and the list is as it was, when
/// a probe failed or no move would be left. RootScores are overwritten with distances or WDL values from the mover's
/// side: not at all when the probe of the root itself fails, up to the move whose probe fails, else all of them. Ply
/// may be left at 1, and has to be put back to 0; `score` means nothing with the answer 0.
std::int32_t RootProbeDtz(std::int32_t& score);
std::int32_t RootProbeWdl(std::int32_t& score);
