// Books for tests, made position by position.
#pragma once

#include "book/book_format.h"
#include "book/book_keys.h"
#include "platform/bytes.h"
#include "position/board.h"
#include "support/files.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

struct BookEntry {
    int from, to, plus, minus;
    bool operator==(const BookEntry&) const = default;
};
using BookList = std::vector<BookEntry>;

/// "e2e4 70 30 g1f3 0 0": moves with plus and minus. Squares above 63 go on from h8 with a9.
inline BookList ListOf(const std::string& text) {
    BookList list;
    std::istringstream words(text);
    std::string move;
    for (BookEntry each{}; words >> move >> each.plus >> each.minus;) {
        each.from = move[0] - 'a' + (move[1] - '1') * 8;
        each.to = move[2] - 'a' + (move[3] - '1') * 8;
        list.push_back(each);
    }
    return list;
}

class BookMaker {
  public:
    BookMaker() = default;
    explicit BookMaker(const BookList& list) { Add(list); }

    /// Lists moves for the position on the board.
    void Add(const BookList& list) { nodes_.emplace_back(CurrentBookKeys(), list); }

    std::string Bytes(std::uint32_t version = 1) const {
        auto nodes = nodes_;
        std::ranges::sort(nodes, BookKeysLess, &std::pair<BookKeys, BookList>::first);
        std::string book(BOOK_MAGIC);
        std::string lists;
        Append(book, {version, 0xdeadbeefU, nodes.size()});
        for (const auto& [keys, list] : nodes) {
            Append(book, {keys.key1, keys.key2, BOOK_HEADER_SIZE + nodes.size() * BOOK_NODE_SIZE + lists.size()});
            lists += static_cast<char>(list.size());
            for (const BookEntry& each : list) {
                const char bytes[] = {static_cast<char>(each.from), static_cast<char>(each.to),
                                      static_cast<char>(each.plus), static_cast<char>(each.minus)};
                lists.append(bytes, version == 0 ? BOOK_ENTRY_SIZE_0 : BOOK_ENTRY_SIZE);
            }
        }
        return book + lists;
    }

  private:
    static void Append(std::string& bytes, std::initializer_list<std::size_t> numbers) {
        for (const std::size_t number : numbers) {
            std::uint8_t little[4];
            WriteLittle32(little, static_cast<std::uint32_t>(number));
            bytes.append(std::begin(little), std::end(little));
        }
    }

    std::vector<std::pair<BookKeys, BookList>> nodes_;
};

/// A book in a folder of its own, both gone with the object.
class FileOnDisk {
  public:
    std::string Path() const { return folder_.Path("book.qvn"); }
    void Write(const std::string& bytes) const { folder_.Write("book.qvn", bytes); }
    std::string Read() const { return folder_.Read("book.qvn"); }

  private:
    TestFolder folder_;
};
