#include "position/zobrist.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>
#include <span>

Key PieceKeys[2][8][64];
Key CastleKeys[16];
Key EnPassantKeys[8];

namespace {

/// The array initialisation that was published with MT19937-64, handed to the standard generator as a seed
/// sequence: std::mt19937_64 takes its state word for word from generate(), two halves a word, the low half
/// first. Its own seeding differs, and std::seed_seq mixes in another way, so neither gives these keys.
class ArrayInitialisation {
  public:
    using result_type = std::uint32_t;

    explicit ArrayInitialisation(std::span<const std::uint64_t> words) {
        state[0] = 19650218;
        for (std::size_t i = 1; i < SIZE; ++i) {
            state[i] = 6364136223846793005ULL * Shuffled(i - 1) + i;
        }

        std::size_t i = 1;
        std::size_t j = 0;
        for (std::size_t k = std::max(SIZE, words.size()); k > 0; --k) {
            state[i] = (state[i] ^ (Shuffled(i - 1) * 3935559000370003845ULL)) + words[j] + j;
            Advance(i);
            j = (j + 1) % words.size();
        }
        for (std::size_t k = SIZE - 1; k > 0; --k) {
            state[i] = (state[i] ^ (Shuffled(i - 1) * 2862933555777941757ULL)) - i;
            Advance(i);
        }
        state[0] = std::uint64_t{1} << 63;
    }

    template <class Iterator>
    void generate(Iterator first, Iterator last) const {
        for (std::size_t half = 0; first != last; ++first, ++half) {
            *first = static_cast<std::uint32_t>(state[half / 2] >> (32 * (half % 2)));
        }
    }

  private:
    static constexpr std::size_t SIZE = std::mt19937_64::state_size;

    std::uint64_t Shuffled(std::size_t i) const { return state[i] ^ (state[i] >> 62); }

    /// The ring of indices leaves out 0, whose word is carried over from the end instead.
    void Advance(std::size_t& i) {
        if (++i >= SIZE) {
            state[0] = state[SIZE - 1];
            i = 1;
        }
    }

    std::array<std::uint64_t, SIZE> state;
};

}  // namespace

void InitZobristKeys() {
    constexpr std::array<std::uint64_t, 4> words = {0x12345, 0x23456, 0x34567, 0x45678};
    ArrayInitialisation seed(words);
    std::mt19937_64 draw(seed);

    for (int square = 0; square < 64; ++square) {
        for (const int code : {PAWN, KNIGHT, BISHOP, ROOK, QUEEN, KING}) {
            PieceKeys[WHITE][code][square] = draw();
            PieceKeys[BLACK][code][square] = draw();
        }
    }
    for (Key& key : CastleKeys) {
        key = draw();
    }
    for (Key& key : EnPassantKeys) {
        key = draw();
    }
}
