#include "book/book_keys.h"

#include "position/board.h"

namespace {

constexpr std::uint32_t BLACK_TO_MOVE = 0x7d3adeb;

/// The first words of a table; the generator gives the rest. They stand at squares of PieceCode 0, which no man has.
using FirstWords = std::array<std::uint32_t, 3>;

/// SplitMix64, of which the upper half of each number is taken.
class KeyGenerator {
  public:
    constexpr explicit KeyGenerator(std::uint64_t seed) : state_(seed) {}

    constexpr std::uint32_t Next() {
        state_ += 0x9e3779b97f4a7c15;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return static_cast<std::uint32_t>((z ^ (z >> 31)) >> 32);
    }

  private:
    std::uint64_t state_;
};

/// The table's first word is also its seed.
constexpr BookKeyTable MakeTable(FirstWords first) {
    BookKeyTable table{};
    KeyGenerator generator(first[0]);
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::uint32_t word = generator.Next();
        table[i] = i < first.size() ? first[i] : word;
    }
    return table;
}

}  // namespace

constexpr BookKeyTable BookKeyWhite1 = MakeTable({3782006446, 4055624171, 2265726617});
constexpr BookKeyTable BookKeyBlack1 = MakeTable({4150990888, 2434598359, 4044321847});
constexpr BookKeyTable BookKeyWhite2 = MakeTable({690208388, 1385187825, 3014056764});
constexpr BookKeyTable BookKeyBlack2 = MakeTable({2452286269, 609759355, 795917529});

BookKeys CurrentBookKeys() {
    BookKeys keys{thread_board.SideToMove == BLACK ? BLACK_TO_MOVE : 0, 0};
    for (Bitboard men = thread_board.AllPieces; men != 0;) {
        const int square = PopLowestBit(men);
        const std::size_t index = (thread_board.Board[square] << 6) + static_cast<std::size_t>(square);
        const bool white = (thread_board.ColourPieces[WHITE] & Bit(square)) != 0;
        keys.key1 ^= (white ? BookKeyWhite1 : BookKeyBlack1)[index];
        keys.key2 ^= (white ? BookKeyWhite2 : BookKeyBlack2)[index];
    }
    return keys;
}
