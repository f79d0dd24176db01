#include "eval/king_shelter.h"

#include <array>
#include <numeric>

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
        for (int i = 0; i < 64; ++i) {
            ShelterPenalty[i] = 100 * i;
        }
        AggressivityRate = 100;
        CowardiceRate = 100;
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

TEST_F(KingShelter, ACastlerTakesTheBetterWingThatIsOpenToIt) {
    CastleShelterBase = 24;
    CastleShelterBias = 3;
    CastleFileWeight = 5;
    CastleWingWeight = 10;
    const std::string board = "4k3/3ppp2/8/8/8/8/3PPP2/R2QK2R w ";
    const struct {
        const char* rights;
        int kings_wing, queens_wing, best;
    } cases[] = {{"KQ", 10, 6, 6},   {"KQ", 6, 10, 6}, {"K", 10, 6, 10}, {"Q", 6, 10, 10},
                 {"KQ", 40, 50, 24}, {"K", 30, 0, 24}, {"Q", 0, 30, 24}};
    for (const auto& c : cases) {
        ExpectPenalty(board + c.rights, c.kings_wing, c.queens_wing, ((24 * 5 + c.best * 10) >> 4) + 3);
    }
    // Below nothing the colours part: Black's better wing is raised to 0, White's is not.
    CastleShelterBase = -32;
    CastleShelterBias = 40;
    FromBothSides(board + "KQ",
                  [&](const Seen& seen) { EXPECT_EQ(Penalty(seen, 5, 5), seen.mirrored ? -10 + 40 : -30 + 40); });
}

TEST_F(KingShelter, TheKingsSquareCountsFromItsOwnSide) {
    std::iota(KingSquareShelter, KingSquareShelter + 64, 0);
    ExpectPenalty("4k3/8/8/8/8/8/8/6K1", 0, 0, G1);
    ExpectPenalty("4k3/8/8/8/8/1K6/8/8", 0, 0, SquareOf("b3"));
}

TEST_F(KingShelter, TheEnemysPiecesScaleAndThePenaltyStaysInItsTable) {
    for (int i = 0; i < 30; ++i) {
        ShelterScale[i / 15][i / 5 % 3][i % 5] = 256 + 64 * (i / 15) + 100 * (i / 5 % 3) + 30 * (i % 5);
    }
    const struct {
        const char* fen;
        int scale;
    } cases[] = {{"4k3/8/8/8/8/8/8/QRRNNBBK", 256},  // the own army says nothing
                 {"4k1q1/8/8/8/8/8/8/7K", 320},     {"4kqqq/8/8/8/8/8/8/7K", 320}, {"rr2k3/8/8/8/8/8/8/7K", 456},
                 {"rrr1k3/8/8/8/8/8/8/7K", 456},    {"n3kb2/8/8/8/8/8/8/7K", 316}, {"nnn1kbb1/8/8/8/8/8/8/7K", 376},
                 {"q1r1kb2/8/8/8/8/8/8/7K", 450}};
    for (const auto& c : cases) {
        ExpectPenalty(c.fen, 21, 0, 21 * c.scale / 256);
    }
    ExpectPenalty("4k3/8/8/8/8/8/8/7K", 200, 0, 63);
    KingSquareShelter[H1] = -100;
    ExpectPenalty("4k3/8/8/8/8/8/8/7K", 20, 0, 0);
}

TEST_F(KingShelter, StyleWeighsTheOwnKingAgainstTheEnemys) {
    QueenLeftHome = 17;
    ShelterPenalty[9] = 33;
    FileOpen[1] = 9;
    const struct {
        const char* fen;
        int queen;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/6K1", 0},  // a king without rights has no queen's place
        {"4k3/3p1p2/8/8/8/8/3P1P2/R2QK2R w K", 0},
        {"4k3/3p1p2/8/8/8/8/3P1P2/R3K2R w K", -17},
        {"4k3/3p1p2/8/8/8/8/3P1PQ1/R3K2R w Q", -17},
        {"3qk3/3p1p2/8/8/8/8/3P1P2/R3K2R w KQ", -17},
    };
    for (const auto& c : cases) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            for (const Colour engine : {WHITE, BLACK}) {
                AggressivityRate = 150;
                CowardiceRate = 50;
                EngineSide = engine;
                ASSERT_EQ(Penalty(seen, 9, 9), 9) << seen.fen;
                // 33 * 1.5 and 33 * 0.5, the division cutting toward zero.
                const Colour us = seen.Of(WHITE);
                EXPECT_EQ(EvaluateKingShelter(us), c.queen - (us == engine ? 16 : 49)) << seen.fen;
                (us == engine ? CowardiceRate : AggressivityRate) = 0;
                EXPECT_EQ(EvaluateKingShelter(us), c.queen);
            }
        });
    }
}

TEST_F(KingShelter, TheShelterOfAThreatenedKingPaysTheEnemy) {
    SetupFen("6k1/8/8/8/8/8/8/6K1");
    thread_board.PawnEntry.WingShelter[WHITE][0] = 10;
    thread_board.PawnEntry.WingShelter[BLACK][0] = 11;
    for (const bool white_safe : {false, true}) {
        for (const bool black_safe : {false, true}) {
            thread_eval_info = {};
            thread_eval_info.ending[WHITE] = white_safe;
            thread_eval_info.ending[BLACK] = black_safe;
            thread_eval_info.shelter_penalty[WHITE] = thread_eval_info.shelter_penalty[BLACK] = 63;
            thread_eval_info.open_score[WHITE] = 5;
            thread_eval_info.open_score[BLACK] = 6;
            AddKingShelters();
            EXPECT_EQ(thread_eval_info.shelter_penalty[WHITE], white_safe ? 0 : 10);
            EXPECT_EQ(thread_eval_info.shelter_penalty[BLACK], black_safe ? 0 : 11);
            EXPECT_EQ(thread_eval_info.open_score[WHITE], black_safe ? 5 : 5 + 1100);
            EXPECT_EQ(thread_eval_info.open_score[BLACK], white_safe ? 6 : 6 + 1000);
        }
    }
}

}  // namespace
