// The last moves that the engine has played, with their scores: what the resign rule and the position learning ask.
//
// Owner: movegen/score_history.cpp. A new game leaves the entries: the keys tell whether one belongs to the game on
// the board.
#pragma once

#include "position/types.h"

#include <cstdint>

/// The newest entry stands at the end.
inline constexpr int PLAYED_MOVES = 10;
extern Key PlayedKeys[PLAYED_MOVES];               // PositionKey after the move
extern std::int32_t PlayedScores[PLAYED_MOVES];    // RootScores[0] of the move, the engine's view
extern std::int32_t PlayedFromBook[PLAYED_MOVES];  // BookMovePlayed of the move

/// The history before any move. Once, at start-up.
void InitScoreHistory();

/// Appends the move just made on the board, with RootScores[0] and BookMovePlayed. A `forced` move repeats the score
/// of the move before: it tells nothing about the position.
void RecordPlayedMove(bool forced);
