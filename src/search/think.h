// The top of the search: one thinking cycle, its two drivers, and what it asks of the front end.
#pragma once

#include "position/types.h"

/// Decides on a move for the position and plays or reports it; in xboard play it may go on to ponder. Returns
/// without output when the game is over. A position that cannot be searched gets one line and no move.
void Think();

/// Runs iterations 0 .. maxDepth - 1; TIMED_SEARCH runs by the clock. Returns 1 if the game is over at the root,
/// else 0 with the move at MoveList[0] and its score in RootScores[0]. The position must be playable, and the
/// limits of search/clock.h set. `useBook` allows a book move where a book is loaded.
int IterativeDeepening(int maxDepth, bool useBook);

/// The same for MultiPV above 1: the first MultiPV entries of the list are the best lines.
int IterativeDeepeningMultiPV(int maxDepth);
