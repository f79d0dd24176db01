#include "book/book.h"

#include "book/book_file.h"
#include "book/book_format.h"
#include "book/book_keys.h"
#include "platform/bytes.h"
#include "position/settings.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>

std::unique_ptr<std::FILE, FileCloser> BookFile;
bool BookLoaded;
bool BookVersion0;
bool BookWritable;
std::int32_t BookRecordEnd;

namespace {

bool SeekBook(std::int64_t offset) {
    return BookFile != nullptr && offset <= std::numeric_limits<long>::max() &&
           std::fseek(BookFile.get(), static_cast<long>(offset), SEEK_SET) == 0;
}

/// A book that can be read and not written is played from as it is, and takes no results. What is no ordinary file, a
/// directory or a pipe that nobody fills, counts as one that cannot be opened.
bool OpenFile(const std::string& path) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return false;
    }
    BookFile.reset(std::fopen(path.c_str(), "r+b"));
    BookWritable = BookFile != nullptr;
    if (!BookWritable) {
        BookFile.reset(std::fopen(path.c_str(), "rb"));
    }
    if (BookFile == nullptr) {
        return false;
    }
    std::setvbuf(BookFile.get(), nullptr, _IONBF, 0);
    return true;
}

/// Reads the header of the file just opened and says what kind of book it is. False for one that is not played from.
bool TakeHeader() {
    std::array<std::uint8_t, BOOK_HEADER_SIZE> header;
    if (!ReadBook(header) || !std::equal(BOOK_MAGIC.begin(), BOOK_MAGIC.end(), header.begin())) {
        std::puts("Invalid book format");
        return false;
    }
    const auto version = static_cast<std::int32_t>(ReadLittle32(&header[BOOK_VERSION_OFFSET]));
    if (version != 0 && version != 1) {
        std::printf("Book version %d not supported\n", version);
        return false;
    }
    BookVersion0 = version == 0;
    if (BookVersion0) {
        std::puts("NG: Book learning not supported for book version 0");
        UseBookLearning = 0;
        UseBookWeights = 0;
    } else if (!BookWritable) {
        std::puts("NG: Book learning not supported for a read-only book");
    }
    const auto nodes = static_cast<std::int32_t>(ReadLittle32(&header[BOOK_NODES_OFFSET]));
    std::printf("%d nodes in openings book\n", nodes);
    // A number that no file can have means an empty table; one that this file does not have is met by a failed read.
    BookRecordEnd = std::clamp(nodes, 0, std::numeric_limits<std::int32_t>::max() - BOOK_FIRST_RECORD);
    BookRecordEnd += BOOK_FIRST_RECORD;
    return true;
}

}  // namespace

bool ReadBook(std::span<std::uint8_t> bytes) {
    return BookFile != nullptr && std::fread(bytes.data(), 1, bytes.size(), BookFile.get()) == bytes.size();
}

bool ReadBookAt(std::int64_t offset, std::span<std::uint8_t> bytes) {
    return SeekBook(offset) && ReadBook(bytes);
}

bool WriteBookAt(std::int64_t offset, std::span<const std::uint8_t> bytes) {
    return SeekBook(offset) && std::fwrite(bytes.data(), 1, bytes.size(), BookFile.get()) == bytes.size() &&
           std::fflush(BookFile.get()) == 0;
}

void OpenBook(const std::string& path) {
    CloseBook();
    if (!OpenFile(path)) {
        std::printf("Error opening \"%s\"!\n", path.c_str());
    } else if (TakeHeader()) {
        BookLoaded = true;
    } else {
        CloseBook();
    }
    std::fflush(stdout);
}

void CloseBook() {
    BookFile.reset();
    BookLoaded = false;
    BookVersion0 = false;
    BookWritable = false;
    BookRecordEnd = 0;
}

bool FindBookNode() {
    const BookKeys wanted = CurrentBookKeys();
    std::int64_t low = BOOK_FIRST_RECORD;
    std::int64_t high = BookRecordEnd;
    while (low < high) {
        const std::int64_t mid = (low + high) / 2;
        std::array<std::uint8_t, BOOK_NODE_MOVES> record;
        if (!ReadBookAt(mid * static_cast<std::int64_t>(BOOK_NODE_SIZE), record)) {
            return false;
        }
        const BookKeys found{ReadLittle32(&record[BOOK_NODE_KEY1]), ReadLittle32(&record[BOOK_NODE_KEY2])};
        if (BookKeysLess(found, wanted)) {
            low = mid + 1;
        } else if (BookKeysLess(wanted, found)) {
            high = mid;
        } else {
            return true;
        }
    }
    return false;
}
