// The magic multipliers are searched for at every start with a generator of fixed seed, so that the layout of
// the stores is the same in all runs.
#include "position/attacks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

Bitboard RookMask[64];
Bitboard BishopMask[64];
Key RookMagic[64];
Key BishopMagic[64];
std::uint32_t RookShift[64];
std::uint32_t BishopShift[64];
Bitboard* RookAttacks[64];
Bitboard* BishopAttacks[64];
Bitboard RookAttackStore[102400];
Bitboard BishopAttackStore[5248];
Bitboard RookEmptyAttacks[64];
Bitboard BishopEmptyAttacks[64];
Bitboard QueenEmptyAttacks[64];
std::int8_t Direction[64][64];

namespace {

using Steps = std::array<int, 4>;
constexpr Steps ROOK_STEPS = {8, 1, -8, -1};
constexpr Steps BISHOP_STEPS = {9, -7, -9, 7};

/// The largest relevant occupancy has 12 bits: a rook in a corner.
constexpr int MAX_SUBSETS = 4096;

/// Bob Jenkins' small non-cryptographic generator.
class SmallGenerator {
  public:
    SmallGenerator() {
        for (int round = 0; round < 73; ++round) {
            Draw();
        }
    }

    std::uint64_t Draw() {
        const std::uint64_t e = a - std::rotl(b, 7);
        a = b ^ std::rotl(c, 13);
        b = c + std::rotl(d, 37);
        c = d + e;
        d = e + a;
        return d;
    }

  private:
    std::uint64_t a = 0xF1EA5EED;
    std::uint64_t b = 0xD4E12C77;
    std::uint64_t c = 0xD4E12C77;
    std::uint64_t d = 0xD4E12C77;
};

/// Two rotations a rank, 6 bits each, that make the generator find a magic soon.
constexpr int BOOSTERS[8] = {1059, 3608, 605, 3234, 3326, 38, 2029, 3043};

/// A number with few bits. The three draws are separate statements because their order counts.
Key DrawCandidate(SmallGenerator& generator, int rank) {
    const int booster = BOOSTERS[rank];
    const Key first = generator.Draw();
    const Key second = generator.Draw();
    const Key third = generator.Draw();
    return std::rotr(std::rotr(first, booster & 63) & second, (booster >> 6) & 63) & third;
}

/// The reference: walks until a blocker, which belongs to the set, or the edge.
Bitboard SlidingAttack(const Steps& steps, int square, Bitboard occupancy) {
    Bitboard attacks = 0;
    for (const int step : steps) {
        int previous = square;
        int target = square + step;
        while (target >= 0 && target < 64 &&
               std::max(std::abs(FileOf(target) - FileOf(previous)), std::abs(RankOf(target) - RankOf(previous))) ==
                   1) {
            attacks |= Bit(target);
            if (occupancy & Bit(target)) {
                break;
            }
            previous = target;
            target += step;
        }
    }
    return attacks;
}

/// The edges on which the square does not stand: a blocker there changes nothing.
Bitboard IrrelevantEdges(int square) {
    const Bitboard rank = RANK_1 << (8 * RankOf(square));
    const Bitboard file = FILE_A << FileOf(square);
    return ((RANK_1 | RANK_8) & ~rank) | ((FILE_A | FILE_H) & ~file);
}

/// The tables of one sliding piece.
struct Slider {
    const Steps& steps;
    Bitboard* store;
    Bitboard* mask;
    Key* magic;
    std::uint32_t* shift;
    Bitboard** attacks;
};

void SearchMagics(const Slider& slider) {
    static Bitboard occupancies[MAX_SUBSETS];
    static Bitboard attacks[MAX_SUBSETS];

    SmallGenerator generator;
    Bitboard* slice = slider.store;
    for (int square = 0; square < 64; ++square) {
        const Bitboard mask = SlidingAttack(slider.steps, square, 0) & ~IrrelevantEdges(square);
        const std::uint32_t shift = 64 - static_cast<std::uint32_t>(PopCount(mask));

        int subsets = 0;
        Bitboard subset = 0;
        do {
            occupancies[subsets] = subset;
            attacks[subsets] = SlidingAttack(slider.steps, square, subset);
            ++subsets;
            subset = (subset - mask) & mask;
        } while (subset != 0);

        Key candidate;
        int fitted;
        do {
            do {
                candidate = DrawCandidate(generator, RankOf(square));
            } while (PopCount((mask * candidate) >> 56) < 6);

            std::fill_n(slice, subsets, Bitboard{0});
            for (fitted = 0; fitted < subsets; ++fitted) {
                Bitboard& entry = slice[(occupancies[fitted] * candidate) >> shift];
                if (entry != 0 && entry != attacks[fitted]) {
                    break;
                }
                entry = attacks[fitted];
            }
        } while (fitted < subsets);

        slider.mask[square] = mask;
        slider.magic[square] = candidate;
        slider.shift[square] = shift;
        slider.attacks[square] = slice;
        slice += subsets;
    }
}

void FillDirections() {
#pragma omp parallel for schedule(static) if (FORK_START_UP_LOOPS)
    for (int from = 0; from < 64; ++from) {
        std::fill_n(Direction[from], 64, std::int8_t{0});
        for (const int code : {1, 7, 8, 9, -1, -7, -8, -9}) {
            Bitboard targets = Ray(code, from);
            while (targets) {
                Direction[from][PopLowestBit(targets)] = static_cast<std::int8_t>(code);
            }
        }
    }
}

}  // namespace

void InitMagics() {
    SearchMagics({ROOK_STEPS, RookAttackStore, RookMask, RookMagic, RookShift, RookAttacks});
    SearchMagics({BISHOP_STEPS, BishopAttackStore, BishopMask, BishopMagic, BishopShift, BishopAttacks});

    for (int square = 0; square < 64; ++square) {
        // The empty occupancy has index 0 whatever the magic.
        RookEmptyAttacks[square] = RookAttacks[square][0];
        BishopEmptyAttacks[square] = BishopAttacks[square][0];
        QueenEmptyAttacks[square] = RookEmptyAttacks[square] | BishopEmptyAttacks[square];
    }
    FillDirections();
}
