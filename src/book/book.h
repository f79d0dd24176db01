// The openings book: one binary file that stays open while the engine runs, a sorted table of position keys with a
// list of moves and their results for each. It is read where it lies, and its statistics are updated in place.
//
// Owner of the state: book/book.cpp. A book is opened at start-up, by the configuration or by an option, and closed
// by opening another one or by the end of the process.
#pragma once

#include "position/types.h"

#include <cstdint>
#include <string>

extern bool BookLoaded;
extern bool BookVersion0;           // the book's version is 0: counts without results, no learning
extern std::int32_t BookRecordEnd;  // nodes + 3: the node table begins at record 3

/// Opens the book at `path`, closing an open one, and prints how many nodes it has. A file that cannot be opened or is
/// no book gets its message, and no book is open then. Version 0 switches UseBookLearning and UseBookWeights off.
void OpenBook(const std::string& path);

/// Nothing happens when no book is open.
void CloseBook();

/// True when the book has the position on the board. The file's position is then at the node's offset of the move list.
/// A table that the end of the file cuts off, or that is out of order, finds less and does no harm.
bool FindBookNode();

/// Starts the generator behind the random choices; any value serves.
void SeedBookChoice(std::uint32_t seed);

/// Values of BookLearningMode: play what has scored well, or what has been tried least.
enum BookMode { KILL = 0, DISCOVER = 1 };

/// The book writes no promotions: a pawn's move to the last rank is a queen's.
constexpr Move PromotedToQueen(Move move) {
    const bool promotes = MovePiece(move) == PAWN && (Bit(MoveTo(move)) & (RANK_1 | RANK_8)) != 0;
    return promotes ? BuildMove(MoveFrom(move), MoveTo(move), PAWN, MoveCaptured(move), QUEEN) : move;
}

/// A book move for the position on the board by BookLearningMode, UseBookWeights and VarietyOfPlay; 0 when the book
/// has none. The word carries no promotion: PromotedToQueen gives the move to be played, and only legal ones are
/// answered. The board is as before afterwards; MoveList above MoveCount is scratch.
Move ChooseBookMove();

/// Prints the book's moves for the position on the board, or that there are none. A book must be open.
void ListBookMoves();

/// What a game came to, from the engine's side.
enum BookResult { BOOK_LOSS = 0, BOOK_WIN = 1, BOOK_DRAW = 2 };

/// True when this game has not been learnt from, and there is a book that takes results.
bool BookLearningPending();

/// Teaches `result` to every book move of the side to move's in the game on the board except the game's first move,
/// and sets BookLearnDone. The board and the game's records are as before afterwards.
void BookLearn(BookResult result);
