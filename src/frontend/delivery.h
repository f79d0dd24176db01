// What the engine says of the game: the announcements around a search and the move itself.
// AnnounceDraws, AnnounceNoMoves, DeliverMove and the refusals of search/front_end.h are defined here.
//
// The engine keeps no game result. It announces what it sees when a search begins, and plays on if it has a move.
#pragma once

#include "position/types.h"

/// True when one side has a bare king and the other no pawn and at most a minor piece.
bool IsInsufficientMaterial();
