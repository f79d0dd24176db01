// The layout of a book file, for the engine that plays from it and the program that makes it.
//
// All numbers are little-endian. A header of 36 bytes, then the node table, then the move lists:
//
//   header      24 bytes  BOOK_MAGIC          node, 12 bytes   4  key1, key2 compared as signed numbers,
//                4        version, 0 or 1                      4  key2  ascending over the table
//                4        reserved                             4  file offset of the move list
//                4        number of nodes
//
//   move list    1 byte   number of entries, then the entries:
//   version 1    from, to, plus (2 a win, 1 a draw), minus (2 a loss, 1 a draw)
//   version 0    from, to, count
//
// The header fills the room of three nodes, so that node record k lies at 12 k and the first record is number 3.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

inline constexpr std::string_view BOOK_MAGIC = "~Quorvanth openings book";

inline constexpr std::size_t BOOK_HEADER_SIZE = 36;
inline constexpr std::size_t BOOK_VERSION_OFFSET = 24;
inline constexpr std::size_t BOOK_RESERVED_OFFSET = 28;
inline constexpr std::size_t BOOK_NODES_OFFSET = 32;

inline constexpr std::size_t BOOK_NODE_SIZE = 12;
inline constexpr std::size_t BOOK_NODE_KEY1 = 0;
inline constexpr std::size_t BOOK_NODE_KEY2 = 4;
inline constexpr std::size_t BOOK_NODE_MOVES = 8;

/// Number of the first node record.
inline constexpr std::int32_t BOOK_FIRST_RECORD = 3;
static_assert(BOOK_HEADER_SIZE == BOOK_FIRST_RECORD * BOOK_NODE_SIZE);
static_assert(BOOK_MAGIC.size() == BOOK_VERSION_OFFSET);

inline constexpr int BOOK_LIST_MAX = 255;  // entries that the byte in front of a list can count

inline constexpr std::size_t BOOK_ENTRY_SIZE_0 = 3;  // version 0
inline constexpr std::size_t BOOK_ENTRY_SIZE = 4;    // version 1

/// Offsets in an entry. Version 0 has its count in the place of plus.
inline constexpr std::size_t BOOK_ENTRY_FROM = 0;
inline constexpr std::size_t BOOK_ENTRY_TO = 1;
inline constexpr std::size_t BOOK_ENTRY_PLUS = 2;
inline constexpr std::size_t BOOK_ENTRY_MINUS = 3;

/// plus + 256 x minus of a move that is never played and never updated, and the same as a count of version 0.
inline constexpr std::int32_t BOOK_EXCLUDED = 65535;
inline constexpr std::int32_t BOOK_EXCLUDED_0 = 255;
