// The maker's two works: a book out of sources, and a text out of a book.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

enum class SourceKind { GAMES, LINES, BOOK, TEXT };

struct BookSource {
    SourceKind kind;
    std::string path;
};

struct BookOrder {
    std::string book;  // the file to be written
    std::vector<BookSource> sources;
    std::vector<std::string> exclusions;  // files of lines whose last moves are excluded
    std::size_t plies = std::numeric_limits<std::size_t>::max();
    std::int64_t games = 1;   // a move needs as many games and lines
    int unusual = 0;          // per cent of the most frequent move's; what has less is excluded
    int vetting_depth = 0;    // plies, 0 for no vetting
    int vetting_margin = 50;  // centipawns
};

/// Reads the sources in their order, thins out, excludes, writes. Progress and complaints go to standard error, the
/// account of what was done to standard output. On a failure it says so, writes no book, and answers false.
bool MakeBook(const BookOrder& order);

/// Writes a book's text to the file `to`, or to standard output when that is empty. Fails like MakeBook.
bool DumpBook(const std::string& from, const std::string& to);
