#include "eval/king_attack.h"

#include "support/evaluation_fixture.h"

namespace {

class KingAttackTest : public EvaluationTest {};

// One square of the zone at a time, its index worked out by hand.
TEST_F(KingAttackTest, ZoneSquares) {
    // White's king is attacked: the square, whether it is defended, whether it is attacked or even safely hit, the
    // index.
    const std::string text =
        "4k3/8/8/8/8/8/5PPP/5RK1 f2 yes no 172; 4k3/8/8/8/8/8/5PPP/5RK1 f1 no attacked 112; "
        "4k3/8/8/8/8/8/5PPP/5RK1 h1 no no 128; 4k3/8/8/8/8/5b2/5PP1/5RKn h1 yes no 156; "
        "4k3/8/8/8/8/8/5p2/6K1 f2 no safely 312; 4k3/8/8/8/8/8/8/1K6 c1 no no 224; "
        "4k3/8/8/8/8/8/8/4K3 f1 no safely 257; 4k3/8/8/8/8/8/8/3K4 c1 yes safely 261; "
        "4k3/8/8/8/8/8/5N2/4K3 f2 no no 177; 4k3/8/8/8/8/8/1K6/8 c2 no attacked 98; "
        "4k3/8/8/8/8/8/PK6/8 a2 yes attacked 14; 4k3/8/8/8/8/q7/1K6/8 a3 no attacked 58; "
        "4k3/8/8/8/8/8/1K6/2B5 c1 yes safely 342; 4k3/8/8/8/8/1K6/8/8 c3 no no 227; "
        "4k3/8/8/8/5K2/8/8/8 e4 no no 227; 4k3/8/8/8/5K2/8/8/8 g4 no no 131; 4k3/8/8/5P2/5K2/8/8/8 f5 no safely 299";
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            SetupFen(seen.fen);
            const Colour us = seen.Of(BLACK);
            const Colour them = seen.Of(WHITE);
            const Bitboard square = seen.Of(Bit(SquareOf(c.words[0].c_str())));
            ThreadEvalInfo& info = thread_eval_info;
            info = {};
            info.ending[us] = 1;
            info.king_zone[them] = square;
            info.attacks[them] = c.words[1] == "yes" ? square : 0;
            info.attacks[us] = c.words[2] != "no" ? square : 0;
            info.safe_zone_hits[them] = c.words[2] == "safely" ? square : 0;
            std::fill_n(KingZoneValue, 384, 0);
            KingZoneValue[c.Number(3)] = 10;
            EvaluateKingAttacks();
            EXPECT_EQ(info.danger[us], 10) << seen.fen << c.words[3];
        });
    }
}

TEST_F(KingAttackTest, DevelopmentByHomeSquares) {
    for (int i = 0; i < 64; ++i) {
        DevelopmentClass[i] = i;
    }
    // White's and Black's pattern. The men of the last are at home for the enemy only.
    const std::string text =
        "rnbqkbnr/8/8/8/8/8/8/RNBQKBNR 63 63; 3k4/8/8/8/8/8/8/2K5 1 1; 6k1/8/8/8/8/8/8/1K6 0 0; "
        "8/2k1q3/8/8/8/8/4Q3/5K2 1 0; 3q2k1/8/8/8/8/8/8/3R2K1 0 2; 1n4k1/8/8/8/8/8/8/5KN1 9 4; "
        "2b3k1/8/8/8/8/8/8/5BK1 32 16; 1NBQ1BN1/4K3/8/8/8/8/4k3/1nbq1bn1 0 0";
    for (const TextCase& c : TextCases(text)) {
        SetupFen(c.fen);
        EXPECT_EQ(DevelopmentClassOf<WHITE>(), c.Number(0)) << c.fen;
        EXPECT_EQ(DevelopmentClassOf<BLACK>(), c.Number(1)) << c.fen;
    }
}

}  // namespace
