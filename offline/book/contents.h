// A book while it is being made: positions by key, in the order of the book file, each with its moves.
#pragma once

#include "book/book_keys.h"
#include "position/types.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct BookMove {
    int from = 0;
    int to = 0;
    std::int64_t plus = 0;   // 2 a win, 1 a draw, as the mover counts
    std::int64_t minus = 0;  // 2 a loss, 1 a draw
    std::int64_t seen = 0;   // games and lines of this making that have it
    bool excluded = false;
    bool from_book = false;  // a book or a book's text has it
};

struct BookPosition {
    std::string fen;              // the position as it came up first; empty when only its keys are known
    std::vector<BookMove> moves;  // in order of appearance
};

struct BookKeysOrder {
    bool operator()(BookKeys a, BookKeys b) const { return BookKeysLess(a, b); }
};

using BookContents = std::map<BookKeys, BookPosition, BookKeysOrder>;

/// The position on thread_board, entered if it is new.
BookPosition& EnterPosition(BookContents& book);

/// The move from `from` to `to`, entered if it is new.
BookMove& EnterMove(BookPosition& position, int from, int to);

/// Null when the position does not have it.
BookMove* FindMove(BookPosition& position, int from, int to);

/// True for what a book entry can say: it names no piece to promote to, so that a pawn on the last rank is a queen.
bool BookCanSay(Move move);

/// Takes out moves that fewer than `games` games and lines have, and positions that are left without a move. Points of
/// books count two for a game; a book's moves without points, and what is excluded, stay.
void DropRareMoves(BookContents& book, std::int64_t games);

/// Excludes moves that less than `percent` per cent as many games and lines have as the position's most frequent move.
/// Moves that no game or line of this making has stay as they are. Answers how many moves it was.
int ExcludeUnusualMoves(BookContents& book, int percent);

/// Puts the moves of every position into the order of the file: the most frequent first. The order of moves that are
/// equally frequent stays, and so does a book's that is only read again.
void SortMoves(BookContents& book);
