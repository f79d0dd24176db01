// Book learning: the result of a game goes into the two bytes of every book move that the engine played in it.
//
// The file is changed where it lies, entry by entry: each write is the two bytes of one entry in one call, squares and
// lists are never rewritten, and each entry's new bytes depend on its own old ones only. A process that ends anywhere
// in an update leaves entries with their old and entries with their new statistics, both of which keep the ratio of
// plus to minus, and at most the one entry in doubt whose own two bytes were parted. The written values stay below
// 255, so that even such an entry cannot turn into an excluded one.
#include "book/book.h"
#include "book/book_file.h"
#include "book/book_list.h"
#include "position/board.h"
#include "position/settings.h"

#include <array>

namespace {

constexpr std::int32_t STATISTICS_END = 255;

struct Statistics {
    std::int32_t plus;
    std::int32_t minus;
};

Statistics StatisticsOf(int entry) {
    return {BookPlus(entry), BookMinus(entry)};
}

Statistics WithResult(Statistics old, BookResult result) {
    switch (result) {
        case BOOK_WIN:
            return {old.plus + 2, old.minus};
        case BOOK_LOSS:
            return {old.plus, old.minus + 2};
        default:
            return {old.plus + 1, old.minus + 1};
    }
}

Statistics Scaled(Statistics old) {
    return {2 * old.plus / 3, 2 * old.minus / 3};
}

bool WriteStatistics(int entry, Statistics statistics) {
    const std::array<std::uint8_t, 2> bytes = {static_cast<std::uint8_t>(statistics.plus),
                                               static_cast<std::uint8_t>(statistics.minus)};
    return WriteBookAt(BookStatisticsOffset(entry), bytes);
}

/// The first entry of the move that takes results, BookMoveCount if there is none.
int EntryOf(Move move) {
    int entry = 0;
    while (entry < BookMoveCount &&
           (BookFrom[entry] != MoveFrom(move) || BookTo[entry] != MoveTo(move) || IsExcludedBookMove(entry))) {
        ++entry;
    }
    return entry;
}

/// Shrinks all statistics of the list, so that recent games count for more; `updated` takes its new ones.
void RescaleList(int updated, Statistics statistics) {
    for (int entry = 0; entry < BookMoveCount; ++entry) {
        if (entry != updated && (BookWeight[entry] == 0 || IsExcludedBookMove(entry))) {
            continue;
        }
        if (!WriteStatistics(entry, Scaled(entry == updated ? statistics : StatisticsOf(entry)))) {
            return;
        }
    }
}

void UpdateBookEntry(BookResult result, Move move) {
    if (BookVersion0 || !ReadBookMoves()) {
        return;
    }
    const int entry = EntryOf(move);
    if (entry == BookMoveCount) {
        return;
    }
    const Statistics statistics = WithResult(StatisticsOf(entry), result);
    if (statistics.plus < STATISTICS_END && statistics.minus < STATISTICS_END) {
        WriteStatistics(entry, statistics);
    } else {
        RescaleList(entry, statistics);
    }
}

/// Takes back a move of either side. False, with the board between two moves or as it was, where the history does not
/// lead further back: what a command has put upon the board is no game.
bool TakeBackPair() {
    for (int i = 0; i < 2; ++i) {
        if (!CanTakeBack()) {
            return false;
        }
        UnmakeMove();
    }
    return true;
}

}  // namespace

bool BookLearningPending() {
    return UseBookLearning != 0 && BookLoaded && BookWritable && !BookVersion0 && BookLearnDone == 0;
}

void BookLearn(BookResult result) {
    const std::int32_t end = GamePly;
    // The move at GamePly 0 is not taught, so the record there is never taken back.
    while (GamePly > 2 && TakeBackPair()) {
        UpdateBookEntry(result, GameHistory[GamePly].move);
    }
    while (GamePly < end) {
        MakeMove(GameHistory[GamePly].move, 1);
    }
    BookLearnDone = 1;
}
