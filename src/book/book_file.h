// The open book as the rest of this room reads and writes it. Owner: book/book.cpp.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Unbuffered: what is read is what the file holds now, and what is written is in the file at once, in one call.
/// Null when no book is open.
extern std::unique_ptr<std::FILE, FileCloser> BookFile;

extern bool BookWritable;  // false for a book that takes no results because the file cannot be written

/// All of `bytes` from the file's position on; false when the file ends before, cannot be read, or none is open.
bool ReadBook(std::span<std::uint8_t> bytes);

/// The same at `offset` bytes from the beginning.
bool ReadBookAt(std::int64_t offset, std::span<std::uint8_t> bytes);

/// Writes `bytes` at `offset` in a single call. A failure leaves the file as it was: the book then stays as it is.
bool WriteBookAt(std::int64_t offset, std::span<const std::uint8_t> bytes);
