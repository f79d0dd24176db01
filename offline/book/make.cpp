#include "book/make.h"

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "book/dump.h"
#include "book/image.h"
#include "book/sources.h"
#include "book/vetting.h"
#include "games/rules.h"

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool Complain(const std::string& path, const std::string& what) {
    std::fprintf(stderr, "quorvanth-book: %s: %s\n", path.c_str(), what.c_str());
    return false;
}

/// Nothing for what cannot be opened or read, a directory among it.
std::optional<std::string> ReadFile(const std::string& path) {
    const File file(std::fopen(path.c_str(), "rb"));
    if (file == nullptr) {
        return std::nullopt;
    }
    std::string text;
    std::vector<char> buffer(std::size_t{1} << 20);
    std::size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), file.get())) != 0) {
        text.append(buffer.data(), count);
    }
    return std::ferror(file.get()) == 0 ? std::optional(text) : std::nullopt;
}

/// The whole file or, on a failure, what stood there before.
bool WriteFile(const std::string& path, const std::string& bytes) {
    const std::string part = path + ".part";
    File file(std::fopen(part.c_str(), "wb"));
    std::error_code failure;
    bool written = file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    written = file != nullptr && std::fclose(file.release()) == 0 && written;
    if (written) {
        std::filesystem::rename(part, path, failure);
        written = !failure;
    }
    if (!written) {
        std::filesystem::remove(part, failure);
        return Complain(path, "cannot be written");
    }
    return true;
}

void PrintCount(const std::string& path, const char* what, const SourceCount& count) {
    std::printf("%s: %" PRId64 " %s, %" PRId64 " could not be read\n", path.c_str(), count.games, what,
                count.unreadable);
}

bool AddSource(const BookSource& source, std::size_t plies, BookContents& book) {
    const std::optional<std::string> text = ReadFile(source.path);
    if (!text) {
        return Complain(source.path, "cannot be read");
    }
    std::string error;
    switch (source.kind) {
        case SourceKind::GAMES:
            PrintCount(source.path, "games", AddGames(source.path, *text, plies, book));
            return true;
        case SourceKind::LINES:
            PrintCount(source.path, "lines", AddLines(source.path, *text, plies, book));
            return true;
        case SourceKind::BOOK:
            return AddBookImage(*text, book, error) || Complain(source.path, error);
        case SourceKind::TEXT:
            return AddBookDump(*text, book, error) || Complain(source.path, error);
    }
    return false;
}

bool Exclude(const std::string& path, BookContents& book) {
    const std::optional<std::string> text = ReadFile(path);
    if (!text) {
        return Complain(path, "cannot be read");
    }
    std::int64_t missed = 0;
    const SourceCount count = ExcludeMoves(path, *text, book, missed);
    PrintCount(path, "exclusions", count);
    if (missed != 0) {
        std::printf("%s: %" PRId64 " of them are not in the book\n", path.c_str(), missed);
    }
    // A move that should have been excluded and is played is worse than no book.
    return count.unreadable == 0 || Complain(path, "an exclusion could not be read, no book is written");
}

void PrintContents(const std::string& path, const BookContents& book, std::size_t bytes) {
    std::size_t moves = 0;
    std::size_t excluded = 0;
    for (const auto& [keys, position] : book) {
        moves += position.moves.size();
        for (const BookMove& move : position.moves) {
            excluded += move.excluded ? 1 : 0;
        }
    }
    std::printf("%s: %zu positions, %zu moves, %zu of them excluded, %zu bytes\n", path.c_str(), book.size(), moves,
                excluded, bytes);
}

}  // namespace

bool MakeBook(const BookOrder& order) {
    std::string error;
    if (order.vetting_depth == 0) {
        InitializeRules();
    } else if (!StartVetting(error)) {
        return Complain(order.book, error);
    }
    BookContents book;
    for (const BookSource& source : order.sources) {
        if (!AddSource(source, order.plies, book)) {
            return false;
        }
    }
    DropRareMoves(book, order.games);
    ExcludeUnusualMoves(book, order.unusual);
    for (const std::string& path : order.exclusions) {
        if (!Exclude(path, book)) {
            return false;
        }
    }
    if (order.vetting_depth != 0) {
        const VettingCount count = VetMoves(book, order.vetting_depth, order.vetting_margin);
        std::printf("searched %d positions, excluded %d moves\n", count.positions, count.excluded);
    }
    SortMoves(book);
    if (book.empty()) {
        return Complain(order.book, "the sources leave no move for a book");
    }
    const std::string image = BookImage(book);
    if (image.empty()) {
        return Complain(order.book, "so many positions are beyond a book file");
    }
    if (!WriteFile(order.book, image)) {
        return false;
    }
    PrintContents(order.book, book, image.size());
    return true;
}

bool DumpBook(const std::string& from, const std::string& to) {
    InitializeRules();
    const std::optional<std::string> image = ReadFile(from);
    if (!image) {
        return Complain(from, "cannot be read");
    }
    BookContents book;
    std::string error;
    if (!AddBookImage(*image, book, error)) {
        return Complain(from, error);
    }
    const std::string text = BookDump(book);
    if (!to.empty()) {
        return WriteFile(to, text);
    }
    return (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) ||
           Complain("standard output", "cannot be written");
}
