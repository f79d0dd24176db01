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
};

TEST_F(Evaluation, CacheTellsKeysAndSidesApart) {
    SetupFen("r3k2r/8/8/8/8/8/8/R3K2R w KQkq - ");
    const Key key = EvaluationKey();
    thread_eval_info = {};
    thread_eval_info.both_sides_valid = 0;
    thread_eval_info.attacks[BLACK] = 12345;
    StoreEvaluation(key, 25);
    thread_board.SideToMove = BLACK;
    EXPECT_EQ(ProbeEvaluation(key), NO_EVALUATION);
    thread_eval_info.both_sides_valid = 1;
    StoreEvaluation(key, -31);  // changes only the own slot
    thread_eval_info.attacks[BLACK] = 0;
    thread_board.SideToMove = WHITE;
    EXPECT_EQ(ProbeEvaluation(key), 25);
    EXPECT_EQ(thread_eval_info.attacks[BLACK], 12345u);

    // Another key in the slot always overwrites.
    StoreEvaluation(key ^ (Key{1} << 40), 25);
    EXPECT_EQ(ProbeEvaluation(key), NO_EVALUATION);
    thread_board.CastlingFlags = 0;
    EXPECT_NE(EvaluationKey(), key) << "rights to castle are part of the key";
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
    // Whose window it is, its bounds, and the score, or "no" for none.
    const std::string text =
        // White to move is behind: five points of Black's are too few; then by 500, for the engine and against it: the
        // window is the engine's, seen from the other side it turns over.
        "4k3/ppp2r2/8/8/8/8/5PPP/4K1N1 own -199 500 no; 4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1 own -499 500 -500; "
        "4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1 own -500 500 no; 4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1 other -500 499 -500; "
        "4k3/ppp2rn1/8/8/8/8/5PPP/4K1N1 other -499 500 no; "
        // Pawns of the lagging side one and two steps from promotion.
        "4k3/ppp2rn1/P7/8/8/8/5PPP/4K3 own -660 900 no; 4k3/ppp2rn1/P7/8/8/8/5PPP/4K3 own -649 900 -650; "
        "4k3/pPp2rn1/P7/8/8/8/5PPP/4K3 own -450 900 no; 4k3/pPp2rn1/P7/8/8/8/5PPP/4K3 own -399 900 -400; "
        // Fewer than two pawns want more than nine points, two of them six.
        "3qk3/p7/8/8/8/8/8/4K3 own -500 500 no; 3qk1n1/p7/8/8/8/8/8/4K3 own -500 500 -1300; "
        "4kbn1/pp6/8/8/8/8/8/4K3 own -500 500 -800; "
        // Ahead: the side to move must have the force, the enemy's pawns are looked at.
        "4k3/8/8/8/7P/p7/ppp2rn1/4K3 b other -1000 500 1100; 4k3/6P1/7P/8/8/8/ppp2rn1/4K3 b own -500 850 no; "
        "4k3/6P1/7P/8/8/8/ppp2rn1/4K3 b own -500 799 800; 4k3/8/7P/8/8/8/ppp2rn1/4K3 b own -500 940 950";
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            SetupFen(seen.fen);
            EngineSide = c.words[0] == "own" ? thread_board.SideToMove : ChangeSide(thread_board.SideToMove);
            SetLazyWindow(c.Number(1), c.Number(2));
            const bool taken = c.words[3] != "no";
            std::int32_t score = 0;
            EXPECT_EQ(LazyExit(score), taken) << c.fen << c.words[1] << ' ' << c.words[2];
            if (taken) {
                ClearEvalHash();
                thread_eval_info.attacks[WHITE] = thread_eval_info.attacks[BLACK] = 1;
                EXPECT_EQ(Evaluate(), c.Number(3)) << c.fen;
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

TEST_F(Evaluation, OnePawnEachTakesARoadOfItsOwn) {
    EXPECT_EQ(FullResultOf("4k3/1p6/8/8/8/8/6P1/4K3"), 0);  // an amplitude of 0 is the default
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
