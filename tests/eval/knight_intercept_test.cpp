#include "eval/knight_intercept.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "eval/init.h"
#include "position/attacks.h"

namespace {

bool IsKnightMove(int a, int b) {
    const int files = std::abs(FileOf(a) - FileOf(b));
    const int ranks = std::abs(RankOf(a) - RankOf(b));
    return files * ranks == 2;
}

/// Knight moves between two squares, by walking.
struct Distances {
    int of[64][64];

    Distances() {
        for (int from = 0; from < 64; ++from) {
            Bitboard seen = Bit(from);
            of[from][from] = 0;
            for (int moves = 1; ~seen != 0; ++moves) {
                const Bitboard before = seen;
                for (int to = 0; to < 64; ++to) {
                    for (int step = 0; step < 64 && (before & Bit(to)) == 0; ++step) {
                        if ((before & Bit(step)) != 0 && IsKnightMove(step, to)) {
                            of[from][to] = moves;
                            seen |= Bit(to);
                        }
                    }
                }
            }
        }
    }
};

bool Stops(const Distances& distance, int pawn, int king, int knight) {
    for (int t = 0; t <= RankOf(pawn); ++t) {
        const int p = pawn - 8 * t;
        if (distance.of[p][knight] <= t + 1) {
            return true;
        }
        if (distance.of[p][knight] != t + 2) {
            continue;
        }
        for (int m = 0; m < 64; ++m) {
            if (IsKnightMove(m, king) && distance.of[m][knight] + distance.of[p][m] - 1 <= t + 1) {
                return true;
            }
        }
    }
    return false;
}

TEST(KnightInterceptTest, AgreesWithTheWalkItself) {
    InitializeBitMasks();
    InitializeBitBoards();
    InitMagics();
    InitKnightDistance();
    InitKnightIntercept();
    const Distances distance;
    int by_check = 0;
    for (int pawn = 0; pawn < 64; ++pawn) {
        for (int king = pawn % 3; king < 64; king += 3) {
            Bitboard expected = 0;
            if (RankOf(pawn) >= 1 && RankOf(pawn) <= 6) {
                for (int knight = 0; knight < 64; ++knight) {
                    if (Stops(distance, pawn, king, knight)) {
                        expected |= Bit(knight);
                    }
                }
                for (int knight = 0; knight < 64; ++knight) {
                    if (IsKnightMove(knight, pawn)) {
                        EXPECT_NE(KnightIntercept[pawn][king] & Bit(knight), 0u);
                    }
                }
            }
            ASSERT_EQ(KnightIntercept[pawn][king], expected) << pawn << " " << king;
            by_check += KnightIntercept[pawn][king] != KnightIntercept[pawn][(king + 1) % 64];
        }
    }
    EXPECT_GT(by_check, 0) << "the king's square never matters";
}

}  // namespace
