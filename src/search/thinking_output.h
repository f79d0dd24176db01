// What the engine says while it thinks: UCI info lines, post lines, the principal variation read back from the
// transposition table.
#pragma once

#include "position/types.h"

/// One UCI line of the single-PV search. `bound` 1 fail low, 2 fail high, 3 exact. Quiet in the first two
/// iterations unless `force`.
void ReportUci(bool force, int bound, bool withPv);

/// Lines for all top moves; the bound mark stands on line `index`.
void ReportMultiPv(int index, int bound);

/// The plain statistics line; nothing below 200001 nodes.
void ReportNps();

/// One post line, if PostThinking is set; quiet in the first two iterations unless `force`.
void ReportPost(bool force);

/// The final line of a search in xboard and console play: a post line without regard to PostThinking.
void ReportFinalPost();

/// ReportUci(0, bound, 1) in UCI mode, ReportPost(0) otherwise.
void ReportRoot(int bound);

/// " " and each move of the line that begins with the root move at `index`, at most 20. Sets PonderMove.
/// Makes and takes back moves, and leaves the position as it was. With a root move on the board that move is
/// taken back for the time of the walk.
void PrintPv(int index);
