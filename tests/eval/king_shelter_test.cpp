#include "eval/king_shelter.h"

#include <array>

#include "support/evaluation_fixture.h"

namespace {

/// Every number different, so that a wrong one shows; the penalty is the plain weakness.
class KingShelter : public EvaluationTest {
  protected:
    void SetUp() override {
        EvaluationTest::SetUp();
        std::fill_n(KingSquareShelter, 64, 0);
        CastleFileWeight = 16;
        CastleWingWeight = 0;
        std::ranges::copy(std::to_array({9, 13, 21}), FileOpen);
        std::ranges::copy(std::to_array({5, 10, 17}), FileHalfOpen);
        std::ranges::copy(std::to_array({4, 14}), CentreFileOpen);
        std::ranges::copy(std::to_array({6, 20}), CentreFileHalfOpen);
        FianchettoHole = 32;
        std::fill_n(&ShelterScale[0][0][0], 30, 256);
    }

    /// The penalty of White's king, or of Black's in the mirror; wings as the pawn structure would have it.
    static int Penalty(const Seen& seen, int kings_wing, int queens_wing) {
        SetupFen(seen.fen);
        const Colour us = seen.Of(WHITE);
        auto& wings = thread_board.PawnEntry.WingShelter;
        std::fill_n(&wings[0][0], 4, std::uint8_t{200});
        wings[us][0] = static_cast<std::uint8_t>(kings_wing);
        wings[us][1] = static_cast<std::uint8_t>(queens_wing);
        EvaluateKingShelter(us);
        return thread_eval_info.shelter_penalty[us];
    }

    static void ExpectPenalty(const std::string& fen, int kings_wing, int queens_wing, int penalty) {
        FromBothSides(
            fen, [&](const Seen& seen) { EXPECT_EQ(Penalty(seen, kings_wing, queens_wing), penalty) << seen.fen; });
    }

    /// Positions, the king's and the queen's wing, the penalty.
    static void ExpectPenalties(const std::string& text) {
        for (const TextCase& c : TextCases(text)) {
            ExpectPenalty(c.fen, c.Number(0), c.Number(1), c.Number(2));
        }
    }
};

TEST_F(KingShelter, EveryConditionOfAKing) {
    // With a right to castle: files d, e, f.
    ExpectPenalties(
        "4k3/3ppp2/8/8/8/8/3PPP2/R2QK2R w KQ 0 0 0; 4k3/3ppp2/8/8/8/5P2/3PP3/R2QK2R w KQ 0 0 1; "
        "4k3/3ppp2/8/8/5P2/8/3PP3/R2QK2R w KQ 0 0 2; 4k3/3ppp2/5P2/8/8/8/3PPP2/R2QK2R w KQ 0 0 0; "
        "4k3/4pp2/8/8/8/8/4PP2/R2QK2R w K 0 0 9; 4k3/3ppp2/8/8/8/8/3P1P2/R2QK2R w Q 0 0 10; "
        "4k3/3p1p2/8/8/8/8/8/R2QK2R w KQ 0 0 35");
    // Without one: the king's own wing.
    ExpectPenalties("4k3/8/8/8/8/8/8/R2Q2KR 7 40 7; 4k3/8/8/8/8/8/8/RK1Q3R 7 40 40; 4k3/8/8/8/8/8/8/R1KQ3R 7 40 40");
    // The fianchetto's hole: own pawn gone, a pawn or bishop in it, an enemy queen.
    ExpectPenalties(
        "3qk3/8/8/8/8/5p2/8/6K1 1 2 33; 3qk3/8/8/8/8/5n2/8/6K1 1 2 1; 3rk3/8/8/8/8/5p2/8/6K1 1 2 1; "
        "3qk3/8/8/8/8/5p2/6P1/6K1 1 2 1; 3qk3/8/8/8/8/2p5/8/6K1 1 2 1; 3qk3/8/8/8/8/2p5/8/1K6 1 2 34; "
        "3qk3/8/8/8/8/2b5/6P1/1K6 1 2 34");
    // A king on d or e: three files, edge, middle, edge, and 1 more once.
    ExpectPenalties(
        "4k3/2pppp2/8/8/8/8/2PPPP2/4K3 3 8 4; 4k3/2pppp2/8/8/8/8/2PPPP2/3K4 3 8 9; "
        "4k3/2pp1p2/8/8/8/8/2PP1P2/3K4 3 8 13; 4k3/2pp1p2/8/8/8/8/2PP1P2/4K3 3 8 18; "
        "4k3/2pppp2/8/8/8/8/2PP1P2/4K3 3 8 24; 4k3/2pppp2/8/8/8/8/3PPP2/3K4 3 8 15; "
        "4k3/2pppp2/8/8/8/8/3PPP2/4K3 3 8 4; 4k3/3ppp2/8/8/4P3/5P2/3P4/4K3 3 8 7; 4k3/8/8/8/8/8/3K4/8 3 8 31");
}

// Below nothing the colours part: Black's better wing is raised to 0, White's is not.
TEST_F(KingShelter, ACastlersBetterWing) {
    CastleShelterBase = -32;
    CastleShelterBias = 40;
    CastleFileWeight = 5;
    CastleWingWeight = 10;
    FromBothSides("4k3/3ppp2/8/8/8/8/3PPP2/R2QK2R w KQ",
                  [&](const Seen& seen) { EXPECT_EQ(Penalty(seen, 5, 5), seen.mirrored ? -10 + 40 : -30 + 40); });
}

TEST_F(KingShelter, ThePenaltyStaysInItsTable) {
    ExpectPenalty("4k3/8/8/8/8/8/8/7K", 200, 0, 63);
    KingSquareShelter[H1] = -100;
    ExpectPenalty("4k3/8/8/8/8/8/8/7K", 20, 0, 0);
}

}  // namespace
