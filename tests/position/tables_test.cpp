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
    // The draws number 769 and 792: the ends of the other two tables.
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

TEST(Geometry, MasksOfSquares) {
    struct Case {
        const char* name;
        Bitboard mask, expected;
    };
    const int a1 = A1, e4 = SquareOf("e4"), h4 = SquareOf("h4");
    const Case cases[] = {
        {"knight a1", KnightAttacks[a1], SquareSet({"b3", "c2"})},
        {"king h1", KingAttacks[H1], SquareSet({"g1", "g2", "h2"})},
        {"white pawn h4", WhitePawnAttacks[h4], SquareSet({"g5"})},
        {"white pawn h8", WhitePawnAttacks[H8], 0},
        {"black pawn h4", BlackPawnAttacks[h4], SquareSet({"g3"})},
        {"black pawn a1", BlackPawnAttacks[a1], 0},
        {"passed white h6", PassedMaskWhite[SquareOf("h6")], SquareSet({"g7", "h7", "g8", "h8"})},
        {"passed black b2", PassedMaskBlack[B2], SquareSet({"a1", "b1", "c1"})},
        {"below c2", RanksBelow[C2], RANK_1},
        {"below c1", RanksBelow[C1], 0},
        {"not file c", NotFile[2], ~(FILE_A << 2)},
        {"beside h", AdjacentFiles[h4], FILE_H >> 1},
        {"beside e", AdjacentFiles[e4], FILE_A << 3 | FILE_A << 5},
        {"ahead a1", SquaresAhead[a1], SquareSet({"a2", "b2"})},
        {"ahead h8", SquaresAhead[H8], 0},
        {"behind e4", SquaresBehind[e4], SquareSet({"d3", "e3", "f3"})},
        {"file ahead", FileAhead[SquareOf("e6")], SquareSet({"e7", "e8"})},
        {"file behind", FileBehind[SquareOf("e3")], SquareSet({"e1", "e2"})},
        {"light", LightSquares & (RANK_1 | FILE_A), SquareSet({"b1", "d1", "f1", "h1", "a2", "a4", "a6", "a8"})},
        {"trap white", KingsideRookTrap[WHITE][2], SquareSet({"g1", "h1", "h2"})},
        {"trap black", QueensideRookTrap[BLACK][2], SquareSet({"a7", "a8", "b8"})},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.mask, c.expected) << c.name;
    }
    EXPECT_EQ(DarkSquares, ~LightSquares);
    EXPECT_EQ(ToLowerTable['Q'], 'q');
    EXPECT_EQ(ToLowerTable['['], '[');
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
    EXPECT_EQ(partners("b8"), SquareSet({"b6"}));
    EXPECT_EQ(partners("a2"), SquareSet({"c2"}));
    EXPECT_EQ(partners("h7"), SquareSet({"f7"}));
    EXPECT_EQ(partners("e4"), 0u);
    EXPECT_EQ(partners("a1"), SquareSet({"a3", "b3", "c1", "c2"}));
    EXPECT_EQ(partners("h1"), SquareSet({"h3", "g3", "f1", "f2"}));
    EXPECT_EQ(partners("a8"), SquareSet({"a6", "b6", "c8", "c7"}));
    EXPECT_EQ(partners("h8"), SquareSet({"h6", "g6", "f8", "f7"}));
}

TEST(Geometry, PawnSquareAndItsMirror) {
    EXPECT_EQ(PawnSquare[WHITE][WHITE][A7], SquareSet({"a8", "b8", "a7", "b7"}));
    EXPECT_EQ(PawnSquare[WHITE][WHITE][SquareOf("h5")] & FILE_A << 4, SquareSet({"e8", "e7", "e6", "e5"}));
    EXPECT_EQ(PawnSquare[WHITE][BLACK][SquareOf("h5")] & FILE_A << 3, SquareSet({"d8", "d7", "d6", "d5", "d4"}));
    for (int pawn = A2; pawn < A8; ++pawn) {
        for (const Colour side : {WHITE, BLACK}) {
            for (int square = 0; square < 64; ++square) {
                const bool white = PawnSquare[WHITE][side][pawn] & Bit(square);
                const bool black = PawnSquare[BLACK][ChangeSide(side)][MirrorRank(pawn)] & Bit(MirrorRank(square));
                ASSERT_EQ(white, black) << pawn << ' ' << square;
            }
        }
    }
    for (int file = 0; file < 8; ++file) {
        EXPECT_EQ(PawnSquare[WHITE][WHITE][A2 + file], PawnSquare[WHITE][WHITE][A2 + 8 + file]);
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
