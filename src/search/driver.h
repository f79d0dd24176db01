// What the two iteration drivers share.
#pragma once

#include "position/types.h"

/// The drivers start no iteration with this number; the deepest reported depth is the same.
inline constexpr int ITERATION_END = 99;

/// The per-search reset: counters, flags, the killers two plies up, a new generation of the transposition table.
void ResetForSearch(int maxDepth);

/// Plies that a driver called with `maxDepth` searches at most: a search by the clock may have a depth as well.
int PliesOf(int maxDepth);

enum RootState {
    ROOT_OVER,    // no legal move, or none of those asked for
    ROOT_FORCED,  // nothing to choose, and no search of the one move was asked for
    ROOT_OPEN     // to be searched
};

/// The root list and what the first pass reads of the root. Over an assumed game end it waits for its release.
RootState PrepareRoot();

/// Serves the input while a ponder search that has nothing left to do waits for its release: until neither
/// PonderSearch nor UciPonder holds, or the search is aborted. Returns at once outside pondering.
void WaitForRelease();
