#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/move_text.h"
#include "search/front_end.h"
#include "search/root.h"
#include "tools/diagnostics.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

void PrintRootMoves() {
    char text[MOVE_BUFFER];
    for (int i = 0; i < MoveCount; ++i) {
        std::printf("%s (%d); ", MoveToPieceText(text, MoveList[i].Move), MoveList[i].Score);
    }
    std::putchar('\n');
}

}  // namespace

void ShowRootMoves() {
    std::puts("-------------- Legal moves: ----------------");
    if (!PositionIsPlayable()) {
        std::puts(ILLEGAL_POSITION);
        std::fflush(stdout);
        return;
    }
    // A later command may still ask for the move and the score of the last search.
    const std::vector<MoveEntry> list(MoveList, MoveList + MAX_MOVES);
    const std::int32_t count = MoveCount;
    const std::int32_t score = RootScores[0];
    RootGamePly = GamePly;  // where the first report's line begins
    SearchMoveCount = 0;
    PrepareRootMoves();
    PrintRootMoves();
    std::copy(list.begin(), list.end(), MoveList);
    MoveCount = count;
    RootScores[0] = score;
    std::fflush(stdout);
}
