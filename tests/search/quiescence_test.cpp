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
    for (const std::string& fen : RandomPositions(5, 1, 30)) {
        Stand(fen);
        const SearchState before;
        const std::int32_t standPat = Evaluate();
        const bool inCheck = PlyState[1].InCheck != 0;
        const bool mated = inCheck && LegalMoves().empty();

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
    // Iteration 0: no quiet checks. A node that finds no move is the only one.
    const std::pair<const char*, bool> cases[] = {
        {"4k3/pp6/8/8/8/8/PP6/4K3 w - - ", false},  {"4k3/8/8/3n4/4P3/8/8/4K3 w - - ", true},
        {"4k3/8/2p5/3n4/8/8/8/3RK3 w - - ", false}, {"8/8/P6k/8/8/8/8/6K1 w - - ", true},
        {"8/8/7k/P7/8/8/8/6K1 w - - ", false},      {"8/n7/P6k/8/8/8/8/6K1 w - - ", false},
        {"8/2k5/2r4P/8/8/8/8/7K w - - ", true},     {"8/3r4/1k5P/8/8/8/8/7K w - - ", false},
        {"8/P6k/8/8/8/8/8/6K1 w - - ", true},       {"n7/P6k/8/8/8/8/8/6K1 w - - ", false},
        {"3r4/P6k/8/8/8/8/8/6K1 w - - ", false},    {"6k1/8/8/8/8/p6K/8/8 b - - ", true},
        {"6k1/8/8/8/8/7K/p7/8 b - - ", true},
    };
    for (const auto& [fen, searchesMoves] : cases) {
        Stand(fen, 0);
        OpenSearch();
        EXPECT_EQ(Nodes > 1, searchesMoves) << fen;
    }
}

TEST_F(QuiescenceTest, AKnightPromotionIsSearchedForItsCheckOnly) {
    // The queen's promotion comes first and gives no check, so the last move searched says whether there was another.
    const std::pair<const char*, bool> cases[] = {{"8/P1k5/8/8/8/8/8/6K1 w - - ", true},
                                                  {"8/P2k4/8/8/8/8/8/6K1 w - - ", false},
                                                  {"6k1/8/8/8/8/8/p1K5/8 b - - ", true}};
    for (const auto& [fen, knight] : cases) {
        Stand(fen, 0);
        OpenSearch();
        EXPECT_GT(Nodes, 1U) << fen;
        EXPECT_EQ(PlyState[2].InCheck != 0, knight) << fen;
    }
}

TEST_F(QuiescenceTest, QuietChecks) {
    // A quiet rook move mates.
    const char* fen = "6k1/5ppp/8/8/8/8/8/R5K1 w - - ";
    const std::int32_t mate = MATE_SCORE - 2;
    struct Case {
        int iteration;
        int ply;
        std::int32_t depth;
        bool found;
    };
    // Not in the first iteration, not below depth -8, and not far from the root.
    const Case cases[] = {{1, 1, 0, true},   {0, 1, 0, false}, {1, 1, -8, true},
                          {1, 1, -9, false}, {1, 11, 0, true}, {1, 12, 0, false}};
    for (const Case& each : cases) {
        Stand(fen, each.iteration);
        EnterAt(each.ply, each.iteration);
        const std::int32_t score = Quiescence(-INFINITE_SCORE, INFINITE_SCORE, each.depth, 0);
        EXPECT_EQ(score > MATE_BOUND, each.found) << each.iteration << each.ply << each.depth;
        if (each.found) {
            EXPECT_EQ(score, mate - (each.ply - 1));
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

TEST_F(QuiescenceTest, CaptureGainIsMirroredAndOrdered) {
    int compared = 0;
    for (const std::string& fen : RandomPositions(23, 4, 60)) {
        std::vector<std::pair<Move, std::int32_t>> gains;
        Setup(fen.c_str());
        for (const Move move : LegalMoves()) {
            if (!IsQuiet(move)) {
                gains.emplace_back(move, CaptureGain(move));
            }
        }
        Setup(ColourMirror(fen).c_str());
        for (const auto& [move, gain] : gains) {
            ASSERT_EQ(CaptureGain(MirroredMove(move)), gain) << fen << TextOf(move);
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
