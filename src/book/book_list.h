// The move list of one book position, in working arrays that live for one query. Owner: book/book_list.cpp.
#pragma once

#include <cstdint>

/// By place in the list. A weight is plus + 256 x minus, or the count in a book of version 0. The squares are as the
/// file has them: a damaged one can be above 63.
extern std::int32_t BookFrom[256];
extern std::int32_t BookTo[256];
extern std::int32_t BookWeight[256];
extern std::int32_t BookMoveCount;

/// Reads the list of the position on the board. False, with no moves, when the book does not have the position or the
/// list cannot be read. Of a list that the end of the file cuts off, the whole entries are there.
bool ReadBookMoves();

/// Where the entry's two bytes of statistics stand in the file, for the list just read from a book of version 1.
std::int64_t BookStatisticsOffset(int entry);

inline std::int32_t BookPlus(int entry) {
    return BookWeight[entry] & 255;
}
inline std::int32_t BookMinus(int entry) {
    return BookWeight[entry] >> 8;
}

/// True for a move that is never played and never updated.
bool IsExcludedBookMove(int entry);
