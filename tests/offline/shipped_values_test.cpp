// Whether the shipped parameters say of plain positions what every player would: signs, sides and rough sizes.
#include "support/evaluation_tables.h"
#include "support/random_positions.h"

#include <algorithm>
#include <filesystem>

namespace {

class ShippedValues : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        ResetEvaluation();
        const std::filesystem::path home = std::filesystem::current_path();
        std::filesystem::current_path(QUORVANTH_DATA);
        testing::internal::CaptureStdout();
        InitEvaluation();
        printed_ = testing::internal::GetCapturedStdout();
        std::filesystem::current_path(home);
    }
    static void TearDownTestSuite() { ResetEvaluation(); }

    /// For White, whoever is to move.
    static std::int32_t ScoreOf(const std::string& fen) {
        SetupFen(fen);
        EngineSide = WHITE;
        std::int32_t result = NO_EVALUATION;
        EvaluateFull(result);
        return thread_board.SideToMove == WHITE ? result : -result;
    }

    inline static std::string printed_;
};

TEST_F(ShippedValues, LoadWithoutComplaint) {
    EXPECT_EQ(printed_, "");
    EXPECT_NE(KnightMobility[8], 0);
}

/// Two positions, and how much the first is better for White at the least and at the most.
struct Pair {
    const char* what;
    const char* better;
    const char* worse;
    int low, high;
};

constexpr Pair Pairs[] = {
    {"a knight outpost held by a pawn, and a knight that a pawn can chase",
     "r2q1rk1/pp3ppp/3p4/3Np3/4P3/8/PP3PPP/R2Q1RK1 w - - ", "r2q1rk1/p1p2ppp/3p4/3Np3/4P3/8/PP3PPP/R2Q1RK1 w - - ", 12,
     90},
    {"a bishop with room and one shut in", "4k3/pp3pp1/8/3B3p/8/8/PP3PPP/4K3 w - - ",
     "4k3/Bp3pp1/1p5p/8/8/8/PP3PPP/4K3 w - - ", 25, 250},
    {"a castled king and one that has lost the right",
     "r1bq1rk1/pppp1ppp/2n2n2/2b1p3/2B1P3/2N2N2/PPPP1PPP/R1BQ1RK1 w - - ",
     "r1bq1rk1/pppp1ppp/2n2n2/2b1p3/2B1P3/2N2N2/PPPP1PPP/R1BQK2R w - - ", 20, 120},
    {"an enemy pawn at home and storming", "r2q1rk1/ppp2ppp/2np4/8/8/2NP4/PPP2PPP/R2Q1RK1 w - - ",
     "r2q1rk1/ppp3pp/2np4/8/8/2NP1p2/PPP2PPP/R2Q1RK1 w - - ", 8, 120},
    {"queen and knight before the enemy king and at home", "r4rk1/ppp2ppp/3q4/6NQ/8/8/PPP2PPP/R4RK1 w - - ",
     "r4rk1/ppp2ppp/3q4/8/8/1N6/PPP2PPP/RQ3RK1 w - - ", 15, 200},
    {"a far passed pawn and one at home", "4r1k1/5ppp/3P4/8/8/8/5PPP/4R1K1 w - - ",
     "4r1k1/5ppp/8/8/8/3P4/5PPP/4R1K1 w - - ", 25, 200},
    {"the own king leading the pawn and the enemy king before it", "8/1K3pkp/8/2P4r/8/8/5P1P/7R w - - ",
     "8/5p1p/2k5/2P4r/8/8/5PKP/7R w - - ", 25, 300},
    {"an unstoppable pawn and one within reach", "8/5ppk/8/P7/8/8/5PPK/8 w - - ", "8/2k2pp1/8/P7/8/8/5PPK/8 w - - ",
     250, 1000},
    {"a healthy pawn and an isolated one", "r4rk1/pp3ppp/3p4/8/8/3P4/PPP2PPP/R4RK1 w - - ",
     "r4rk1/pp3ppp/3p4/8/8/3P4/PP1P1PPP/R4RK1 w - - ", 12, 90},
    {"two pawns side by side and doubled", "r4rk1/ppp2ppp/8/8/8/8/PPP2PPP/R4RK1 w - - ",
     "r4rk1/ppp2ppp/8/8/8/2P5/P1P2PPP/R4RK1 w - - ", 12, 90},
    {"a rook on an open file and behind its pawn", "r4rk1/ppp2ppp/8/8/8/8/PPP2PPP/R3R1K1 w - - ",
     "r4rk1/ppp2ppp/8/8/8/8/PPP2PPP/RR4K1 w - - ", 20, 100},
    {"a bishop off the colour of its pawns and on it", "r4rk1/pp1n1ppp/3p4/3Pp3/4P3/1P2BP1P/P5P1/R4RK1 w - - ",
     "r4rk1/pp1n1ppp/3p4/3Pp3/4P3/1P1B1P1P/P5P1/R4RK1 w - - ", 8, 90},
    {"a pawn up with bishops of one colour and of both", "8/2b2k2/6p1/5p2/1P3P2/6P1/3B1K2/8 w - - ",
     "8/3b1k2/6p1/5p2/1P3P2/6P1/3B1K2/8 w - - ", 20, 150},
    {"the defending king away from a rook pawn and before it", "8/8/1k6/8/7P/6K1/8/r3R3 w - - ",
     "8/7k/8/8/7P/6K1/8/r3R3 w - - ", 40, 300},
};

TEST_F(ShippedValues, TheBetterPositionScoresHigher) {
    for (const Pair& pair : Pairs) {
        const std::int32_t gain = ScoreOf(pair.better) - ScoreOf(pair.worse);
        EXPECT_GE(gain, pair.low) << pair.what;
        EXPECT_LE(gain, pair.high) << pair.what;
        // Shifts round down on either side.
        EXPECT_NEAR(ScoreOf(ColourMirror(pair.worse)) - ScoreOf(ColourMirror(pair.better)), gain, 8) << pair.what;
    }
}

/// Learned tables go up and down from one entry to the next, but chess says where they lead in the end.
TEST_F(ShippedValues, TablesEndHigherWhereMoreIsBetter) {
    const auto rise = [](const auto&... tables) {
        const bool higher[] = {(*std::rbegin(tables) > *std::begin(tables))...};
        EXPECT_EQ(std::ranges::find(higher, false) - higher, sizeof...(tables));
    };
    rise(KnightSafeMobilityOpen, KnightSafeMobilityEnd, BishopSafeMobilityOpen, BishopSafeMobilityEnd, RookMobilityOpen,
         RookMobilityEnd, QueenMobilityOpen, QueenMobilityEnd, QueenSafeMobilityOpen, QueenSafeMobilityEnd,
         BishopSameColourPawnsOpen, BishopFixedPawnsEnd, PassedSpanBonusEnd, PassedForceOpen, PassedForceEnd,
         DangerCurve, ShelterFactor, ShelterPenalty, QueenShelterOpen, DevelopmentFactor);
    for (int rank = 3; rank < 7; ++rank) {
        EXPECT_LT(PassedRankOpen[rank - 1], PassedRankOpen[rank]);
        EXPECT_LT(PassedRankEnd[rank - 1], PassedRankEnd[rank]);
    }
}

}  // namespace
