#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>

#include "position/attacks.h"
#include "position/zobrist.h"
#include "support.h"

namespace {

Bitboard SquareSet(std::initializer_list<const char*> names) {
    Bitboard set = 0;
    for (const char* name : names) {
        set |= Bit(SquareOf(name));
    }
    return set;
}

/// The line from a to b, told by file and rank alone.
struct Line {
    int steps = 0;  // 0 if there is none
    int step = 0;   // square difference of one step

    Line(int a, int b) {
        const int files = FileOf(b) - FileOf(a);
        const int ranks = RankOf(b) - RankOf(a);
        if (a != b && (files == 0 || ranks == 0 || std::abs(files) == std::abs(ranks))) {
            steps = std::max(std::abs(files), std::abs(ranks));
            step = (b - a) / steps;
        }
    }
};

Bitboard ReferenceAttacks(int square, Bitboard occupancy, bool diagonal) {
    Bitboard attacks = 0;
    for (int files = -1; files <= 1; ++files) {
        for (int ranks = -1; ranks <= 1; ++ranks) {
            if ((files == 0 && ranks == 0) || (files != 0 && ranks != 0) != diagonal) {
                continue;
            }
            int file = FileOf(square) + files;
            int rank = RankOf(square) + ranks;
            for (; file >= 0 && file < 8 && rank >= 0 && rank < 8; file += files, rank += ranks) {
                attacks |= Bit(8 * rank + file);
                if (occupancy & Bit(8 * rank + file)) {
                    break;
                }
            }
        }
    }
    return attacks;
}

}  // namespace

TEST(Zobrist, DrawsThePublishedSequenceInTheFixedOrder) {
    EXPECT_EQ(PieceKeys[WHITE][PAWN][A1], 7266447313870364031ULL);
    EXPECT_EQ(PieceKeys[BLACK][KING][A1], 17320312680810499042ULL);
    EXPECT_EQ(CastleKeys[0], 10399654693663712506ULL);
    EXPECT_EQ(EnPassantKeys[7], 17755469346196579408ULL);
    std::set<Key> keys(CastleKeys, CastleKeys + 16);
    keys.insert(EnPassantKeys, EnPassantKeys + 8);
    for (const Colour colour : {WHITE, BLACK}) {
        for (int code = 0; code < 8; ++code) {
            for (const Key key : PieceKeys[colour][code]) {
                if (code == NO_PIECE || code == 4) {
                    EXPECT_EQ(key, 0u);
                } else {
                    keys.insert(key);
                }
            }
        }
    }
    EXPECT_EQ(keys.size(), 12u * 64 + 16 + 8);
}

TEST(Geometry, LinesAgreeWithFilesAndRanks) {
    EXPECT_EQ(Direction[SquareOf("e4")][SquareOf("e5")], -8);
    EXPECT_EQ(Direction[SquareOf("h1")][SquareOf("a8")], -7);
    for (int a = 0; a < 64; ++a) {
        for (int b = 0; b < 64; ++b) {
            const Line line(a, b);
            Bitboard between = 0;
            for (int k = 0; k < line.steps; ++k) {
                between |= Bit(a + k * line.step);
            }
            ASSERT_EQ(Between[a][b], between) << a << ' ' << b;
            ASSERT_EQ(Direction[a][b], -line.step) << a << ' ' << b;
            for (const int code : {1, 7, 8, 9, -1, -7, -8, -9}) {
                ASSERT_EQ((Ray(code, a) & Bit(b)) != 0, line.steps > 0 && -line.step == code) << a << ' ' << b;
            }

            Bitboard rectangle = 0;
            for (int square = 0; square < 64; ++square) {
                const auto inside = [square, a, b](auto axis) {
                    return std::clamp(axis(square), std::min(axis(a), axis(b)), std::max(axis(a), axis(b))) ==
                           axis(square);
                };
                rectangle |= inside(FileOf) && inside(RankOf) ? Bit(square) : 0;
            }
            ASSERT_EQ(Rectangle[a][b], rectangle) << a << ' ' << b;
        }
    }
    for (int code = -9; code <= 9; ++code) {
        EXPECT_EQ(Ray(code, 64), 0u);
    }
}

TEST(Geometry, MasksAgreeWithFilesAndRanks) {
    const struct {
        const Bitboard* masks;
        bool (*holds)(int files, int ranks);  // from the mask's square to another
    } cases[] = {
        {KnightAttacks, [](int files, int ranks) { return std::abs(files * ranks) == 2; }},
        {KingAttacks, [](int files, int ranks) { return std::max(std::abs(files), std::abs(ranks)) == 1; }},
        {WhitePawnAttacks, [](int files, int ranks) { return std::abs(files) == 1 && ranks == 1; }},
        {BlackPawnAttacks, [](int files, int ranks) { return std::abs(files) == 1 && ranks == -1; }},
        {PassedMaskWhite, [](int files, int ranks) { return std::abs(files) <= 1 && ranks > 0; }},
        {PassedMaskBlack, [](int files, int ranks) { return std::abs(files) <= 1 && ranks < 0; }},
        {SquaresAhead, [](int files, int ranks) { return std::abs(files) <= 1 && ranks == 1; }},
        {SquaresBehind, [](int files, int ranks) { return std::abs(files) <= 1 && ranks == -1; }},
        {FileAhead, [](int files, int ranks) { return files == 0 && ranks > 0; }},
        {FileBehind, [](int files, int ranks) { return files == 0 && ranks < 0; }},
        {RanksBelow, [](int, int ranks) { return ranks < 0; }},
        {AdjacentFiles, [](int files, int) { return std::abs(files) == 1; }},
    };
    for (int square = 0; square < 64; ++square) {
        for (const auto& c : cases) {
            Bitboard expected = 0;
            for (int other = 0; other < 64; ++other) {
                const bool holds = c.holds(FileOf(other) - FileOf(square), RankOf(other) - RankOf(square));
                expected |= holds ? Bit(other) : 0;
            }
            ASSERT_EQ(c.masks[square], expected) << &c - cases << ' ' << square;
        }
        ASSERT_EQ((LightSquares & Bit(square)) != 0, (FileOf(square) + RankOf(square)) % 2 == 1);
        ASSERT_EQ((DarkSquares & Bit(square)) != 0, (FileOf(square) + RankOf(square)) % 2 == 0);
    }
    EXPECT_EQ(KingsideRookTrap[WHITE][2], SquareSet({"g1", "h1", "h2"}));
    EXPECT_EQ(QueensideRookTrap[BLACK][2], SquareSet({"a7", "a8", "b8"}));
}

TEST(Geometry, TablesOfBytes) {
    EXPECT_EQ(BitReverse[0x13], 0xc8);
    EXPECT_EQ(HighestBit[0x14] * 10 + LowestBit[0x14], 42);
    EXPECT_EQ(HighestBit[0] * 10 + LowestBit[0], 88);
    const int classes[][2] = {{0, 0}, {128, 1}, {64, 2}, {16, 3}, {4, 3}, {3, 4}, {192, 4}, {5, 5}, {255, 5}, {6, 5}};
    for (const auto& [files, expected] : classes) {
        EXPECT_EQ(PawnFileClass[files], expected) << files;
    }
}

TEST(Geometry, KingOppositionIsStoredInReverse) {
    const auto partners = [](const char* king) {
        Bitboard set = 0;
        for (int other = 0; other < 64; ++other) {
            set |= KingOpposition[SquareOf(king)] & Bit(63 - other) ? Bit(other) : 0;
        }
        return set;
    };
    EXPECT_EQ(partners("e1"), SquareSet({"e3"}));
    EXPECT_EQ(partners("a2"), SquareSet({"c2"}));
    EXPECT_EQ(partners("e4"), 0u);
    EXPECT_EQ(partners("a1"), SquareSet({"a3", "b3", "c1", "c2"}));
    EXPECT_EQ(partners("h8"), SquareSet({"h6", "g6", "f8", "f7"}));
}

/// The defender's king is as near to the square of promotion as the pawn, which counts its double push, and one step
/// more if it is to move.
TEST(Geometry, PawnSquareHoldsTheKingsThatCatchThePawn) {
    for (int pawn = A2; pawn < A8; ++pawn) {
        for (const Colour side : {WHITE, BLACK}) {
            const int reach = 7 - std::max(RankOf(pawn), 2) + (side == BLACK ? 1 : 0);
            for (int king = 0; king < 64; ++king) {
                const bool catches = std::max(std::abs(FileOf(king) - FileOf(pawn)), 7 - RankOf(king)) <= reach;
                const Bitboard black = PawnSquare[BLACK][ChangeSide(side)][MirrorRank(pawn)];
                ASSERT_EQ((PawnSquare[WHITE][side][pawn] & Bit(king)) != 0, catches) << pawn << ' ' << king;
                ASSERT_EQ((black & Bit(MirrorRank(king))) != 0, catches) << pawn << ' ' << king;
            }
        }
    }
}

TEST(Geometry, KnightDistanceIsShortest) {
    EXPECT_EQ(KnightDistance[A1][B2], 4);
    EXPECT_EQ(KnightDistance[A1][H8], 6);
    for (int a = 0; a < 64; ++a) {
        for (int b = 0; b < 64; ++b) {
            ASSERT_EQ(KnightDistance[a][b], KnightDistance[b][a]);
            int nearest = 99;
            for (Bitboard from = KnightAttacks[b]; from;) {
                nearest = std::min(nearest, KnightDistance[a][PopLowestBit(from)]);
            }
            ASSERT_EQ(KnightDistance[a][b], a == b ? 0 : nearest + 1);
        }
    }
}

TEST(Magics, LookupsEqualTheWalk) {
    std::mt19937_64 random(7);
    for (int square = 0; square < 64; ++square) {
        for (int trial = 0; trial < 400; ++trial) {
            // Sparse, middling and dense boards.
            const Bitboard draw = random();
            const Bitboard occupancy = trial % 3 == 0 ? draw : trial % 3 == 1 ? draw & random() : draw | random();
            ASSERT_EQ(RookAttacksOf(square, occupancy), ReferenceAttacks(square, occupancy, false));
            ASSERT_EQ(BishopAttacksOf(square, occupancy), ReferenceAttacks(square, occupancy, true));
        }
        EXPECT_EQ(RookEmptyAttacks[square], ReferenceAttacks(square, 0, false));
        EXPECT_EQ(BishopEmptyAttacks[square], ReferenceAttacks(square, 0, true));
        EXPECT_EQ(QueenEmptyAttacks[square], RookEmptyAttacks[square] | BishopEmptyAttacks[square]);
    }
}
