#include "movegen/score_history.h"

#include "movegen/search_records.h"
#include "position/board.h"

#include <algorithm>

Key PlayedKeys[PLAYED_MOVES];
std::int32_t PlayedScores[PLAYED_MOVES];
std::int32_t PlayedFromBook[PLAYED_MOVES];

void InitScoreHistory() {
    std::ranges::fill(PlayedKeys, 0);
    std::ranges::fill(PlayedScores, 100);
    std::ranges::fill(PlayedFromBook, 1);
}

void RecordPlayedMove(bool forced) {
    constexpr int newest = PLAYED_MOVES - 1;
    std::shift_left(PlayedKeys, PlayedKeys + PLAYED_MOVES, 1);
    std::shift_left(PlayedScores, PlayedScores + PLAYED_MOVES, 1);
    std::shift_left(PlayedFromBook, PlayedFromBook + PLAYED_MOVES, 1);
    PlayedKeys[newest] = thread_board.PositionKey;
    PlayedFromBook[newest] = BookMovePlayed;
    if (!forced) {
        PlayedScores[newest] = RootScores[0];
    }
}
