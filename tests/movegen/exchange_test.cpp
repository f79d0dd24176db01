#include "movegen/exchange.h"
#include "movegen/generated.h"
#include "position/fen.h"

#include <gtest/gtest.h>

namespace {

TEST(Exchange, ChecksOfRareMoves) {
    struct Case {
        const char* fen;
        const char* move;
        bool checks;
    };
    const Case cases[] = {
        {"5k2/8/8/8/8/8/8/4K2R w K -", "e1g1", true},    {"5k2/8/5p2/8/8/8/8/4K2R w K -", "e1g1", false},
        {"8/8/8/8/8/8/8/k3K2R w K -", "e1g1", true},     {"8/8/8/8/8/8/8/k1N1K2R w K -", "e1g1", false},
        {"8/8/8/8/8/8/8/R3K2k w Q -", "e1c1", true},     {"r3k3/8/8/8/8/8/8/3K4 b q -", "e8c8", true},
        {"8/4P3/8/8/8/8/8/K3k3 w - -", "e7e8q", true},   {"8/4P3/8/3k4/8/8/8/K7 w - -", "e7e8n", false},
        {"8/2k1P3/8/8/8/8/8/K7 w - -", "e7e8n", true},   {"3r4/4P3/8/6k1/8/8/8/K7 w - -", "e7d8q", true},
        {"8/R3P2k/8/8/8/8/8/K7 w - -", "e7e8n", true},   {"8/8/8/kN1pP2R/8/8/8/4K3 w - d6", "e5d6", false},
        {"8/8/8/k2pP2R/8/8/8/4K3 w - d6", "e5d6", true}, {"4k3/8/8/8/4K3/8/4R3/8 w - -", "e4d4", true},
        {"4k3/8/8/8/4K3/8/4R3/8 w - -", "e4e5", false},
    };
    for (const Case& test : cases) {
        SetupFen(test.fen);
        EXPECT_EQ(GivesCheck(MoveFromText(test.move)), test.checks) << test.fen;
    }
}

TEST(Exchange, RaysAndXrays) {
    SetupFen("4k3/8/8/1r2N2q/8/8/8/B3K3 w - -");
    constexpr int E5 = 36, B5 = 33, H5 = 39;
    EXPECT_EQ(RayAttack(E5, 1), Bit(35) | Bit(34) | Bit(B5));
    EXPECT_EQ(AddXray(Bit(0), E5, 1), Bit(0) | Bit(B5));
    EXPECT_EQ(AddXray(0, E5, -1), Bit(H5)) << "either colour, queens on every line";
    EXPECT_EQ(AddXray(0, E5, 9), Bit(A1));
    EXPECT_EQ(AddXray(0, E5, 8), 0u) << "a king is no slider";
    for (const int direction : {0, 2, -6, 10, 16, -9000, 9000}) {
        EXPECT_EQ(RayAttack(E5, direction), 0u) << direction;
        EXPECT_EQ(AddXray(Bit(3), E5, direction), Bit(3)) << direction;
    }
}

}  // namespace
