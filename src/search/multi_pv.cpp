// The driver of several principal variations.
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/driver.h"
#include "search/root.h"
#include "search/think.h"

namespace {

// The first iteration; reported as depth 2.
constexpr int FIRST_ITERATION = 1;

// The first iteration that the clock may keep from starting.
constexpr int FIRST_TIMED_ITERATION = 4;

void RunIterations(int maxDepth) {
    for (Iteration = FIRST_ITERATION; Iteration < ITERATION_END; ++Iteration) {
        SelDepth = Iteration + 1;
        if (Iteration >= FIRST_TIMED_ITERATION && PollInput(true)) {
            thread_board.SearchAborted = 1;
            return;
        }
        if (Iteration > FIRST_ITERATION) {
            SortRootEntries(MultiPV);
        }
        SearchRootPassMultiPv();
        if (thread_board.SearchAborted != 0) {
            return;
        }
        if (Iteration + 1 >= maxDepth) {
            return;
        }
    }
}

}  // namespace

int IterativeDeepeningMultiPV(int maxDepth) {
    ResetForSearch(maxDepth);
    const RootState root = PrepareRoot();
    if (root == ROOT_OVER) {
        return 1;
    }
    const int plies = PliesOf(maxDepth);
    if (root == ROOT_OPEN && plies > FIRST_ITERATION) {
        RunIterations(plies);
    }
    WaitForRelease();
    return 0;
}
