#include "tablebase/decompress.h"

#include <vector>

#include "platform/bytes.h"

namespace {

constexpr std::uint8_t ONE_VALUE = 0x80;  // bit of a section's flags
constexpr std::uint32_t NO_SYMBOL = 0xFFF;
constexpr std::uint8_t LARGEST_WDL_VALUE = 4;
constexpr std::size_t HEADER_BYTES = 12;  // with the number of symbols, without the offsets of the code lengths

// A block holds at least one refill of the decoder; beyond 2^30 bytes no block and no index stretch makes sense.
constexpr int MIN_BLOCK_BITS = 3;
constexpr int MAX_BITS = 30;

std::uint32_t LeftSymbol(std::uint32_t pattern) {
    return pattern & NO_SYMBOL;
}

std::uint32_t RightSymbol(std::uint32_t pattern) {
    return (pattern >> 12) & NO_SYMBOL;
}

/// Finds how many values each symbol stands for, the parts of a symbol before the symbol itself.
class SymbolMeasure {
  public:
    SymbolMeasure(const std::uint8_t* patterns, std::uint32_t symbols, bool wdl, std::uint8_t* lengths)
        : patterns_(patterns), symbols_(symbols), wdl_(wdl), lengths_(lengths), done_(symbols) {}

    bool MeasureAll() {
        for (std::uint32_t symbol = 0; symbol < symbols_; ++symbol) {
            if (!Measure(symbol, 0)) {
                return false;
            }
        }
        return true;
    }

  private:
    /// A symbol of n levels stands for more than n values, so that 255 levels are the most that there can be. The
    /// bound also ends the walk along a symbol that contains itself.
    static constexpr int MAX_LEVELS = 255;

    // NOLINTNEXTLINE(misc-no-recursion): the levels are bounded
    bool Measure(std::uint32_t symbol, int level) {
        if (symbol >= symbols_ || level > MAX_LEVELS) {
            return false;
        }
        if (done_[symbol]) {
            return true;
        }
        const std::uint8_t* const pattern = patterns_ + std::size_t{3} * symbol;
        const std::uint32_t left = LeftSymbol(ReadLittle24(pattern));
        const std::uint32_t right = RightSymbol(ReadLittle24(pattern));
        std::uint32_t length = 0;
        if (right == NO_SYMBOL) {
            if (wdl_ && pattern[0] > LARGEST_WDL_VALUE) {
                return false;
            }
        } else {
            if (!Measure(left, level + 1) || !Measure(right, level + 1)) {
                return false;
            }
            length = lengths_[left] + lengths_[right] + 1u;
        }
        lengths_[symbol] = static_cast<std::uint8_t>(length);
        done_[symbol] = true;
        return length <= 0xFF;
    }

    const std::uint8_t* patterns_;
    std::uint32_t symbols_;
    bool wdl_;
    std::uint8_t* lengths_;
    std::vector<bool> done_;
};

/// Computes the first code of each length, `min` to `max`, from the file's first symbols. False when a code would
/// stand for a symbol that there is not: then and only then could the decoder leave the symbols' tables.
bool SetupCodes(CompressedTable& table, int min, int max, std::uint32_t symbols) {
    std::int64_t base = 0;
    std::int64_t bases[MAX_CODE_LENGTH + 1] = {};
    for (int length = max - 1; length >= min; --length) {
        base = (base + table.Offset[length] - table.Offset[length + 1]) / 2;
        if (base < 0 || base >= (std::int64_t{1} << length)) {
            return false;
        }
        bases[length] = base;
    }
    for (int length = min; length <= max; ++length) {
        table.Base[length] = static_cast<std::uint64_t>(bases[length]) << (64 - length);
        // Codes of this length end below the first code of the next shorter one.
        const std::int64_t end = length == min ? std::int64_t{1} << length : 2 * bases[length - 1];
        if (table.Offset[length] + (end - bases[length]) > static_cast<std::int64_t>(symbols)) {
            return false;
        }
    }
    for (std::uint64_t prefix = 0; prefix < 256; ++prefix) {
        const std::uint64_t largest = (prefix << 56) | (~std::uint64_t{0} >> 8);
        int length = min;
        while (largest < table.Base[length]) {
            ++length;
        }
        table.FirstLength[prefix] = static_cast<std::uint8_t>(length);
    }
    return true;
}

std::unique_ptr<CompressedTable> SetupOneValue(std::span<const std::uint8_t> data, bool wdl) {
    if (wdl && data[1] > LARGEST_WDL_VALUE) {
        return nullptr;
    }
    auto table = std::make_unique<CompressedTable>();
    table->MinLength = wdl ? data[1] : 0;
    return table;
}

}  // namespace

std::unique_ptr<CompressedTable> SetupCompressedTable(std::span<const std::uint8_t> data, std::uint64_t size,
                                                      SectionSizes& sizes, std::size_t& next, std::uint8_t& flags,
                                                      bool wdl) {
    sizes = {};
    next = 2;
    if (data.size() < next) {
        return nullptr;
    }
    flags = data[0];
    if (flags & ONE_VALUE) {
        return SetupOneValue(data, wdl);
    }
    if (data.size() < HEADER_BYTES) {
        return nullptr;
    }
    const int blockBits = data[1];
    const int indexBits = data[2];
    const int max = data[8];
    const int min = data[9];
    if (blockBits < MIN_BLOCK_BITS || blockBits > MAX_BITS || indexBits < 1 || indexBits > MAX_BITS || min < 1 ||
        max < min || max > MAX_CODE_LENGTH) {
        return nullptr;
    }
    const auto lengths = std::size_t{data[8]} + 1 - data[9];
    if (data.size() < HEADER_BYTES + 2 * lengths) {
        return nullptr;
    }
    const std::uint32_t symbols = ReadLittle16(&data[10 + 2 * lengths]);
    next = HEADER_BYTES + 2 * lengths + std::size_t{3} * symbols + (symbols & 1);
    if (data.size() < next) {
        return nullptr;
    }

    auto table = std::make_unique<CompressedTable>();
    table->BlockBits = blockBits;
    table->IndexBits = indexBits;
    table->MinLength = min;
    table->RealBlocks = ReadLittle32(&data[4]);
    const std::uint64_t sized = std::uint64_t{table->RealBlocks} + data[3];
    table->SizedBlocks = static_cast<std::uint32_t>(sized);
    sizes.IndexTable = 6 * ((size + (std::uint64_t{1} << indexBits) - 1) >> indexBits);
    sizes.SizeTable = 2 * sized;
    sizes.Blocks = std::uint64_t{table->RealBlocks} << blockBits;

    for (int length = min; length <= max; ++length) {
        table->Offset[length] = static_cast<std::uint16_t>(ReadLittle16(&data[10] + 2 * (length - min)));
    }
    table->SymbolPattern = data.data() + HEADER_BYTES + 2 * lengths;
    table->SymbolLength = std::make_unique<std::uint8_t[]>(symbols);
    SymbolMeasure measure(table->SymbolPattern, symbols, wdl, table->SymbolLength.get());
    if (!measure.MeasureAll() || !SetupCodes(*table, min, max, symbols)) {
        return nullptr;
    }
    return table;
}

namespace {

/// Finds the block that holds the value at `index`, and in `local` its place there. The tests of the block number
/// cost nothing beside the fetch of the size that follows them; a whole size table is not read when it is loaded,
/// because that of a large table is megabytes on a disk. Answers false when damaged numbers lead out of the file.
bool FindBlock(const CompressedTable& table, std::uint64_t index, std::uint32_t& block, std::int32_t& local) {
    const std::uint64_t stretch = std::uint64_t{1} << table.IndexBits;
    const std::uint8_t* const record = table.IndexTable + 6 * (index >> table.IndexBits);
    block = ReadLittle32(record);
    local = static_cast<std::int32_t>(index & (stretch - 1)) - static_cast<std::int32_t>(stretch / 2) +
            static_cast<std::int32_t>(ReadLittle16(record + 4));

    const auto size = [&table](std::uint32_t n) {
        return static_cast<std::int32_t>(ReadLittle16(table.SizeTable + std::size_t{2} * n));
    };
    if (local < 0) {
        do {
            --block;  // block 0 wraps, and fails the test
            if (block >= table.SizedBlocks) {
                return false;
            }
            local += size(block) + 1;
        } while (local < 0);
    } else {
        while (block < table.SizedBlocks && local > size(block)) {
            local -= size(block) + 1;
            ++block;
        }
    }
    return block < table.RealBlocks;
}

}  // namespace

std::uint8_t Decompress(const CompressedTable& table, std::uint64_t index) {
    if (table.IndexBits == 0) {
        return static_cast<std::uint8_t>(table.MinLength);
    }
    std::uint32_t block = 0;
    std::int32_t local = 0;
    if (!FindBlock(table, index, block, local)) {
        return 0;
    }

    const std::uint8_t* next = table.Blocks + (std::uint64_t{block} << table.BlockBits);
    std::uint64_t code = ReadBig64(next);
    next += 8;
    int used = 0;
    const std::uint8_t* const lengths = table.SymbolLength.get();
    std::uint32_t symbol = 0;
    for (;;) {
        int length = table.FirstLength[code >> 56];
        while (code < table.Base[length]) {
            ++length;
        }
        symbol = table.Offset[length] + static_cast<std::uint32_t>((code - table.Base[length]) >> (64 - length));
        if (local <= lengths[symbol]) {
            break;
        }
        local -= lengths[symbol] + 1;
        code <<= length;
        used += length;
        if (used >= 32) {
            used -= 32;
            // The last block of a file may end before the refill does; the bits are not needed then.
            if (next <= table.LastRefill) {
                code |= std::uint64_t{ReadBig32(next)} << used;
                next += 4;
            }
        }
    }

    while (lengths[symbol] != 0) {
        const std::uint32_t pattern = ReadLittle24(table.SymbolPattern + std::size_t{3} * symbol);
        const std::uint32_t left = LeftSymbol(pattern);
        if (local <= lengths[left]) {
            symbol = left;
        } else {
            local -= lengths[left] + 1;
            symbol = RightSymbol(pattern);
        }
    }
    return table.SymbolPattern[std::size_t{3} * symbol];
}
