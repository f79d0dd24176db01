#include "book/contents.h"

#include <algorithm>

#include "position/fen.h"

namespace {

/// Games behind a move, whatever told of them.
std::int64_t GamesOf(const BookMove& move) {
    return move.from_book ? move.seen + (move.plus + move.minus + 1) / 2 : move.seen;
}

bool StaysAnyway(const BookMove& move) {
    return move.excluded || (move.from_book && move.plus + move.minus == 0);
}

}  // namespace

BookPosition& EnterPosition(BookContents& book) {
    BookPosition& position = book[CurrentBookKeys()];
    if (position.fen.empty()) {
        position.fen = WriteFen(0);
    }
    return position;
}

BookMove* FindMove(BookPosition& position, int from, int to) {
    const auto found =
        std::ranges::find_if(position.moves, [&](const BookMove& move) { return move.from == from && move.to == to; });
    return found == position.moves.end() ? nullptr : &*found;
}

BookMove& EnterMove(BookPosition& position, int from, int to) {
    if (BookMove* const known = FindMove(position, from, to)) {
        return *known;
    }
    position.moves.push_back({.from = from, .to = to});
    return position.moves.back();
}

bool BookCanSay(Move move) {
    return MovePromotion(move) == NO_PIECE || MovePromotion(move) == QUEEN;
}

void DropRareMoves(BookContents& book, std::int64_t games) {
    for (auto& [keys, position] : book) {
        std::erase_if(position.moves,
                      [&](const BookMove& move) { return !StaysAnyway(move) && GamesOf(move) < games; });
    }
    std::erase_if(book, [](const auto& entry) { return entry.second.moves.empty(); });
}

int ExcludeUnusualMoves(BookContents& book, int percent) {
    int excluded = 0;
    for (auto& [keys, position] : book) {
        std::int64_t most = 0;
        for (const BookMove& move : position.moves) {
            most = std::max(most, move.seen);
        }
        for (BookMove& move : position.moves) {
            if (move.seen != 0 && !move.excluded && move.seen * 100 < most * percent) {
                move.excluded = true;
                ++excluded;
            }
        }
    }
    return excluded;
}

void SortMoves(BookContents& book) {
    for (auto& [keys, position] : book) {
        std::ranges::stable_sort(position.moves, std::ranges::greater{}, &BookMove::seen);
    }
}
