#include "tools/self_test.h"

#include "eval/init.h"
#include "eval/parameters.h"
#include "position/board.h"
#include "search/front_end.h"
#include "tools/pgn_eval.h"

void SelfTest(const char* path) {
    BuildPieceSquareTable();
    ExpandPawnConnected();
    CleanTables();
    // The position on the board carries sums of the old table, and there may be no file to replace it. The limits of
    // the search stay.
    PlaceStartPosition();
    PgnEval(path);
}
