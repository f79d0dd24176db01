// The root list and one pass over it.
#pragma once

#include "movegen/search_records.h"

/// Announces game ends, unless pondering only assumes the position, and fills MoveList from 0 with the legal moves in
/// their first order, restricted to SearchMoves if there are any. Sets RootScores (the head's from the table or the
/// search before, the others 0), RootGivesCheck, EasyMove, the lazy window, Ply to 0 and the root's PlyState. Where
/// the table has a move for the root the first report is made, with Iteration, SelDepth and RootMoveIndex 0; else
/// Iteration stays at 10. Returns 1, without a report, when the side to move has no legal move, or none of those it
/// was restricted to; else 0. The position must be playable and RootGamePly be GamePly.
int PrepareRootMoves();

/// True when the side to move has a legal move at all, asked for or not. Overwrites MoveList from LEGALITY_WINDOW up;
/// MoveCount is given back as it was.
bool HasLegalMove();

/// Searches the position one ply below the root within the mate limits; value from the child's view. `safety` is
/// the Safety of the root move that led here.
std::int32_t RootChildSearch(std::int32_t alpha, std::int32_t beta, std::int32_t depth, std::int32_t safety);

/// Moves root entry `from` to place `to` (to <= from); the entries between shift down by one, scores and check
/// marks with them.
void MoveRootEntry(int from, int to);

/// Sorts the root entries from `first` on by RootScores, descending, by exchange; scores and check marks go along.
void SortRootEntries(int first);

/// Sets LazyLow, LazyHigh around `score` and the material balance, wider with each iteration.
void RefreshLazyWindow(std::int32_t score);

/// The aspiration state of one iteration of the single-PV driver.
struct AspirationWindow {
    std::int32_t step;   // half the window's width; doubles with each fail low
    std::int32_t first;  // step as the iteration began, or as the last new head of the list set it
    bool failed_low;     // the first move failed low and nothing has beaten it since
};

/// Window step for this iteration and score.
std::int32_t AspirationStep(std::int32_t iteration, std::int32_t score);

/// One pass of the single-PV driver; the caller repeats it while `window.failed_low` stands.
void SearchRootPass(AspirationWindow& window);

/// One pass of the MultiPV driver.
void SearchRootPassMultiPv();
