#include "book/book_list.h"

#include "book/book.h"
#include "book/book_file.h"
#include "book/book_format.h"
#include "platform/bytes.h"

#include <array>

std::int32_t BookFrom[256];
std::int32_t BookTo[256];
std::int32_t BookWeight[256];
std::int32_t BookMoveCount;

namespace {

std::int64_t list_offset;  // of the list just read

}  // namespace

bool ReadBookMoves() {
    BookMoveCount = 0;
    std::array<std::uint8_t, BOOK_NODE_SIZE - BOOK_NODE_MOVES> offset;
    std::array<std::uint8_t, 1> number;
    if (!FindBookNode() || !ReadBook(offset)) {
        return false;
    }
    list_offset = ReadLittle32(offset.data());
    if (!ReadBookAt(list_offset, number)) {
        return false;
    }
    std::array<std::uint8_t, BOOK_ENTRY_SIZE> entry{};  // minus stays 0 where the version has none
    const std::span<std::uint8_t> bytes(entry.data(), BookVersion0 ? BOOK_ENTRY_SIZE_0 : BOOK_ENTRY_SIZE);
    while (BookMoveCount < number[0] && ReadBook(bytes)) {
        BookFrom[BookMoveCount] = entry[BOOK_ENTRY_FROM];
        BookTo[BookMoveCount] = entry[BOOK_ENTRY_TO];
        BookWeight[BookMoveCount] = entry[BOOK_ENTRY_PLUS] | entry[BOOK_ENTRY_MINUS] << 8;
        ++BookMoveCount;
    }
    return true;
}

std::int64_t BookStatisticsOffset(int entry) {
    return list_offset + 1 + entry * static_cast<std::int64_t>(BOOK_ENTRY_SIZE) + BOOK_ENTRY_PLUS;
}

bool IsExcludedBookMove(int entry) {
    return BookWeight[entry] == (BookVersion0 ? BOOK_EXCLUDED_0 : BOOK_EXCLUDED);
}
