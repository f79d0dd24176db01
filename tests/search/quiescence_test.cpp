// Quiescence: its bounds, what it generates, what it leaves in the table; the gain of captures.

#include <vector>

#include "movegen/generators.h"
#include "movegen/legal_moves.h"
#include "support/random_positions.h"
#include "support/search_fixture.h"

namespace {

class QuiescenceTest : public SearchTest {
  protected:
    /// Full window, depth 0, position as Stand leaves it.
    static std::int32_t OpenSearch() { return Quiescence(-INFINITE_SCORE, INFINITE_SCORE, 0, 0); }

    /// The table's answer for the position on the board.
    static ProbeResult Entry() { return TTProbeQ(-12, -INFINITE_SCORE, INFINITE_SCORE, true); }
};

TEST_F(QuiescenceTest, IsBoundedByWhatTheSideCanHave) {
    for (const std::string& fen : RandomPositions(5, 1, 50)) {
        Stand(fen);
        const SearchState before;
        const std::int32_t standPat = Evaluate();
        const bool inCheck = PlyState[1].InCheck != 0;
        GenerateLegalMoves(0);
        const bool mated = inCheck && MoveCount == 0;
        MoveCount = 0;

        const std::int32_t open = OpenSearch();
        ASSERT_TRUE(SearchState() == before) << fen;
        if (mated) {
            ASSERT_EQ(open, 1 - MATE_SCORE) << fen;
        } else if (!inCheck) {
            ASSERT_GE(open, standPat) << fen;
        } else {
            ASSERT_GT(open, 1 - MATE_SCORE) << fen;  // an evasion is always tried
        }

        // Any closed window answers on the right side of the open result's window.
        for (const std::int32_t alpha : {open - 1, open}) {
            Stand(fen);
            const std::int32_t score = Quiescence(alpha, alpha + 1, 0, -1);
            ASSERT_TRUE(SearchState() == before) << fen;
            if (!inCheck && standPat > alpha) {
                ASSERT_EQ(score, standPat) << fen;
                ASSERT_EQ(Nodes, 1U);
                ASSERT_EQ(Entry().kind, 0) << fen;  // nothing is stored
            }
        }
    }
}

TEST_F(QuiescenceTest, SearchesWhatTheNodeMayGain) {
    struct Case {
        const char* what;
        const char* fen;
        bool searchesMoves;
    };
    // Iteration 0: no quiet checks. A node that finds no move is the only one.
    const Case cases[] = {
        {"nothing to take", "4k3/pp6/8/8/8/8/PP6/4K3 w - - ", false},
        {"a loose piece", "4k3/8/8/3n4/4P3/8/8/4K3 w - - ", true},
        {"a guarded one that is worth less", "4k3/8/2p5/3n4/8/8/8/3RK3 w - - ", false},
        {"push to the seventh", "8/8/P6k/8/8/8/8/6K1 w - - ", true},
        {"push to the sixth", "8/8/7k/P7/8/8/8/6K1 w - - ", false},
        {"blocked on the sixth", "8/n7/P6k/8/8/8/8/6K1 w - - ", false},
        {"push into an attack", "8/2k5/2r4P/8/8/8/8/7K w - - ", true},
        {"the same, attacked there", "8/3r4/1k5P/8/8/8/8/7K w - - ", false},
        {"promotion", "8/P6k/8/8/8/8/8/6K1 w - - ", true},
        {"blocked promotion", "n7/P6k/8/8/8/8/8/6K1 w - - ", false},
        {"promotion into an attack", "3r4/P6k/8/8/8/8/8/6K1 w - - ", false},
        {"black push to the second", "6k1/8/8/8/8/p6K/8/8 b - - ", true},
        {"black promotion", "6k1/8/8/8/8/7K/p7/8 b - - ", true},
    };
    for (const Case& each : cases) {
        Stand(each.fen, 0);
        OpenSearch();
        EXPECT_EQ(Nodes > 1, each.searchesMoves) << each.what;
    }
}

TEST_F(QuiescenceTest, AKnightPromotionIsSearchedForItsCheckOnly) {
    // The queen's promotion comes first and gives no check, so the last move searched says whether there was another.
    struct Case {
        const char* fen;
        bool knight;
    };
    const Case cases[] = {{"8/P1k5/8/8/8/8/8/6K1 w - - ", true},
                          {"8/P2k4/8/8/8/8/8/6K1 w - - ", false},
                          {"6k1/8/8/8/8/8/p1K5/8 b - - ", true}};
    for (const Case& each : cases) {
        Stand(each.fen, 0);
        OpenSearch();
        EXPECT_GT(Nodes, 1U) << each.fen;
        EXPECT_EQ(PlyState[2].InCheck != 0, each.knight) << each.fen;
    }
}

TEST_F(QuiescenceTest, QuietChecks) {
    // A quiet rook move mates.
    const char* fen = "6k1/5ppp/8/8/8/8/8/R5K1 w - - ";
    const std::int32_t mate = MATE_SCORE - 2;
    struct Case {
        const char* what;
        int iteration;
        int ply;
        std::int32_t depth;
        bool found;
    };
    const Case cases[] = {
        {"at the frontier", 1, 1, 0, true},  {"not in the first iteration", 0, 1, 0, false},
        {"still at -8", 1, 1, -8, true},     {"below it", 1, 1, -9, false},
        {"up to the limit", 1, 11, 0, true}, {"beyond it", 1, 12, 0, false},
    };
    for (const Case& each : cases) {
        Stand(fen, each.iteration);
        EnterAt(each.ply, each.iteration);
        const std::int32_t score = Quiescence(-INFINITE_SCORE, INFINITE_SCORE, each.depth, 0);
        EXPECT_EQ(score > MATE_BOUND, each.found) << each.what;
        if (each.found) {
            EXPECT_EQ(score, mate - (each.ply - 1)) << each.what;
        }
    }
}

TEST_F(QuiescenceTest, RemembersThatNothingCanBeGenerated) {
    Stand("4k3/pp6/8/8/8/8/PP6/4K3 w - - ");
    OpenSearch();
    Entry();
    EXPECT_EQ(QFlags, 3);  // neither captures nor checks
    Stand("4k3/pp6/8/8/8/8/PP6/4K2R w - - ");
    OpenSearch();
    Entry();
    EXPECT_EQ(QFlags, 2);  // the rook checks from h8
    // What an entry says is believed: the capture on d5 is not generated.
    for (const std::uint8_t flags : {std::uint8_t{0}, std::uint8_t{2}}) {
        Stand("4k3/8/8/3n4/4P3/8/8/4K3 w - - ", 0);
        TTStore(-12, 0, -MATE_BOUND, BOUND_LOWER, false, flags, 0);
        OpenSearch();
        EXPECT_EQ(Nodes > 1, flags == 0);
    }
}

TEST_F(QuiescenceTest, DrawsComeBeforeTheEvaluation) {
    Stand("4k3/8/8/8/8/8/8/QQQ1K3 w - - ");
    thread_board.FiftyCounter = 100;
    EXPECT_EQ(OpenSearch(), 0);
    EXPECT_EQ(Nodes, 1U);
    thread_board.FiftyCounter = 0;
    EXPECT_NE(OpenSearch(), 0);
}

TEST_F(QuiescenceTest, NeverRunsOutOfRoom) {
    // Promoted armies: checks, captures and promotions without end.
    for (const char* fen :
         {"qqqqkqqq/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQKQQQ w - - ", "1nqk1qn1/PPPP2PP/8/8/8/8/pppp2pp/1NQK1QN1 w - - "}) {
        for (const int ply : {PLY_BOUND - 2, PLY_BOUND - 1, PLY_BOUND}) {
            Stand(fen, 98);
            EnterAt(ply, 98);
            const SearchState before;
            const std::int32_t score = OpenSearch();
            EXPECT_TRUE(SearchState() == before);
            EXPECT_EQ(Nodes == 1, ply == PLY_BOUND);
            if (ply == PLY_BOUND) {
                EXPECT_EQ(score, Evaluate());
            }
        }
    }
    Stand("4k3/8/8/8/8/8/8/QQQ1K3 w - - ");
    MoveCount = MOVE_LIST_SEARCH_END + 1;
    EXPECT_EQ(OpenSearch(), Evaluate());
    EXPECT_EQ(Nodes, 1U);
}

TEST_F(QuiescenceTest, CaptureGainIsMirroredAndOrdered) {
    int compared = 0;
    for (const std::string& fen : RandomPositions(23, 4, 60)) {
        std::vector<std::pair<Move, std::int32_t>> gains;
        Setup(fen.c_str());
        GenerateLegalMoves(0);
        for (int i = 0; i < MoveCount; ++i) {
            const Move move = MoveList[i].Move;
            if (!IsQuiet(move)) {
                gains.emplace_back(move, CaptureGain(move));
            }
        }
        Setup(ColourMirror(fen).c_str());
        for (const auto& [move, gain] : gains) {
            const Move mirrored = (move ^ 070u ^ (070u << 6)) & 0x1fffff;
            ASSERT_EQ(CaptureGain(mirrored), gain) << fen << TextOf(move);
            ++compared;
        }
    }
    EXPECT_GT(compared, 500);

    struct Case {
        const char* fen;
        const char* move;
        std::int32_t atLeast;
        std::int32_t atMost;
    };
    const Case cases[] = {
        {"rnbqkbnr/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - ", "e4d5", 60, 200},
        {"rnb1kbnr/pppppppp/8/3q4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - ", "e4d5", 880, 1100},
        {"rnbqkbnr/ppp1pppp/8/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6 ", "e5d6", 60, 200},
        {"4k3/P7/8/8/8/8/8/4K3 w - - ", "a7a8q", 1000, 1200},    // 900, and the queen's bonus of 160
        {"1n2k3/P7/8/8/8/8/8/4K3 w - - ", "a7b8q", 1300, 1500},  // with the knight
        {"4k3/8/P7/8/8/8/8/4K3 w - - ", "a6a7", 690, 740},       // the passed pawn on the seventh
    };
    for (const Case& each : cases) {
        Setup(each.fen);
        const std::int32_t gain = CaptureGain(MoveFromText(each.move));
        EXPECT_GE(gain, each.atLeast) << each.fen << each.move;
        EXPECT_LE(gain, each.atMost) << each.fen << each.move;
    }
}

}  // namespace
