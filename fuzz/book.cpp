// The openings book: opened, listed, asked for moves and taught.
//
// An input with an odd first byte is a book file behind that byte. Any other is the move lists of a book that has a
// node for every position asked about: bit 1 of the first byte is the version, then comes one byte for each node, where
// its list begins, then the lists. Further bits of the first byte are the settings.

#include "book/book.h"
#include "book/book_format.h"
#include "book/book_keys.h"
#include "engine.h"
#include "platform/bytes.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/move_text.h"
#include "position/settings.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace {

constexpr std::array<std::string_view, 5> game = {"e2e4", "e7e5", "g1f3", "b8c6", "f1b5"};

void AppendLittle32(std::string& file, std::uint32_t value) {
    std::array<std::uint8_t, 4> bytes;
    WriteLittle32(bytes.data(), value);
    file.append(bytes.begin(), bytes.end());
}

/// The keys of all positions asked about, in the order of the node table.
std::vector<BookKeys> Nodes() {
    std::vector<BookKeys> nodes;
    for (const std::string_view fen : positions) {
        SetupFen(fen);
        nodes.push_back(CurrentBookKeys());
    }
    PlaceStartPosition();
    for (const std::string_view move : game) {
        MakeMove(MoveFromText(move), 1);
        nodes.push_back(CurrentBookKeys());
    }
    std::ranges::sort(nodes, BookKeysLess);
    return nodes;
}

std::string BookOf(std::string_view input) {
    const std::uint32_t version = input[0] >> 1 & 1;
    input.remove_prefix(1);
    const std::vector<BookKeys> nodes = Nodes();
    std::string file(BOOK_MAGIC);
    AppendLittle32(file, version);
    AppendLittle32(file, 0);
    AppendLittle32(file, static_cast<std::uint32_t>(nodes.size()));
    const std::size_t lists = BOOK_HEADER_SIZE + nodes.size() * BOOK_NODE_SIZE;
    for (const BookKeys& keys : nodes) {
        const std::size_t begin = input.empty() ? 0 : static_cast<unsigned char>(input[0]);
        input.remove_prefix(input.empty() ? 0 : 1);
        AppendLittle32(file, keys.key1);
        AppendLittle32(file, keys.key2);
        AppendLittle32(file, static_cast<std::uint32_t>(lists + begin));
    }
    return file.append(input);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    ResetEngine();
    const std::string_view input = AsText(data, size);
    WriteInput("Book.qvn", {(data[0] & 1) != 0 ? std::string(input.substr(1)) : BookOf(input)});
    SeedBookChoice(data[0]);
    BookLearningMode = data[0] >> 4 & 1;
    UseBookWeights = data[0] >> 5 & 1;
    OpenBook("Book.qvn");
    if (!BookLoaded) {
        return 0;
    }
    for (const std::string_view fen : positions) {
        SetupFen(fen);
        ListBookMoves();
        if (const Move move = ChooseBookMove(); move != 0) {
            MakeMove(PromotedToQueen(move), 1);
        }
        Require(PositionIsConsistent());
    }
    PlaceStartPosition();
    for (const std::string_view move : game) {
        MakeMove(MoveFromText(move), 1);
    }
    BookLearn(static_cast<BookResult>((data[0] >> 2) % 3));
    Require(PositionIsConsistent() && GamePly == static_cast<std::int32_t>(game.size()));
    return 0;
}
