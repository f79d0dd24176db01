// The two keys under which a book knows a position. They have nothing to do with PositionKey: a book is good only with
// the tables that it was made with, so these never change.
#pragma once

#include <array>
#include <cstdint>

/// Random words by (PieceCode << 6) + square.
using BookKeyTable = std::array<std::uint32_t, 512>;

extern const BookKeyTable BookKeyWhite1;
extern const BookKeyTable BookKeyBlack1;
extern const BookKeyTable BookKeyWhite2;
extern const BookKeyTable BookKeyBlack2;

struct BookKeys {
    std::uint32_t key1;  // pieces and side to move
    std::uint32_t key2;  // pieces
};

/// The keys of the position on thread_board. Castling rights and en passant are not part of them.
BookKeys CurrentBookKeys();

/// The order of a book's node table: key1, then key2, both as signed numbers.
constexpr bool BookKeysLess(BookKeys a, BookKeys b) {
    const auto a1 = static_cast<std::int32_t>(a.key1);
    const auto b1 = static_cast<std::int32_t>(b.key1);
    return a1 != b1 ? a1 < b1 : static_cast<std::int32_t>(a.key2) < static_cast<std::int32_t>(b.key2);
}
