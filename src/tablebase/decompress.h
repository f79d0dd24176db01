// The decoder of one section of a table file. Values are stored as symbols of a canonical prefix code, longest codes
// first; a symbol stands for one value or for two other symbols. Symbols are packed in blocks of 2^BlockBits bytes,
// read as a big-endian stream, and an index record every 2^IndexBits values tells which block holds the middle one of
// them, so that a block is found without decoding those before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

/// Longest code that one refill of 32 bits always leaves room for in the 64 bits of the decoder.
inline constexpr int MAX_CODE_LENGTH = 32;

/// References point into the file's mapping, which must outlive the record.
struct CompressedTable {
    const std::uint8_t* IndexTable;                // records of a 32-bit block number and a 16-bit offset
    const std::uint8_t* SizeTable;                 // values in each block less 1, 16 bits each
    const std::uint8_t* Blocks;                    // 64-byte aligned in the file
    const std::uint8_t* LastRefill;                // where the last 32-bit word of the file begins
    const std::uint8_t* SymbolPattern;             // 3 bytes: two 12-bit symbols, or the value in the first byte
    std::unique_ptr<std::uint8_t[]> SymbolLength;  // by symbol, values that it stands for less 1
    std::uint32_t RealBlocks;                      // blocks in the file
    std::uint32_t SizedBlocks;                     // entries of SizeTable
    std::int32_t BlockBits;
    std::int32_t IndexBits;                     // 0: every value is the same
    std::int32_t MinLength;                     // shortest code; with IndexBits 0 the value
    std::uint16_t Offset[MAX_CODE_LENGTH + 1];  // first symbol of each code length
    std::uint8_t FirstLength[256];              // by the next 8 bits, the shortest code that begins so
    std::uint64_t Base[MAX_CODE_LENGTH + 1];    // first code of each length, left-aligned; 0 for the longest
};

/// Bytes that a section takes in the areas behind the headers.
struct SectionSizes {
    std::uint64_t IndexTable;
    std::uint64_t SizeTable;
    std::uint64_t Blocks;
};

/// Builds the decoder of the section whose header `data` begins with; `data` reaches to the end of the file. `size` is
/// the number of values. `next` takes the header's length, `flags` its first byte. The three areas are the caller's
/// to fill in. Answers none for a header that describes no decoder: codes or symbols that lead nowhere, symbols that
/// contain themselves, values that do not exist.
std::unique_ptr<CompressedTable> SetupCompressedTable(std::span<const std::uint8_t> data, std::uint64_t size,
                                                      SectionSizes& sizes, std::size_t& next, std::uint8_t& flags,
                                                      bool wdl);

/// The value at `index`, which must be below the size that the table was set up with. On damaged data any value of a
/// symbol, or 0.
std::uint8_t Decompress(const CompressedTable& table, std::uint64_t index);
