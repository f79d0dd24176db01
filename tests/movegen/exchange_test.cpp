#include "movegen/exchange.h"
#include "movegen/generated.h"
#include "position/fen.h"

#include <gtest/gtest.h>

namespace {

TEST(Exchange, Verdicts) {
    struct Case {
        const char* name;
        const char* fen;
        const char* move;
        bool safe;
    };
    const Case cases[] = {
        {"pawn takes defended pawn", "4k3/8/2p5/3p4/4P3/8/8/4K3 w - -", "e4d5", true},
        {"queen takes defended queen", "3qk3/8/2p5/3q4/8/8/8/3QK3 w - -", "d1d5", true},
        {"rook takes pawn, knight covers", "4k3/8/5n2/3p4/8/8/3R4/3RK3 w - -", "d2d5", false},
        {"rook takes pawn, king covers, second rook behind", "8/8/3k4/3p4/8/8/3R4/3RK3 w - -", "d2d5", true},
        {"rook takes pawn, king covers, nothing behind", "8/8/3k4/3p4/8/8/3R4/4K3 w - -", "d2d5", false},
        {"quiet queen to a pawn's square", "4k3/8/2p5/8/8/8/8/3QK3 w - -", "d1d5", false},
        {"queen promotion under a rook", "r3k3/2P5/8/8/8/8/8/4K3 w - -", "c7c8q", false},
        {"the same with a rook behind", "r3k3/2P5/8/8/8/8/8/2R1K3 w - -", "c7c8q", true},
        {"underpromotion with nothing near", "8/2P5/8/8/8/5k2/8/4K3 w - -", "c7c8r", false},
        {"promotion with nothing near", "8/2P5/8/8/8/5k2/8/4K3 w - -", "c7c8q", true},
        {"capturing promotion takes a rook", "2r1k3/1P6/8/8/8/8/8/4K3 w - -", "b7c8q", true},
        {"quiet bishop, queen attacks", "4k3/8/8/q7/8/8/3B4/4K3 w - -", "d2c3", false},
        {"the same with an own pawn covering", "4k3/8/8/q7/8/8/1P1B4/4K3 w - -", "d2c3", true},
        {"knight takes pawn, own pawn recaptures", "4k3/8/3p4/4p3/3P4/3N4/8/4K3 w - -", "d3e5", false},
        {"knight takes rook-covered pawn, own pawn there", "4r1k1/8/8/4p3/3P4/3N4/8/4K3 w - -", "d3e5", true},
        {"two rooks against two", "4r1k1/4r3/8/4p3/8/4R3/4R3/6K1 w - -", "e3e5", false},
        {"a queen behind both joins", "4r1k1/4r3/8/4p3/8/4R3/4R3/4Q1K1 w - -", "e3e5", true},
        {"a queen behind the mover joins", "6k1/4q3/8/4p3/8/4R3/8/4Q1K1 w - -", "e3e5", true},
        {"king may not capture into a king's reach", "8/8/3k4/4p3/8/4R3/3B4/K3R3 w - -", "e3e5", true},
        {"black's view", "4k3/3b4/p7/Q7/8/8/8/4K3 b - -", "d7b5", true},
        {"black's loss", "4k3/3b4/8/Q7/8/8/8/4K3 b - -", "d7b5", false},
    };
    for (const Case& test : cases) {
        SetupFen(test.fen);
        const Move move = MoveFromText(test.move);
        EXPECT_EQ(
            IsExchangeSafe(MoveTo(move), MoveFrom(move), MovePiece(move), MoveCaptured(move), MovePromotion(move)),
            test.safe)
            << test.name;
    }
}

TEST(Exchange, ThreatsPlayEqualTradesOut) {
    SetupFen("4k3/2p5/3n4/8/8/8/8/3RK3 w - -");
    EXPECT_FALSE(ThreatHolds(43, D1, ROOK, KNIGHT));
    SetupFen("4k3/2p5/3r4/8/8/8/8/3RK3 w - -");
    EXPECT_TRUE(IsExchangeSafe(43, D1, ROOK, ROOK, 0));
    EXPECT_FALSE(ThreatHolds(43, D1, ROOK, ROOK)) << "the pawn recaptures and nothing is won";
    SetupFen("4k3/8/3r4/8/8/8/8/3RK3 w - -");
    EXPECT_TRUE(ThreatHolds(43, D1, ROOK, ROOK));
    EXPECT_TRUE(ThreatHolds(43, D1, ROOK, QUEEN));
}

TEST(Exchange, PinsAndScreens) {
    struct Case {
        const char* name;
        const char* fen;
        const char* move;
        bool pinned;
        bool exposes;
    };
    const Case cases[] = {
        {"file, along the line", "4k3/4q3/8/8/8/4R3/8/4K3 w - -", "e3e5", true, false},
        {"file, off the line", "4k3/4q3/8/8/8/4R3/8/4K3 w - -", "e3a3", true, true},
        {"diagonal, queen", "4k3/8/8/8/7q/8/5B2/4K3 w - -", "f2e3", true, true},
        {"diagonal, toward the queen", "4k3/8/8/8/7q/8/5B2/4K3 w - -", "f2g3", true, false},
        {"a rook on a diagonal pins nothing", "4k3/8/8/8/7r/8/5B2/4K3 w - -", "f2e3", false, false},
        {"a second piece between", "4k3/4q3/4p3/8/8/4R3/8/4K3 w - -", "e3a3", false, false},
        {"knight off a rank", "4k3/8/8/8/8/8/8/r2NK3 w - -", "d1c3", true, true},
        {"an own slider", "4k3/8/8/8/8/8/8/R2NK3 w - -", "d1c3", false, false},
        {"black", "4k3/8/4n3/8/8/8/4Q3/4K3 b - -", "e6d4", true, true},
    };
    for (const Case& test : cases) {
        SetupFen(test.fen);
        const Move move = MoveFromText(test.move);
        EXPECT_EQ(IsPinned(MoveFrom(move)), test.pinned) << test.name;
        EXPECT_EQ(ExposesOwnKing(move), test.exposes) << test.name;
        EXPECT_EQ(IsMoveIllegal(move), test.exposes) << test.name;
    }
}

TEST(Exchange, Checks) {
    struct Case {
        const char* name;
        const char* fen;
        const char* move;
        bool checks;
    };
    const Case cases[] = {
        {"castling, king on the rook's file", "5k2/8/8/8/8/8/8/4K2R w K -", "e1g1", true},
        {"castling, that file closed", "5k2/8/5p2/8/8/8/8/4K2R w K -", "e1g1", false},
        {"castling, along the back rank", "8/8/8/8/8/8/8/k3K2R w K -", "e1g1", true},
        {"castling, back rank closed", "8/8/8/8/8/8/8/k1N1K2R w K -", "e1g1", false},
        {"castling long, back rank", "8/8/8/8/8/8/8/R3K2k w Q -", "e1c1", true},
        {"black castles long", "r3k3/8/8/8/8/8/8/3K4 b q -", "e8c8", true},
        {"queen looks through the pawn's square", "8/4P3/8/8/8/8/8/K3k3 w - -", "e7e8q", true},
        {"knight promotion", "8/4P3/8/3k4/8/8/8/K7 w - -", "e7e8n", false},
        {"knight promotion that checks", "8/2k1P3/8/8/8/8/8/K7 w - -", "e7e8n", true},
        {"capturing promotion back along the diagonal", "3r4/4P3/8/6k1/8/8/8/K7 w - -", "e7d8q", true},
        {"promotion uncovers a rank", "8/R3P2k/8/8/8/8/8/K7 w - -", "e7e8n", true},
        {"en passant, a knight still between", "8/8/8/kN1pP2R/8/8/8/4K3 w - d6", "e5d6", false},
        {"en passant opens the rank", "8/8/8/k2pP2R/8/8/8/4K3 w - d6", "e5d6", true},
        {"king steps off the line", "4k3/8/8/8/4K3/8/4R3/8 w - -", "e4d4", true},
        {"king stays on the line", "4k3/8/8/8/4K3/8/4R3/8 w - -", "e4e5", false},
    };
    for (const Case& test : cases) {
        SetupFen(test.fen);
        EXPECT_EQ(GivesCheck(MoveFromText(test.move)), test.checks) << test.name;
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

/// A target that is not occupied lets the slider stand beyond it.
TEST(Exchange, DiscoveredAttacks) {
    SetupFen("4k3/3q4/8/8/8/3N4/8/3RK3 w - -");
    constexpr int D7 = 51, D5 = 35;
    EXPECT_TRUE(DiscoversAttackOn(MoveFromText("d3f4"), D7));
    EXPECT_TRUE(DiscoversAttackOn(MoveFromText("d3f4"), D5));
    EXPECT_FALSE(DiscoversAttackOn(MoveFromText("d3f4"), E8));
    EXPECT_FALSE(DiscoversCheck(MoveFromText("d3f4")));
}

}  // namespace
