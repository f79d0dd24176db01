// Search: mates, draws, exits before the first move, and that everything is given back.

#include <algorithm>
#include <random>
#include <vector>

#include "movegen/generators.h"
#include "movegen/legal_moves.h"
#include "search/search_node.h"
#include "search/think.h"
#include "support/random_positions.h"
#include "support/search_fixture.h"

namespace {

class SearchTestCase : public SearchTest {
  protected:
    static std::int32_t ZeroWindow(std::int32_t alpha, std::int32_t depth, int type = -1, int allowNull = 1) {
        return Search(alpha, alpha + 1, depth, allowNull, type);
    }
    static std::int32_t OpenWindow(std::int32_t depth) { return Search(-INFINITE_SCORE, INFINITE_SCORE, depth, 1, 0); }

    /// The driver's score after `depth` iterations from a cold state.
    static std::int32_t RootScoreOf(const std::string& fen, int depth) {
        CleanTables();
        ForgetGame();
        Setup(fen.c_str());
        thread_board.SearchAborted = 0;
        const SearchState before;
        IterativeDeepening(depth, false);
        MoveCount = before.moveCount;
        EXPECT_TRUE(SearchState() == before) << fen;
        return RootScores[0];
    }
};

/// Plain full-width alpha-beta that knows nothing but mate: the mate score from `ply` on, 0 when there is none
/// within `depth` plies.
std::int32_t MateByFullWidth(std::int32_t alpha, std::int32_t beta, int depth, int ply) {
    const std::vector<Move> moves = LegalMoves();
    if (moves.empty()) {
        return InCheckNow() ? ply - MATE_SCORE : 0;
    }
    if (depth == 0) {
        return 0;
    }
    std::int32_t best = -MATE_SCORE;
    for (const Move move : moves) {
        MakeMove(move, 1);
        const std::int32_t score = -MateByFullWidth(-beta, -std::max(alpha, best), depth - 1, ply + 1);
        UnmakeMove();
        best = std::max(best, score);
        if (best >= beta) {
            break;
        }
    }
    return best;
}

TEST_F(SearchTestCase, FindsMates) {
    const std::pair<const char*, int> cases[] = {
        {"6k1/P4ppp/8/8/8/8/8/6K1 w - - ", 1},
        {"kbK5/pp6/1P6/8/8/8/8/R7 w - - ", 2},
        {"r5rk/5p1p/5R2/4B3/8/8/7P/7K w - - ", 3},
        {"r2n1rk1/1ppb2pp/1p1p4/3Ppq1n/2B3P1/2P4P/PP1N1P1K/R2Q1RN1 b - - ", 3},
    };
    for (const auto& [fen, moves] : cases) {
        EXPECT_EQ(RootScoreOf(fen, 4 * moves), MATE_SCORE - (2 * moves - 1)) << fen;
    }
}

TEST_F(SearchTestCase, AgreesWithFullWidthSearchOnMates) {
    constexpr int PLIES = 3;
    std::mt19937 random(7);
    int mates = 0;
    for (int game = 0; game < 250; ++game) {
        const std::string fen = RandomFewMen(random, 3, "QQRRP", game % 4 == 0 ? "rb" : "p");
        MoveCount = 0;
        if (LegalMoves().size() < 2) {
            continue;  // no search at the root
        }
        const std::int32_t exact = MateByFullWidth(-MATE_SCORE, MATE_SCORE, PLIES, 0);
        const std::int32_t score = RootScoreOf(fen, 9);
        if (exact != 0) {
            EXPECT_EQ(score, exact) << fen;
            ++mates;
        } else {
            EXPECT_LE(std::abs(score), MATE_SCORE - PLIES - 1) << fen;  // no mate is claimed that is not there
        }
    }
    EXPECT_GT(mates, 15);
}

TEST_F(SearchTestCase, Stalemate) {
    const char* fens[] = {"7k/5Q2/6K1/8/8/8/8/8 b - - ", "k7/P7/K7/8/8/8/8/7R b - - ", "7k/7P/6QK/8/8/8/8/8 b - - "};
    for (const char* fen : fens) {
        for (const std::int32_t depth : {20, 23, 40}) {
            Stand(fen);
            EXPECT_EQ(OpenWindow(depth), 0) << fen;
            EXPECT_EQ(MoveCount, 0);
        }
        // Where the generators leave moves out an empty list proves nothing: an upper bound, and no 0.
        for (const std::int32_t depth : {4, 8, 11}) {
            Stand(fen);
            EXPECT_EQ(ZeroWindow(-20, depth), -20) << fen;
            bool mateThreat = false, allowNull = true;
            EXPECT_EQ(TTProbe(depth, -20, -19, false, mateThreat, allowNull).kind, BOUND_UPPER) << fen;
        }
    }
}

TEST_F(SearchTestCase, TheHundredthHalfMoveDrawsEvenAMate) {
    const char* mated = "7k/6Q1/6K1/8/8/8/8/8 b - - ";
    Stand(mated);
    thread_board.FiftyCounter = 99;
    EXPECT_EQ(OpenWindow(8), 1 - MATE_SCORE);
    thread_board.FiftyCounter = 100;
    EXPECT_EQ(OpenWindow(8), 0);
    EXPECT_EQ(Quiescence(-INFINITE_SCORE, INFINITE_SCORE, 0, 0), 0);
}

TEST_F(SearchTestCase, MateDistance) {
    struct Case {
        std::int32_t alpha, beta, score;
    };
    const Case cases[] = {{32694, 32695, 32694},     // no faster mate exists
                          {32693, 32694, 0},         // one exists
                          {-32695, -32694, -32693},  // not in check: mated two plies on at the earliest
                          {-32694, -32693, -32693}};
    for (const Case& each : cases) {
        Stand("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ");
        EnterAt(5);
        const std::int32_t score = Search(each.alpha, each.beta, 8, 1, -1);
        EXPECT_EQ(Nodes == 1, each.score != 0) << each.alpha;
        if (each.score != 0) {
            EXPECT_EQ(score, each.score) << each.alpha;
            EXPECT_EQ(Quiescence(each.alpha, each.beta, 0, -1), each.score) << each.alpha;
        }
    }
}

TEST_F(SearchTestCase, MaterialThatCannotWin) {
    struct Case {
        const char* fen;
        std::int32_t alpha;
        bool drawn;
    };
    const Case cases[] = {
        {"4k3/8/8/8/8/8/3B4/4K3 w - - ", 1, true},
        {"4k3/8/8/8/8/8/3B4/4K3 b - - ", -2, true},
        {"4k3/8/8/8/8/8/3R4/4K3 w - - ", 0, false},
        {"4k3/8/8/8/8/8/3R4/4K3 b - - ", 0, true},      // it cannot win,
        {"4k3/8/8/8/8/8/3R4/4K3 b - - ", -300, false},  // and may still lose
        {"4k3/8/8/8/8/8/3R4/4K3 w - - ", -1, true},     // the rook is not held to it
        {"k7/p7/8/3N4/8/2K5/8/8 w - - ", 1, true},
        {"k1K5/p7/8/3N4/8/8/8/8 w - - ", 1, false},  // the king in the corner and shut in
        {"k7/p2K4/8/3N4/8/8/8/8 w - - ", 1, true},   // cornered with a flight
    };
    for (const Case& each : cases) {
        Stand(each.fen);
        const std::int32_t score = ZeroWindow(each.alpha, 12);
        EXPECT_EQ(score == 0 && Nodes == 1, each.drawn) << each.fen << each.alpha;
    }
    Stand(cases[0].fen);
    OpenWindow(12);
    EXPECT_GT(Nodes, 1U);  // not at nodes of the principal variation
}

/// The draw by repetition or forced return, by its meaning: the position itself stood on the board before, or one
/// move of ours brings back a position after which it was the opponent's move. Only reversible moves between.
bool RepeatsBySlowSearch(std::int32_t beta) {
    if (thread_board.FiftyCounter < 3) {
        return false;
    }
    int reversible = 0;
    while (reversible < GamePly && IsReversible(GameHistory[GamePly - 1 - reversible].move)) {
        ++reversible;
    }
    const auto stoodBefore = [&](Key key, int first) {
        for (int j = first; j <= reversible; j += 2) {
            if (GameHistory[GamePly - j].key == key) {
                return true;
            }
        }
        return false;
    };
    if (stoodBefore(thread_board.PositionKey, 4)) {
        return true;
    }
    if (beta > 0) {
        return false;
    }
    const std::int32_t count = MoveCount;
    GenerateQuiets(0);
    bool found = false;
    for (int i = count; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (IsReversible(move) && !IsCastling(move)) {
            const Key after = thread_board.PositionKey ^
                              PieceKeys[thread_board.SideToMove][MovePiece(move)][MoveFrom(move)] ^
                              PieceKeys[thread_board.SideToMove][MovePiece(move)][MoveTo(move)];
            found = found || stoodBefore(after, 3);
        }
    }
    MoveCount = count;
    return found;
}

TEST_F(SearchTestCase, RepetitionsAndForcedReturns) {
    std::mt19937 random(3);
    int drawn[2] = {0, 0};
    for (int game = 0; game < 400; ++game) {
        const char* fens[] = {"7k/8/8/8/8/8/8/K6R w - - ", "k7/1p6/8/2n5/3B4/8/6P1/6K1 b - - ",
                              "6kr/6pp/8/8/8/8/PP6/RK6 w - - "};
        SetupFen(fens[game % 3]);
        for (int ply = 0; ply < 40; ++ply) {
            for (const std::int32_t beta : {0, 1}) {
                const bool expected = RepeatsBySlowSearch(beta);
                ASSERT_EQ(IsDrawnBySearchRules(beta), expected) << WriteFen(0) << " at ply " << ply;
                drawn[beta] += expected;
            }
            const std::vector<Move> moves = LegalMoves();
            if (moves.empty()) {
                break;
            }
            // A game of shuffling: the same piece back is as likely as anything else.
            Move move = moves[random() % moves.size()];
            if (GamePly >= 2 && random() % 2 != 0) {
                const Move own = GameHistory[GamePly - 2].move;
                const Move back = (own & 0x7000u) | static_cast<Move>(MoveTo(own) | MoveFrom(own) << 6);
                move = std::ranges::find(moves, back) != moves.end() ? back : move;
            }
            MakeMove(move, 1);
        }
    }
    EXPECT_GT(drawn[1], 100);
    EXPECT_GT(drawn[0], drawn[1] + 100);  // the return is seen before it happens

    // A null move between ends the scan.
    SetupFen("7k/8/8/8/8/8/8/K6R w - - ");
    for (const char* text : {"h1g1", "h8h7", "g1h1", "h7h8"}) {
        MakeMove(MoveFromText(text), 1);
    }
    EXPECT_TRUE(IsDrawnBySearchRules(1));
    GameHistory[0].move = 0;
    EXPECT_FALSE(IsDrawnBySearchRules(1));
}

constexpr const char* MIXED[] = {
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - ",
    "r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ - ",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ - ",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - ",
    "8/1p3k2/p2r2p1/5p1p/3R1P2/1P4PP/P4K2/8 w - - ",
    "4k3/8/8/8/4r3/8/3P1P2/4K3 w - - ",
};

TEST_F(SearchTestCase, GivesEverythingBack) {
    for (const char* fen : MIXED) {
        Stand(fen);
        const SearchState before;
        for (const Move move : LegalMoves()) {
            MakeMove(move, 1);
            PlyState[1].InCheck = InCheckNow();
            ZeroWindow(-1, 24);
            OpenWindow(20);
            UnmakeMove();
            ASSERT_TRUE(SearchState() == before) << fen << TextOf(move);
        }
        EXPECT_GT(Nodes, 1000U) << fen;
    }
}

TEST_F(SearchTestCase, AStoppedSearchGivesEverythingBack) {
    for (const char* fen : MIXED) {
        const int types[] = {0, -1, 1};
        for (int limit = 1; limit < 4000; limit += 1 + limit / 3) {
            Stand(fen);
            const SearchState before;
            const Move move = LegalMoves().front();
            MakeMove(move, 1);
            EnterAt(1);
            NodeLimit = limit;
            PollInterval = PollCountdown = 0;
            const int type = types[limit % 3];
            const std::int32_t score = type == 0 ? OpenWindow(48) : ZeroWindow(0, 48, type);
            if (thread_board.SearchAborted != 0) {
                EXPECT_EQ(score, 0);
            }
            UnmakeMove();
            Ply = before.ply;
            ASSERT_TRUE(SearchState() == before) << fen << limit;
            thread_board.SearchAborted = 0;
        }
    }
}

TEST_F(SearchTestCase, ANullMoveThatFailsLeavesItsMarks) {
    // White stands above beta, but its queen is attacked. FiftyCounter stays one higher until the node is left.
    const char* fen = "4k3/pp3ppp/2b5/8/8/5Q2/PP3P1P/4K2R w - - ";
    for (const int allowNull : {0, 1}) {
        Stand(fen);
        const std::int32_t alpha = Evaluate() - 60;
        thread_board.FiftyCounter = 1;
        ZeroWindow(alpha, 28, -1, allowNull);
        EXPECT_EQ(thread_board.FiftyCounter, 1 + allowNull);
        EXPECT_EQ(TextOf(PlyState[1].ThreatMove), allowNull ? "c6f3" : "0000");
        EXPECT_EQ(GamePly, 1);
        EXPECT_EQ(thread_board.SideToMove, WHITE);
    }
    // Without a null move the threat is what the last move has carried.
    Stand(fen);
    PlyState[0].CreatedThreat = BuildMove(42, 21, BISHOP, QUEEN);
    ZeroWindow(Evaluate() + 500, 28);
    EXPECT_EQ(TextOf(PlyState[1].ThreatMove), "c6f3");
}

TEST_F(SearchTestCase, AThreatOfMateIsKeptInTheTable) {
    struct Case {
        const char* fen;
        const char* threat;
        bool mates;
    };
    const Case cases[] = {{"6k1/5ppp/8/6N1/r7/8/5PPP/6K1 w - - ", "a4a1", true},
                          {"6k1/5ppp/8/R7/6n1/8/5PPP/6K1 b - - ", "a5a8", true},
                          {"6k1/5ppp/8/8/r6N/8/5PPP/6K1 w - - ", "a4h4", false}};
    for (const Case& each : cases) {
        Stand(each.fen);
        ZeroWindow(Evaluate() - 60, 24);
        EXPECT_EQ(TextOf(PlyState[1].ThreatMove), each.threat) << each.fen;
        bool mateThreat = false, allowNull = true;
        EXPECT_NE(TTProbe(0, -MATE_SCORE, MATE_SCORE, true, mateThreat, allowNull).kind, 0) << each.fen;
        EXPECT_EQ(mateThreat, each.mates) << each.fen;
    }
}

TEST_F(SearchTestCase, NeverRunsOutOfRoom) {
    // Promoted armies: checks, captures and promotions without end.
    for (const char* fen : {"qqqqkqqq/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQKQQQ w - - ",
                            "1nqk1qn1/PPPP2PP/8/8/8/8/pppp2pp/1NQK1QN1 w - - ", MIXED[0], MIXED[5]}) {
        for (const int ply : {PLY_BOUND - 2, PLY_BOUND - 1, PLY_BOUND}) {
            for (const bool quiescence : {false, true}) {
                Stand(fen, 98);
                EnterAt(ply, 98);
                const SearchState before;
                const std::int32_t score = quiescence ? Quiescence(-INFINITE_SCORE, INFINITE_SCORE, 0, 0)
                                                      : OpenWindow(ply == PLY_BOUND ? 300 : 24);
                EXPECT_EQ(Nodes == 1, ply == PLY_BOUND);
                if (ply == PLY_BOUND) {
                    EXPECT_EQ(score, Evaluate());
                }
                EXPECT_TRUE(SearchState() == before);
            }
        }
    }
    Stand("4k3/8/8/8/8/8/8/QQQ1K3 w - - ");
    MoveCount = MOVE_LIST_SEARCH_END + 1;
    EXPECT_EQ(Quiescence(-INFINITE_SCORE, INFINITE_SCORE, 0, 0), Evaluate());
    EXPECT_EQ(Nodes, 1U);
}

// Single steps, on a node made by hand.

class SearchSteps : public SearchTest {
  protected:
    static SearchNode NodeAt(const char* fen, std::int32_t depth, int type = -1) {
        Stand(fen);
        SearchNode node(0, 1, depth, type);
        node.eval = node.here.StaticEval = Evaluate();
        node.entryAlpha = node.alpha;
        node.scoutBound = node.beta;
        node.extAllowed = true;
        return node;
    }
};

TEST_F(SearchSteps, AnswersToAThreat) {
    struct Case {
        const char* what;
        const char* threat;
        const char* move;
        std::int32_t safety;
        bool answers;
    };
    // The rook a8 looks at a1 down the open file; the bishop h8 looks at the pawn d4.
    const char* fen = "r3k2b/8/8/8/3P4/2N5/8/R2QK3 w - - ";
    const Case cases[] = {
        {"the attacked piece moves", "a8a1", "a1b1", SAFE, true},
        {"into a loss", "a8a1", "a1b1", LOSING, false},
        {"the line is blocked", "a8a1", "c3a2", SAFE, true},
        {"not blocked", "a8a1", "c3e2", SAFE, false},
        {"covered twice", "h8d4", "c3e2", SAFE, true},
        {"covered from behind", "a8a1", "d1b1", SAFE, true},
        {"no cover", "h8d4", "e1f1", SAFE, false},
    };
    for (const Case& each : cases) {
        SearchNode node = NodeAt(fen, 24);
        thread_board.SideToMove = BLACK;
        node.here.ThreatMove = MoveFromText(each.threat);
        thread_board.SideToMove = WHITE;
        EXPECT_EQ(AnswersThreat(node, MoveFromText(each.move), each.safety), each.answers) << each.what;
    }
    SearchNode node = NodeAt(fen, 24);
    EXPECT_FALSE(AnswersThreat(node, MoveFromText("a1b1"), SAFE));  // nothing is threatened
    // A pawn that takes a rook does not mind a recapture: only moving away helps.
    const SearchNode pawnThreat = NodeAt("4k3/8/8/8/1p6/R3N3/8/4K3 w - - ", 24);
    pawnThreat.here.ThreatMove = MoveFromText("b4a3");
    EXPECT_FALSE(AnswersThreat(pawnThreat, MoveFromText("e3c2"), SAFE));
    EXPECT_FALSE(AnswersThreat(pawnThreat, MoveFromText("e1d1"), SAFE));
    EXPECT_TRUE(AnswersThreat(pawnThreat, MoveFromText("a3a8"), SAFE));
}

TEST_F(SearchSteps, FutilityMargin) {
    struct Case {
        const char* fen;
        std::int32_t depth;
        std::int32_t margin;
    };
    const Case cases[] = {
        {"4k3/8/8/8/8/8/3NN3/4K3 w - - ", 8, 101},  // own pieces weigh 6, the enemy's nothing
        {"4k3/8/8/8/8/8/3NN3/4K3 b - - ", 8, 116},  // the other way round
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ", 7, 51},
        {"qqqqkqqq/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQKQQQ w - - ", 7, 51},
    };
    for (const Case& each : cases) {
        SearchNode node = NodeAt(each.fen, each.depth);
        node.alpha = node.eval + each.margin;
        SetFutility(node);
        EXPECT_EQ(node.margin, each.margin) << each.fen;
        EXPECT_TRUE(node.moveFutility && node.safeQuiets && !node.futile);
        EXPECT_EQ(node.safeCaptures, each.depth < 8);
        ++node.alpha;
        SetFutility(node);
        EXPECT_TRUE(node.futile);
    }
    for (const char* fen : {"4k3/8/8/8/8/8/8/4K3 w - - ", cases[2].fen}) {
        SearchNode node = NodeAt(fen, fen == cases[2].fen ? 20 : 8);
        SetFutility(node);
        EXPECT_FALSE(node.moveFutility || node.futile || node.safeQuiets || node.safeCaptures) << fen;
    }
}

TEST_F(SearchSteps, Reductions) {
    struct Case {
        const char* what;
        int type;
        std::int32_t gap;
        std::int32_t count;
        std::int32_t change;
    };
    // Without move statistics every move has the bonus of the rare; a gap of 0 takes 4 off again.
    const Case cases[] = {
        {"cut node", -1, 0, 10, -12},          {"one move later", -1, 0, 11, -16}, {"all node", 1, 0, 3, -16},
        {"all node, late", 1, 0, 19, -20},     {"all node, last", 1, 0, 36, -24},  {"second move", 1, 0, 2, -12},
        {"principal variation", 0, 0, 2, -12}, {"far below", -1, 330, 30, -24},    {"far above", 1, -330, 8, -24},
    };
    for (const Case& each : cases) {
        SearchNode node = NodeAt("r4rk1/pppq1ppp/2np1n2/2b1p3/2B1P3/2NP1N2/PPPQ1PPP/R4RK1 w - - ", 60, each.type);
        PlyState[0].StaticEval = MATE_SCORE;  // the opponent's move has brought us up: no extra reduction
        node.stage = STAGE_QUIETS;
        node.improving = true;
        MoveEntry entry{MoveFromText("a2a3"), 0, LOSING};
        MakeMove(entry.Move, 1);
        node.alpha = each.gap - Evaluate();
        node.lmrCount = each.count;
        const MoveInWork work{entry.Move, -4, false, false};
        EXPECT_EQ(ReducedDepthChange(node, entry, work), each.change) << each.what;

        // A safe move is not reduced below a ply, or two for what answers a threat.
        for (const std::int32_t depth : {8, 12, 16}) {
            node.depth = depth;
            node.here.MoveFlags = FLAG_REDUCED;
            entry.Safety = SAFE;
            for (const bool answers : {false, true}) {
                const MoveInWork safe{entry.Move, -4, false, answers};
                const std::int32_t floor = std::min((answers ? 8 : 4) - depth, -8);
                EXPECT_EQ(ReducedDepthChange(node, entry, safe), std::max(each.change, floor)) << each.what << depth;
            }
        }
        UnmakeMove();
    }
}

TEST_F(SearchSteps, SingularMoves) {
    // Only the recapture keeps the balance.
    SearchNode node = NodeAt("4k2r/5ppp/8/8/8/3q4/4PPPP/4K2R w - - ", 40);
    node.hashMove = MoveFromText("e2d3");
    const std::int32_t score = Evaluate() + 900;
    EXPECT_EQ(ExtendIfSingular(node, {true, score}, -4), 0);
    EXPECT_EQ(ExtendIfSingular(node, {false, score}, -4), -4);
    EXPECT_EQ(ExtendIfSingular(node, {true, score}, -1), 0);
    node.extAllowed = false;
    EXPECT_EQ(ExtendIfSingular(node, {true, score}, -4), -2);
    EXPECT_EQ(ExtendIfSingular(node, {true, score}, 0), 0);
    EXPECT_EQ(SingularActive, 0);
    EXPECT_EQ(MoveCount, 0);

    SearchNode quiet = NodeAt("4k3/pppp1ppp/8/8/8/8/PPPP1PPP/4K3 w - - ", 32);
    quiet.hashMove = MoveFromText("a2a3");
    EXPECT_EQ(ExtendIfSingular(quiet, {true, Evaluate()}, -4), -4);  // any move will do
}

}  // namespace
