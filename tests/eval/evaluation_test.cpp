#include "eval/evaluation.h"

#include <cmath>
#include <limits>

#include "eval/evaluation_cache.h"
#include "support/evaluation_fixture.h"

namespace {

constexpr std::int32_t NO_LIMIT = std::numeric_limits<std::int32_t>::max();

class Evaluation : public EvaluationTest {
  protected:
    void SetUp() override {
        EvaluationTest::SetUp();
        SetLazyWindow(-NO_LIMIT, NO_LIMIT);
        ASSERT_TRUE(AllocateEvalHash());
    }
    void TearDown() override {
        EvaluationTest::TearDown();
        SetLazyWindow(-NO_LIMIT, NO_LIMIT);
    }

    static void SetLazyWindow(std::int32_t low, std::int32_t high) {
        LazyLow = low;
        LazyHigh = high;
    }

    /// In positions that are their own mirror the king attacks alone count, and only for the side to move.
    static void SilenceKingAttacks() {
        std::fill_n(DangerCurve, 128, 0);
        std::fill_n(QueenCheckThreat, 7, 0);
    }
};

TEST_F(Evaluation, CacheKeepsWhatItIsToldOfEachSide) {
    SetupFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - ");
    const Key key = EvaluationKey();
    thread_eval_info = {};
    thread_eval_info.side_delta = 70;
    thread_eval_info.attacks[BLACK] = 12345;
    StoreEvaluation(key, 25);
    EXPECT_EQ(ProbeEvaluation(key), 25);
    thread_board.SideToMove = BLACK;
    EXPECT_EQ(ProbeEvaluation(key), NO_EVALUATION);

    // The same key changes only the own slot.
    thread_eval_info.both_sides_valid = 1;
    thread_eval_info.attacks[BLACK] = 0;
    StoreEvaluation(key, -31);
    EXPECT_EQ(ProbeEvaluation(key), -31);
    EXPECT_EQ(thread_eval_info.attacks[BLACK], 12345u);
    thread_board.SideToMove = WHITE;
    EXPECT_EQ(ProbeEvaluation(key), 25);

    // Another key in the slot always overwrites, and gives the other side the rest of the sum.
    const Key rival = key ^ (Key{1} << 40);
    thread_eval_info.side_delta = 70;
    StoreEvaluation(rival, 25);
    EXPECT_EQ(ProbeEvaluation(key), NO_EVALUATION);
    thread_board.SideToMove = BLACK;
    EXPECT_EQ(ProbeEvaluation(rival), 45);

    // Rights to castle are part of the key.
    thread_board.CastlingFlags = 0;
    EXPECT_NE(EvaluationKey(), key);
}

TEST_F(Evaluation, CacheNeverCutsAResult) {
    SetupFen("4k3/8/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/4K3");
    for (const std::int32_t result : {40000, 32768, -32701, -40000}) {
        ClearEvalHash();
        thread_eval_info = {};
        thread_eval_info.both_sides_valid = 1;
        StoreEvaluation(EvaluationKey(), result);
        EXPECT_EQ(ProbeEvaluation(EvaluationKey()), NO_EVALUATION) << result;
    }
    const std::int32_t first = Evaluate();
    EXPECT_EQ(Evaluate(), first);
    FreeEvalHash();
    EXPECT_EQ(Evaluate(), first) << "without a cache";
}

TEST_F(Evaluation, LazyExits) {
    const char* const behind = "4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1";  // White to move, 500 behind
    const char* const far = "4k3/ppp2rn1/P7/8/8/8/5PPP/4K3";
    const char* const near = "4k3/pPp2rn1/P7/8/8/8/5PPP/4K3";
    const char* const ahead = "4k3/6P1/7P/8/8/8/ppp2rn1/4K3 b";
    const struct {
        const char* fen;
        Colour engine;
        int low, high;
        bool taken;
        int score;
    } cases[] = {
        {"4k3/ppp2r2/8/8/8/8/5PPP/4K1N1", WHITE, -199, 500, false, 0},  // Black has five points only
        {behind, WHITE, -499, 500, true, -500},
        {behind, WHITE, -500, 500, false, 0},
        // The window is the engine's: seen from the other side it turns over.
        {behind, BLACK, -500, 499, true, -500},
        {behind, BLACK, -499, 500, false, 0},
        // Pawns of the lagging side one and two steps from promotion.
        {far, WHITE, -660, 900, false, 0},
        {far, WHITE, -649, 900, true, -650},
        {near, WHITE, -450, 900, false, 0},
        {near, WHITE, -399, 900, true, -400},
        // Fewer than two pawns want more than nine points, two of them six.
        {"3qk3/p7/8/8/8/8/8/4K3", WHITE, -500, 500, false, 0},
        {"3qk1n1/p7/8/8/8/8/8/4K3", WHITE, -500, 500, true, -1300},
        {"4kbn1/pp6/8/8/8/8/8/4K3", WHITE, -500, 500, true, -800},
        // Ahead: the side to move must have the force, the enemy's pawns are looked at.
        {"4k3/8/8/8/7P/p7/ppp2rn1/4K3 b", WHITE, -1000, 500, true, 1100},
        {ahead, BLACK, -500, 850, false, 0},
        {ahead, BLACK, -500, 799, true, 800},
        {"4k3/8/7P/8/8/8/ppp2rn1/4K3 b", BLACK, -500, 940, true, 950},
    };
    for (const auto& c : cases) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            SetupFen(seen.fen);
            EngineSide = seen.Of(c.engine);
            SetLazyWindow(c.low, c.high);
            std::int32_t score = 0;
            EXPECT_EQ(LazyExit(score), c.taken) << c.fen << c.low << ' ' << c.high;
            if (c.taken) {
                ClearEvalHash();
                thread_eval_info.attacks[WHITE] = thread_eval_info.attacks[BLACK] = 1;
                EXPECT_EQ(Evaluate(), c.score) << c.fen;
                EXPECT_EQ(thread_eval_info.attacks[WHITE] | thread_eval_info.attacks[BLACK], 0u);
                EXPECT_EQ(ProbeEvaluation(EvaluationKey()), NO_EVALUATION);
            }
        });
    }
}

TEST_F(Evaluation, ScoresFadeFromTheNinthQuietHalfMoveOn) {
    for (const char* fen : {"4k3/ppp5/8/8/8/8/PPP5/R3K3 w", "4k3/ppp5/8/8/8/8/PPP5/R3K3 b"}) {
        const std::int32_t full = FullResultOf(fen);
        ASSERT_GT(std::abs(full), 100);
        const struct { int fifty, factor; } cases[] = {{0, 256}, {8, 256}, {9, 254}, {60, 152}, {100, 72}};
        for (const auto& c : cases) {
            thread_board.FiftyCounter = c.fifty;
            const auto expected = static_cast<std::int32_t>(std::floor(full * c.factor / 256.0));
            EXPECT_EQ(Evaluate(), expected) << c.fifty;  // the first call stores, the others read
        }
    }
}

// Positions with the same material on both sides and a piece-square sum of our choice.
TEST_F(Evaluation, TaperingRoundsDownWhateverTheSigns) {
    SilenceKingAttacks();
    std::fill_n(TempoBonus, 8, 0);
    std::mt19937 random(5);
    std::uniform_int_distribution<int> half(-900, 900);
    for (const char* fen : {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq", "4k3/ppp5/8/8/8/8/PPP5/4K3 b",
                            "2r1kbn1/ppp5/8/8/8/8/PPP5/2R1KBN1 b", "3qk3/ppp5/8/8/8/8/PPP5/3QK3 b"}) {
        SetupFen(fen);
        for (int round = 0; round < 200; ++round) {
            const int opening = half(random);
            const int ending = half(random);
            thread_board.PieceSquareSum = Pack(opening, ending);
            thread_board.SideToMove = BLACK;
            const int result = FullResult();
            const double p = thread_board.current_phase;
            ASSERT_EQ(result, std::floor((opening * (256 - p) + ending * p) / 256)) << opening << ' ' << ending;
            thread_board.SideToMove = WHITE;
            ASSERT_EQ(FullResult(), -result);
        }
    }
}

TEST_F(Evaluation, PieceSquareCreditDependsOnThePawnsOfTheSideBehind) {
    std::fill_n(TempoBonus, 8, 0);
    const struct {
        const char* fen;
        int index;
    } cases[] = {
        {"rnbqk3/pp6/8/8/8/8/P7/1NBQK3 b", 1 + 4 * 2},    // Black ahead: White's pawns are the low digit
        {"1nbqk3/pp6/8/8/8/8/P7/RNBQK3 b", 2 + 4 * 1},    // White ahead
        {"rnbqk3/pp6/8/8/8/8/P7/RNBQK3 b", 1 + 4 * 2},    // a pawn is a lead
        {"rnbqk3/pp6/8/8/8/8/PP6/RNBQK3 b", 2 + 4 * 2},   // level
        {"rnbqk3/8/8/8/8/8/PPP5/2BQK2R b", 3 + 4 * 0},    // three pawns for a knight: the table decides
        {"rnbqk3/ppppp3/8/8/8/8/8/1NBQK3 b", 0 + 4 * 3},  // more than three count as three
    };
    for (const auto& c : cases) {
        std::fill_n(PieceSquareScale, 16, 0);
        SetupFen(c.fen);
        thread_board.PieceSquareSum = Pack(-101, 203);
        const int without = FullResult();
        const int p = thread_board.current_phase;
        for (int i = 0; i < 16; ++i) {
            std::fill_n(PieceSquareScale, 16, 0);
            PieceSquareScale[i] = 100;
            const int credit = ((-101 * 100) >> 8) * (256 - p) + ((203 * 100) >> 8) * p;
            EXPECT_NEAR(FullResult() - without, i == c.index ? credit / 256 : 0, 1) << c.fen << i;
        }
    }
}

TEST_F(Evaluation, TempoFollowsThePhase) {
    SilenceKingAttacks();
    for (int i = 0; i < 8; ++i) {
        TempoBonus[i] = 10 * (i + 1);
    }
    const struct {
        const char* fen;
        int tempo;
    } cases[] = {
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR ", 10},  // phase 0
        {"rnbqkb1r/pppppppp/8/8/8/8/PPPPPPPP/RNBQKB1R ", 10},  // 21
        {"1nbqk3/pppppppp/8/8/8/8/PPPPPPPP/1NBQK3 ", 40},      // 128, the last of the fourth
        {"4k3/ppp5/8/8/8/8/PPP5/4K3 ", 80},                    // 256, a pawn ending
    };
    for (const auto& c : cases) {
        for (const char* side : {"w", "b"}) {
            SetupFen(std::string(c.fen) + side);
            thread_board.PieceSquareSum = 0;
            EXPECT_EQ(FullResult(), c.tempo) << c.fen << thread_board.current_phase;
            EXPECT_EQ(thread_eval_info.side_delta, 2 * c.tempo);
        }
    }
}

TEST_F(Evaluation, OnePawnEachIsDecidedByTheSigmoidAlone) {
    std::fill_n(TempoBonus, 8, 50);
    EXPECT_EQ(FullResultOf("4k3/1p6/8/8/8/8/6P1/4K3"), 0);  // an amplitude of 0 is the default
    PawnDuelAmplitude = 400;
    PawnDuelSlope = 30;
    PassedRankEnd[4] = 64;
    std::fill_n(PassedStateEnd, 16, 64);
    std::fill_n(PassedFileEnd, 4, 64);
    std::fill_n(PassedForceEnd, 13, 64);
    for (const char* fen : {"4k3/1p6/8/8/8/8/6P1/4K3 ", "4k3/8/8/1P4p1/8/8/8/4K3 "}) {
        for (const int sum : {-200, -33, 0, 1, 64, 333}) {
            for (const Colour side : {WHITE, BLACK}) {
                ClearEvalHash();
                SetupFen(fen);
                thread_board.SideToMove = side;
                thread_board.PieceSquareSum = Pack(-77, sum);
                const std::int32_t result = Evaluate();
                // The private scores of passed pawns and the races are part of the lead.
                const ThreadEvalInfo& info = thread_eval_info;
                const int lead = info.end_score[BLACK] - info.end_score[WHITE] + PackedEnding(info.packed);
                const double sigmoid = std::round(400 / (std::exp(-30.0 * std::abs(lead) / 1000) + 1) - 200);
                const auto expected = static_cast<int>(std::floor(sigmoid * lead / 64));
                EXPECT_EQ(result, side == WHITE ? -expected : expected) << fen << sum;
                EXPECT_EQ(info.end_score[BLACK] != 0, fen[6] == '8') << fen;
            }
        }
    }
    // A piece, a second pawn, or pawns of which none is passed take the ordinary road.
    EXPECT_NE(FullResultOf("4k3/6p1/8/8/8/8/6P1/4K3"), 0);
    EXPECT_NE(FullResultOf("4k3/1p6/8/8/8/8/6P1/4K1N1"), 0);
}

TEST_F(Evaluation, ABareKingNeverStandsBetterInAPawnEnding) {
    std::fill_n(TempoBonus, 8, 0);
    for (const int sum : {-5000, 5000}) {
        FromBothSides("4k3/8/8/8/8/8/PPP5/4K3 b", [&](const Seen& seen) {
            SetupFen(seen.fen);
            thread_board.PieceSquareSum = Pack(-seen.For(sum), -seen.For(sum));
            EXPECT_EQ(FullResult(), sum < 0 ? sum - 300 : 0);
        });
    }
}

}  // namespace
