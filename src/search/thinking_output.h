// What the engine says while it thinks: UCI info lines, post lines, the principal variation read back from the
// transposition table.
#pragma once

#include "position/types.h"

/// One UCI line of the single-PV search. `bound` 1 fail low, 2 fail high, 3 exact. With `withPv` false the root move in
/// work stands in place of the line. Unless `force`, quiet in the first two iterations until 30001 nodes after the
/// last such line, but not at 0 nodes. A line restarts InfoCountdown.
void ReportUci(bool force, int bound, bool withPv);

/// Lines for all top moves; the bound mark stands on line `index`. Quiet at 1..50000 nodes. Lines restart
/// InfoCountdown.
void ReportMultiPv(int index, int bound);

/// The plain statistics line; nothing is printed at 1..200000 nodes. Restarts InfoCountdown in any case.
void ReportNps();

/// One post line, if PostThinking is set. Unless `force`, quiet in the first two iterations at 1..100000 nodes.
void ReportPost(bool force);

/// The final line of a search in xboard and console play: a post line without regard to PostThinking.
void ReportFinalPost();

/// ReportUci(0, bound, 1) in UCI mode, ReportPost(0) otherwise.
void ReportRoot(int bound);

/// " " and each move of the line that begins with the root move at `index`, at most 20. A second move goes into
/// PonderMove, which is left alone if there is none. Renews the generations of the entries it reads. Makes and takes
/// back moves, rewriting the records from the root's up, and leaves the position as it was. With a root move on the
/// board that move is taken back for the time of the walk.
void PrintPv(int index);
