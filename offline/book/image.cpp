#include "book/image.h"

#include <algorithm>
#include <array>
#include <limits>

#include "book/book_format.h"
#include "platform/bytes.h"

namespace {

/// The most that the engine leaves in a byte when it learns; two of 255 would mean an excluded move.
constexpr std::int64_t MOST_POINTS = 254;

/// The engine counts records in a signed number, and offsets must fit as well.
constexpr std::size_t MOST_BYTES = std::numeric_limits<std::int32_t>::max();

void Append32(std::string& bytes, std::uint32_t value) {
    std::array<std::uint8_t, 4> little{};
    WriteLittle32(little.data(), value);
    bytes.append(little.begin(), little.end());
}

void AppendByte(std::string& bytes, std::int64_t value) {
    bytes += static_cast<char>(static_cast<unsigned char>(value));
}

/// `part` when `most` becomes MOST_POINTS, to the nearest.
std::int64_t Shrunk(std::int64_t part, std::int64_t most) {
    return most <= MOST_POINTS ? part : (part * MOST_POINTS + most / 2) / most;
}

void AppendMove(std::string& bytes, const BookMove& move) {
    AppendByte(bytes, move.from);
    AppendByte(bytes, move.to);
    if (move.excluded) {
        AppendByte(bytes, BOOK_EXCLUDED & 255);
        AppendByte(bytes, BOOK_EXCLUDED >> 8);
        return;
    }
    const std::int64_t most = std::max(move.plus, move.minus);
    AppendByte(bytes, Shrunk(move.plus, most));
    AppendByte(bytes, Shrunk(move.minus, most));
}

std::size_t ListSize(const BookPosition& position) {
    return std::min<std::size_t>(position.moves.size(), BOOK_LIST_MAX);
}

/// Bounds-checked reading of the file's bytes.
class Bytes {
  public:
    explicit Bytes(std::string_view bytes) : bytes_(bytes) {}

    bool Has(std::size_t offset, std::size_t count) const {
        return offset <= bytes_.size() && bytes_.size() - offset >= count;
    }
    int At(std::size_t offset) const { return static_cast<unsigned char>(bytes_[offset]); }
    std::uint32_t At32(std::size_t offset) const {
        const std::array<std::uint8_t, 4> little{
            static_cast<std::uint8_t>(At(offset)), static_cast<std::uint8_t>(At(offset + 1)),
            static_cast<std::uint8_t>(At(offset + 2)), static_cast<std::uint8_t>(At(offset + 3))};
        return ReadLittle32(little.data());
    }

  private:
    std::string_view bytes_;
};

void AddEntry(const Bytes& bytes, std::size_t offset, bool version0, BookPosition& position) {
    BookMove& move = EnterMove(position, bytes.At(offset + BOOK_ENTRY_FROM), bytes.At(offset + BOOK_ENTRY_TO));
    move.from_book = true;
    const int plus = bytes.At(offset + BOOK_ENTRY_PLUS);
    if (version0) {
        move.excluded |= plus == BOOK_EXCLUDED_0;
        move.seen += plus == BOOK_EXCLUDED_0 ? 0 : plus;
        return;
    }
    const int minus = bytes.At(offset + BOOK_ENTRY_MINUS);
    if ((plus | minus << 8) == BOOK_EXCLUDED) {
        move.excluded = true;
    } else {
        move.plus += plus;
        move.minus += minus;
    }
}

/// The move list at `offset`; an empty answer, or what is wrong with it.
const char* AddList(const Bytes& bytes, std::size_t offset, bool version0, BookPosition& position) {
    const std::size_t entry_size = version0 ? BOOK_ENTRY_SIZE_0 : BOOK_ENTRY_SIZE;
    if (!bytes.Has(offset, 1) || !bytes.Has(offset + 1, entry_size * static_cast<std::size_t>(bytes.At(offset)))) {
        return "has its moves behind the end of the file";
    }
    const int entries = bytes.At(offset);
    for (std::size_t at = offset + 1, i = 0; i < static_cast<std::size_t>(entries); ++i, at += entry_size) {
        if (bytes.At(at + BOOK_ENTRY_FROM) > H8 || bytes.At(at + BOOK_ENTRY_TO) > H8) {
            return "has a move between squares that do not exist";
        }
        AddEntry(bytes, at, version0, position);
    }
    return "";
}

}  // namespace

std::string BookImage(const BookContents& book) {
    std::size_t nodes = 0;
    std::size_t size = BOOK_HEADER_SIZE;
    for (const auto& [keys, position] : book) {
        if (!position.moves.empty()) {
            ++nodes;
            size += BOOK_NODE_SIZE + 1 + BOOK_ENTRY_SIZE * ListSize(position);
        }
    }
    if (size > MOST_BYTES) {
        return {};
    }
    std::string bytes(BOOK_MAGIC);
    bytes.reserve(size);
    Append32(bytes, 1);
    Append32(bytes, 0);
    Append32(bytes, static_cast<std::uint32_t>(nodes));
    std::string lists;
    const std::size_t lists_begin = BOOK_HEADER_SIZE + nodes * BOOK_NODE_SIZE;
    for (const auto& [keys, position] : book) {
        if (position.moves.empty()) {
            continue;
        }
        Append32(bytes, keys.key1);
        Append32(bytes, keys.key2);
        Append32(bytes, static_cast<std::uint32_t>(lists_begin + lists.size()));
        const std::size_t count = ListSize(position);
        AppendByte(lists, static_cast<std::int64_t>(count));
        for (std::size_t i = 0; i < count; ++i) {
            AppendMove(lists, position.moves[i]);
        }
    }
    return bytes + lists;
}

bool AddBookImage(std::string_view data, BookContents& book, std::string& error) {
    const Bytes bytes(data);
    if (!bytes.Has(0, BOOK_HEADER_SIZE) || !data.starts_with(BOOK_MAGIC)) {
        error = "this is no book file";
        return false;
    }
    const std::uint32_t version = bytes.At32(BOOK_VERSION_OFFSET);
    if (version > 1) {
        error = "version " + std::to_string(version) + " of the book format is not known";
        return false;
    }
    const std::size_t nodes = bytes.At32(BOOK_NODES_OFFSET);
    if (!bytes.Has(BOOK_HEADER_SIZE, nodes * BOOK_NODE_SIZE)) {
        error = "the file ends before its " + std::to_string(nodes) + " positions do";
        return false;
    }
    for (std::size_t node = 0; node < nodes; ++node) {
        const std::size_t offset = BOOK_HEADER_SIZE + node * BOOK_NODE_SIZE;
        const BookKeys keys{bytes.At32(offset + BOOK_NODE_KEY1), bytes.At32(offset + BOOK_NODE_KEY2)};
        const char* const problem = AddList(bytes, bytes.At32(offset + BOOK_NODE_MOVES), version == 0, book[keys]);
        if (*problem != '\0') {
            error = "position " + std::to_string(node + 1) + " of " + std::to_string(nodes) + " ";
            error += problem;
            return false;
        }
    }
    return true;
}
