// What the engine says of the game: the announcements around a search, the score history and the move itself.
// AnnounceDraws, AnnounceNoMoves, DeliverMove and the refusals of search/front_end.h are defined here.
//
// The engine keeps no game result. It announces what it sees when a search begins, and plays on if it has a move.
#pragma once

#include "position/types.h"

/// The last moves that the engine has played, the newest at the end. A new game leaves them: the keys tell whether an
/// entry belongs to the game on the board. Owner: frontend/delivery.cpp; written by DeliverMove.
inline constexpr int PLAYED_MOVES = 10;
extern Key PlayedKeys[PLAYED_MOVES];               // PositionKey after the move
extern std::int32_t PlayedScores[PLAYED_MOVES];    // RootScores[0] of the move
extern std::int32_t PlayedFromBook[PLAYED_MOVES];  // BookMovePlayed of the move

/// The history before any move. Once, at start-up.
void InitScoreHistory();

/// True when one side has a bare king and the other no pawn and at most a minor piece.
bool IsInsufficientMaterial();
