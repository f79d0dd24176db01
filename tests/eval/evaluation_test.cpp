#include "eval/evaluation.h"

#include "eval/evaluation_cache.h"
#include "eval/packed.h"
#include "support/evaluation_tables.h"
#include "support/random_positions.h"

#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr std::int32_t NO_LIMIT = std::numeric_limits<std::int32_t>::max();

std::int32_t FullResult() {
    std::int32_t result = NO_EVALUATION;
    EvaluateFull(result);
    return result;
}

std::int32_t FullResultOf(const std::string& fen) {
    SetupFen(fen);
    return FullResult();
}

class Evaluation : public testing::Test {
  protected:
    void SetUp() override {
        ResetEvaluation();
        SetLazyWindow(-NO_LIMIT, NO_LIMIT);
        EngineSide = WHITE;
        ASSERT_TRUE(AllocateEvalHash());
    }
    void TearDown() override {
        FreeEvalHash();
        EvalHashSize = cache_size_;
        SetLazyWindow(-NO_LIMIT, NO_LIMIT);
    }
    static void TearDownTestSuite() { ResetEvaluation(); }

    static void SetLazyWindow(std::int32_t low, std::int32_t high) {
        LazyLow = low;
        LazyHigh = high;
    }

    /// In positions that are their own mirror the king attacks alone count, and only for the side to move.
    static void SilenceKingAttacks() {
        std::fill_n(DangerCurve, 128, 0);
        std::fill_n(QueenCheckThreat, 7, 0);
    }

  private:
    const std::int64_t cache_size_ = EvalHashSize;
};

TEST_F(Evaluation, ColourMirrorEvaluatesAlike) {
    for (int i = 0; i < 16; ++i) {
        PieceSquareScale[i] = 100 + 17 * i;
    }
    for (int i = 0; i < 8; ++i) {
        TempoBonus[i] = 5 + 3 * i;
    }
    PawnDuelAmplitude = 300;
    PawnDuelSlope = 20;
    for (const std::string& fen : RandomPositions(11, 6, 160)) {
        for (const Colour engine : {WHITE, BLACK}) {
            EngineSide = engine;
            const std::int32_t result = FullResultOf(fen);
            EngineSide = ChangeSide(engine);
            // Shifts round down on either side: once in each of the two piece-square halves, in the pattern term
            // and in the tapering.
            ASSERT_NEAR(FullResultOf(ColourMirror(fen)), result, 4) << fen;
        }
    }
}

TEST_F(Evaluation, CacheAnswersLikeAFreshEvaluation) {
    EvalHashSize = 1;  // quickly cleared
    ASSERT_TRUE(AllocateEvalHash());
    for (const std::string& fen : RandomPositions(12, 4, 120)) {
        ClearEvalHash();
        SetupFen(fen);
        const std::int32_t fresh = FullResult();
        const bool derivable = thread_eval_info.both_sides_valid != 0;
        ASSERT_EQ(Evaluate(), fresh) << fen;
        const std::int32_t material = thread_eval_info.material_score;
        thread_eval_info = {};
        ASSERT_EQ(Evaluate(), fresh) << fen;
        ASSERT_EQ(thread_eval_info.material_score, material) << fen;
        ASSERT_EQ(thread_eval_info.packed, 0) << "evaluated again instead of read: " << fen;
        thread_board.SideToMove = ChangeSide(thread_board.SideToMove);
        ASSERT_EQ(ProbeEvaluation(EvaluationKey()) != NO_EVALUATION, derivable) << "other side: " << fen;
    }
}

TEST_F(Evaluation, CacheKeepsWhatItIsToldOfEachSide) {
    SetupFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - ");
    const Key key = EvaluationKey();
    thread_eval_info = {};
    thread_eval_info.side_delta = 70;
    thread_eval_info.attacks[BLACK] = 12345;
    thread_eval_info.both_sides_valid = 0;
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
    std::string queens = "4k3/8/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/4K3 w - - ";
    for (const std::int32_t result : {40000, 32768, -32701, -40000}) {
        SetupFen(queens);
        ClearEvalHash();
        thread_eval_info = {};
        thread_eval_info.both_sides_valid = 1;
        StoreEvaluation(EvaluationKey(), result);
        EXPECT_EQ(ProbeEvaluation(EvaluationKey()), NO_EVALUATION) << result;
    }
    const std::int32_t first = Evaluate();
    EXPECT_EQ(Evaluate(), first);
    EXPECT_EQ(FullResult(), first);
}

TEST_F(Evaluation, WithoutACacheItEvaluatesAllTheSame) {
    SetupFen("4k3/8/8/8/8/8/PPP5/4K2R w - - ");
    const std::int32_t result = Evaluate();
    FreeEvalHash();
    EXPECT_EQ(Evaluate(), result);
    ClearEvalHash();
}

TEST_F(Evaluation, LazyExits) {
    struct Case {
        const char* fen;
        Colour engine;
        int low, high;
        bool taken;
        int score;
    };
    const char* const down = "4k3/ppp2r2/8/8/8/8/5PPP/4K1N1 w - - ";  // White to move, 200 behind
    const Case cases[] = {
        {down, WHITE, -199, 500, false, 0},  // Black has five points only
        {"4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1 w - - ", WHITE, -499, 500, true, -500},
        {"4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1 w - - ", WHITE, -500, 500, false, 0},
        // The window is the engine's: seen from the other side it turns over.
        {"4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1 w - - ", BLACK, -500, 499, true, -500},
        {"4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1 w - - ", BLACK, -499, 500, false, 0},
        // Pawns of the lagging side one and two steps from promotion.
        {"4k3/ppp2rn1/P7/8/8/8/5PPP/4K3 w - - ", WHITE, -660, 900, false, 0},
        {"4k3/ppp2rn1/P7/8/8/8/5PPP/4K3 w - - ", WHITE, -649, 900, true, -650},
        {"4k3/pPp2rn1/P7/8/8/8/5PPP/4K3 w - - ", WHITE, -450, 900, false, 0},
        {"4k3/pPp2rn1/P7/8/8/8/5PPP/4K3 w - - ", WHITE, -399, 900, true, -400},
        // Fewer than two pawns want more than nine points.
        {"3qk3/p7/8/8/8/8/8/4K3 w - - ", WHITE, -500, 500, false, 0},
        {"3qk1n1/p7/8/8/8/8/8/4K3 w - - ", WHITE, -500, 500, true, -1300},
        // Ahead: the side to move must have the force, the enemy's pawns are looked at.
        {"4k3/8/8/8/8/8/ppp2rn1/4K3 b - - ", WHITE, -500, 500, true, 1100},
        {"4k3/8/8/8/7P/p7/ppp2rn1/4K3 b - - ", WHITE, -1000, 500, true, 1100},
        {"4k3/6P1/7P/8/8/8/ppp2rn1/4K3 b - - ", BLACK, -500, 850, false, 0},
        {"4k3/6P1/7P/8/8/8/ppp2rn1/4K3 b - - ", BLACK, -500, 799, true, 800},
        {"4k3/8/7P/8/8/8/ppp2rn1/4K3 b - - ", BLACK, -500, 940, true, 950},
        {"4k3/8/8/8/8/8/4R3/4K3 w - - ", WHITE, -100, 100, false, 0},
    };
    for (const Case& c : cases) {
        SetupFen(c.fen);
        EngineSide = c.engine;
        SetLazyWindow(c.low, c.high);
        std::int32_t score = 0;
        EXPECT_EQ(LazyExit(score), c.taken) << c.fen << c.low << ' ' << c.high;
        if (c.taken) {
            EXPECT_EQ(score, c.score) << c.fen << c.low << ' ' << c.high;
            ClearEvalHash();
            thread_eval_info.attacks[WHITE] = thread_eval_info.attacks[BLACK] = 1;
            EXPECT_EQ(Evaluate(), c.score);
            EXPECT_EQ(thread_eval_info.attacks[WHITE] | thread_eval_info.attacks[BLACK], 0u);
            EXPECT_EQ(ProbeEvaluation(EvaluationKey()), NO_EVALUATION);
        }
    }
}

TEST_F(Evaluation, ScoresFadeFromTheNinthQuietHalfMoveOn) {
    ASSERT_GT(FullResultOf("4k3/ppp5/8/8/8/8/PPP5/R3K3 w - - "), 100);
    for (const char* fen : {"4k3/ppp5/8/8/8/8/PPP5/R3K3 w - - ", "4k3/ppp5/8/8/8/8/PPP5/R3K3 b - - "}) {
        const std::int32_t full = FullResultOf(fen);
        const struct { int fifty, factor; } cases[] = {{0, 256}, {8, 256}, {9, 254}, {60, 152}, {100, 72}};
        for (const auto& c : cases) {
            thread_board.FiftyCounter = c.fifty;
            const auto expected = static_cast<std::int32_t>(std::floor(full * c.factor / 256.0));
            EXPECT_EQ(Evaluate(), expected) << c.fifty;  // the first call stores, the others read
        }
    }
}

// A position with the same material on both sides and a piece-square sum of our choice.
TEST_F(Evaluation, TaperingRoundsDownWhateverTheSigns) {
    SilenceKingAttacks();
    std::fill_n(TempoBonus, 8, 0);
    const char* const positions[] = {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR b KQkq - ",
                                     "2r1kbn1/ppp5/8/8/8/8/PPP5/2R1KBN1 b - - ", "3qk3/ppp5/8/8/8/8/PPP5/3QK3 b - - ",
                                     "4k3/ppp5/8/8/8/8/PPP5/4K3 b - - "};
    std::mt19937 random(5);
    std::uniform_int_distribution<int> half(-900, 900);
    for (const char* fen : positions) {
        SetupFen(fen);
        for (int round = 0; round < 200; ++round) {
            const int opening = half(random);
            const int ending = half(random);
            thread_board.PieceSquareSum = Pack(opening, ending);
            const int result = FullResult();
            const double p = thread_board.current_phase;
            ASSERT_EQ(result, std::floor((opening * (256 - p) + ending * p) / 256)) << opening << ' ' << ending;
            thread_board.SideToMove = WHITE;
            ASSERT_EQ(FullResult(), -result);
            thread_board.SideToMove = BLACK;
        }
    }
}

TEST_F(Evaluation, PieceSquareCreditDependsOnThePawnsOfTheSideBehind) {
    std::fill_n(TempoBonus, 8, 0);
    const struct {
        const char* fen;
        int index;
    } cases[] = {
        {"rnbqk3/pp6/8/8/8/8/P7/1NBQK3 b - - ", 1 + 4 * 2},    // Black ahead: White's pawns are the low digit
        {"1nbqk3/pp6/8/8/8/8/P7/RNBQK3 b - - ", 2 + 4 * 1},    // White ahead
        {"rnbqk3/pp6/8/8/8/8/PP6/RNBQK3 b - - ", 2 + 4 * 2},   // level
        {"rnbqk3/8/8/8/8/8/PPP5/2BQK2R b - - ", 3 + 4 * 0},    // three pawns for a knight: the table decides
        {"rnbqk3/ppppp3/8/8/8/8/8/1NBQK3 b - - ", 0 + 4 * 3},  // more than three count as three
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
        for (const char* side : {"w - - ", "b - - "}) {
            SetupFen(std::string(c.fen) + side);
            thread_board.PieceSquareSum = 0;
            EXPECT_EQ(FullResult(), c.tempo) << c.fen << thread_board.current_phase;
            EXPECT_EQ(thread_eval_info.side_delta, 2 * c.tempo);
        }
    }
}

TEST_F(Evaluation, OnePawnEachIsDecidedByTheSigmoidAlone) {
    std::fill_n(TempoBonus, 8, 50);
    EXPECT_EQ(FullResultOf("4k3/1p6/8/8/8/8/6P1/4K3 w - - "), 0);  // an amplitude of 0 is the default
    PawnDuelAmplitude = 400;
    PawnDuelSlope = 30;
    for (const int lead : {-200, -33, 0, 1, 64, 333}) {
        SetupFen("4k3/1p6/8/8/8/8/6P1/4K3 b - - ");
        thread_board.PieceSquareSum = Pack(-77, lead);
        const double sigmoid = 400 / (std::exp(-30.0 * std::abs(lead) / 1000) + 1) - 200;
        const auto expected = static_cast<int>(std::floor(std::round(sigmoid) * lead / 64));
        EXPECT_EQ(Evaluate(), expected) << lead;
        thread_board.SideToMove = WHITE;
        EXPECT_EQ(Evaluate(), -expected) << lead;
        EXPECT_EQ(FullResult(), -expected) << lead;
        ClearEvalHash();
    }
    // A piece, a second pawn, or pawns of which none is passed take the ordinary road.
    EXPECT_NE(FullResultOf("4k3/6p1/8/8/8/8/6P1/4K3 w - - "), 0);
    EXPECT_NE(FullResultOf("4k3/1p6/8/8/8/8/6P1/4K1N1 w - - "), 0);
}

TEST_F(Evaluation, ABareKingNeverStandsBetterInAPawnEnding) {
    std::fill_n(TempoBonus, 8, 0);
    for (const int sum : {-5000, 5000}) {
        SetupFen("4k3/8/8/8/8/8/PPP5/4K3 b - - ");
        thread_board.PieceSquareSum = Pack(sum, sum);
        EXPECT_EQ(FullResult(), sum < 0 ? sum - 300 : 0);
        SetupFen("4k3/ppp5/8/8/8/8/8/4K3 b - - ");
        thread_board.PieceSquareSum = Pack(sum, sum);
        EXPECT_EQ(FullResult(), sum < 0 ? 0 : sum + 300);
    }
}

TEST_F(Evaluation, AnswersForEverythingThatCanStandOnABoard) {
    for (const char* fen : {"", "8/8/8/8/8/8/8/8 b - - ", "KKKKKKKK/kkkkkkkk/8/8/8/8/8/8 w - - ",
                            "pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp w - - ",
                            "pppppppp/PPPPPPPP/pppppppp/PPPPPPPP/pppppppp/nNPPPPPP/8/Kk6 b - - ",
                            "qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq w - - ",
                            "n6P/8/8/8/8/8/8/B w - - "}) {
        testing::internal::CaptureStdout();  // a set that cannot be indexed is complained of
        SetupFen(fen);
        testing::internal::GetCapturedStdout();
        const std::int32_t first = Evaluate();
        EXPECT_EQ(Evaluate(), first) << fen;
        EXPECT_EQ(FullResult(), first) << fen;
    }
}

}  // namespace
