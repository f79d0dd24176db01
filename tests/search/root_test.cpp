// The root list, its bookkeeping, and single root searches.
#include "search/root.h"

#include <algorithm>
#include <vector>

#include "movegen/exchange.h"
#include "movegen/legal_moves.h"
#include "search/think.h"
#include "support/engine_fixture.h"

namespace {

constexpr const char* POSITIONS[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
    "r2q1rk1/pP1p2pp/Q4n2/bbp1p3/Np6/1B3NBn/pPPP1PPP/R3K2R b KQ -",
    "rnbq1k1r/pp1Pbppp/2p5/8/2B5/8/PPP1NnPP/RNBQK2R w KQ -",
    "4k3/8/8/8/4r3/8/3P1P2/4K3 w - -",                            // in check
    "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq -",  // mated
    "8/8/8/2k5/3Pp3/8/8/4K3 b - d3",                              // en passant gets out of check
};

std::vector<Move> Sorted(std::vector<Move> moves) {
    std::ranges::sort(moves);
    return moves;
}

class Root : public EngineTest {
  protected:
    static int Prepare() {
        EngineSide = thread_board.SideToMove;
        RootGamePly = GamePly;
        Nodes = 1;
        UciMode = 1;
        int over = 0;
        Printed([&] { over = PrepareRootMoves(); });
        RootMoveCount = MoveCount;
        return over;
    }

    static void ExpectMarksFit() {
        for (int i = 0; i < MoveCount; ++i) {
            EXPECT_EQ(RootGivesCheck[i] != 0, GivesCheck(MoveList[i].Move)) << TextOf(MoveList[i].Move);
        }
    }

    static void Ask(std::initializer_list<const char*> moves) {
        SearchMoveCount = 0;
        for (const char* move : moves) {
            SearchMoves[SearchMoveCount++] = MoveFromText(move);
        }
    }
};

TEST_F(Root, ListHoldsEveryLegalMoveOnce) {
    for (const char* fen : POSITIONS) {
        Setup(fen);
        const std::vector<Move> legal = Sorted(LegalMoves());
        EXPECT_EQ(Prepare(), legal.empty() ? 1 : 0) << fen;
        EXPECT_EQ(Sorted(MovesOfList()), legal) << fen;
        EXPECT_TRUE(PositionIsConsistent());
        ExpectMarksFit();
        EXPECT_EQ(PlyState[0].InCheck, SquareAttacked(ChangeSide(EngineSide), thread_board.KingSquare[EngineSide]));
    }
}

TEST_F(Root, OrderIsCapturesKillersQuiets) {
    Setup("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -");
    const Move killers[2] = {MoveFromText("a1b1"), MoveFromText("e1g1")};
    PlyState[0].Killer1[WHITE] = killers[0];
    PlyState[0].Killer2[WHITE] = killers[1];
    PlyState[0].Killer1[BLACK] = MoveFromText("a2a3");  // the other side's do not count
    Prepare();
    const std::vector<Move> list = MovesOfList();
    const auto firstQuiet = std::ranges::find_if(list, IsQuiet);
    EXPECT_EQ(firstQuiet - list.begin(), 8);
    EXPECT_TRUE(std::all_of(firstQuiet, list.end(), IsQuiet));
    EXPECT_EQ(firstQuiet[0], killers[0]);
    EXPECT_EQ(firstQuiet[1], killers[1]);
    EXPECT_EQ(std::ranges::count(list, killers[0]), 1);
    EXPECT_EQ(std::ranges::count(list, killers[1]), 1);
    EXPECT_TRUE(std::is_sorted(MoveList, MoveList + 8, [](auto& a, auto& b) { return a.Score > b.Score; }));

    // Killers that are impossible stay out.
    SetupStartPosition();
    PlyState[0].Killer1[WHITE] = WHITE_CASTLES_SHORT;
    PlyState[0].Killer2[WHITE] = BuildMove(3, 39, QUEEN);
    Prepare();
    EXPECT_EQ(MoveCount, 20);
}

TEST_F(Root, HashMoveComesFirstWithItsScore) {
    const Move hashMove = MoveFromText("a2a3");
    TTStore(20, hashMove, 77, BOUND_EXACT, false, 0, 20);
    Prepare();
    EXPECT_EQ(MoveList[0].Move, hashMove);
    EXPECT_EQ(RootScores[0], 77);
    EXPECT_TRUE(std::all_of(RootScores + 1, RootScores + MoveCount, [](std::int32_t score) { return score == 0; }));
    ExpectMarksFit();

    Ask({"e2e4", "d2d4", "h7h5"});
    const std::string report = Printed([] {
        EngineSide = WHITE;
        RootGamePly = GamePly;
        Nodes = 0;
        UciMode = 1;
        PrepareRootMoves();
    });
    EXPECT_EQ(MoveCount, 2);  // the hash move was not asked for, but the first report goes out
    EXPECT_TRUE(report.starts_with("info depth 1 seldepth 0 score cp 77 nodes 0 ")) << report;
}

TEST_F(Root, GuessIsTheLastScoreFromThisSide) {
    PrevRootScore = 35;
    PrevRootSide = WHITE;
    Prepare();
    EXPECT_EQ(RootScores[0], 35);
    Play("e2e4");
    Prepare();
    EXPECT_EQ(RootScores[0], -35);
}

TEST_F(Root, OneRecaptureIsEasy) {
    struct Case {
        const char* fen;
        const char* capture;
        const char* easy;
    };
    const Case cases[] = {
        {"rnbqkbnr/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -", "e4d5", "d8d5"},
        {"rnbqkb1r/ppp1pppp/5n2/3p4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -", "e4d5", "0000"},  // two of them
        {"rnbqkbnr/ppp1pppp/8/3p4/4P3/8/PPPP1PPP/RNBQKBNR w KQkq -", "e4e5", "0000"},
        {"4k3/8/8/8/8/8/3p4/R3K3 w Q -", "e1d2", "0000"},  // nothing takes back
    };
    for (const Case& each : cases) {
        Setup(each.fen);
        Play(each.capture);
        Prepare();
        EXPECT_EQ(TextOf(EasyMove), each.easy) << each.fen << " " << each.capture;
    }
}

TEST_F(Root, EntriesMoveTogether) {
    const auto fill = [](std::initializer_list<std::int32_t> scores) {
        RootMoveCount = 0;
        for (const std::int32_t score : scores) {
            MoveList[RootMoveCount] = {static_cast<Move>(1000 + score), score * 2, score * 3};
            RootGivesCheck[RootMoveCount] = score + 1;
            RootScores[RootMoveCount++] = score;
        }
    };
    const auto list = [] {
        std::vector<std::int32_t> scores(RootScores, RootScores + RootMoveCount);
        for (int i = 0; i < RootMoveCount; ++i) {
            const auto& [move, score, safety] = MoveList[i];
            EXPECT_TRUE(move == static_cast<Move>(1000 + RootScores[i]) && score == RootScores[i] * 2 &&
                        safety == RootScores[i] * 3 && RootGivesCheck[i] == RootScores[i] + 1);
        }
        return scores;
    };
    using Scores = std::vector<std::int32_t>;
    fill({5, 1, 2, 3, 4});
    MoveRootEntry(3, 0);
    EXPECT_EQ(list(), (Scores{3, 5, 1, 2, 4}));
    MoveRootEntry(0, 0);
    EXPECT_EQ(list(), (Scores{3, 5, 1, 2, 4}));
    MoveRootEntry(4, 1);
    EXPECT_EQ(list(), (Scores{3, 4, 5, 1, 2}));
    fill({0, 3, 9, 7, 8});
    SortRootEntries(1);
    EXPECT_EQ(list(), (Scores{0, 9, 8, 7, 3}));
}

TEST_F(Root, AspirationStepFollowsIterationAndScore) {
    EXPECT_EQ(AspirationStep(0, 0), 42);
    EXPECT_EQ(AspirationStep(17, 0), 7);
    EXPECT_EQ(AspirationStep(98, 0), 7);
    EXPECT_EQ(AspirationStep(5, 123), AspirationStep(5, -129));
    EXPECT_EQ(AspirationStep(0, 630), AspirationStep(0, -32000));
    EXPECT_GT(AspirationStep(0, 630), AspirationStep(0, 629));
}

TEST_F(Root, MateLimitLeavesAnEmptyWindowUnsearched) {
    Prepare();
    Play("e2e4");
    Ply = 1;
    PlyState[1].InCheck = 0;
    MateDepth = 3;
    EXPECT_EQ(RootChildSearch(-100, 100, 20, SAFE), -100);
    EXPECT_EQ(RootChildSearch(500, 501, 20, SAFE), 500);
    EXPECT_EQ(Nodes, 1U);
    EXPECT_GE(RootChildSearch(-32700, 32700, 8, SAFE), 2 * 3 - 32699);  // Black is not mated in three
    EXPECT_GT(Nodes, 1U);
}

TEST_F(Root, AFailLowWidensTheWindowUntilTheScoreIsIn) {
    Ask({"e2e4"});
    Prepare();
    Iteration = 2;
    RootScores[0] = 2000;
    AspirationWindow window{100, 100, false};
    std::int32_t bound = RootScores[0];
    int passes = 0;
    Printed([&] {
        do {
            const std::int32_t step = window.step;
            SearchRootPass(window);
            if (window.failed_low) {
                EXPECT_EQ(window.step, 2 * step);
                EXPECT_EQ(window.first, 100);
                EXPECT_LE(RootScores[0], bound - step);
                bound = RootScores[0];
            }
        } while (window.failed_low && ++passes < 20);
    });
    EXPECT_GT(passes, 0);
    EXPECT_FALSE(window.failed_low);
    EXPECT_NEAR(RootScores[0], 0, 200);
}

TEST_F(Root, OrderingValuesStayWhenIllegalMovesGo) {
    Setup("4k3/4r3/8/8/8/3q4/4B3/4K3 w - -");  // the only capture is illegal, and the best of all
    Prepare();
    EXPECT_TRUE(IsQuiet(MoveList[0].Move));
    EXPECT_GT(MoveList[0].Score, 100000);
}

TEST_F(Root, LinesOutsideTheirWindowsAreSettled) {
    MultiPV = 2;
    for (const int guess : {1500, -1500}) {
        CleanTables();
        Ask({"e2e4", "d2d4", "a2a3"});
        Prepare();
        Iteration = 2;
        RootScores[0] = RootScores[1] = RootScores[2] = guess;
        Printed(SearchRootPassMultiPv);
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(RootScores[i], 0, 200) << guess;
        }
        EXPECT_GE(RootScores[0], RootScores[1]);
        EXPECT_GE(RootScores[1], RootScores[2]);
    }
}

TEST_F(Root, ALaterMoveThatFailsHighHeadsTheList) {
    Setup("6k1/5ppp/8/8/8/8/5PPP/R5K1 w - -");  // a1a8 mates
    TTStore(0, MoveFromText("h2h3"), 0, BOUND_LOWER, false, 0, 20);
    UciMode = 1;
    Ask({"h2h3", "a1a8"});
    Printed([] { EXPECT_EQ(IterativeDeepening(1, false), 0); });
    EXPECT_EQ(TextOf(MoveList[0].Move), "a1a8");
    EXPECT_EQ(TextOf(MoveList[1].Move), "h2h3");
    EXPECT_EQ(RootScores[0], MATE_SCORE - 1);
    EXPECT_LT(RootScores[1], 2000);
    EXPECT_EQ(RootMoveIndex, 2);
    ExpectMarksFit();

    SearchMoveCount = 0;
    const std::vector<Move> legal = Sorted(LegalMoves());
    Printed([] { EXPECT_EQ(IterativeDeepening(3, false), 0); });
    EXPECT_EQ(Sorted(MovesOfList()), legal);
    ExpectMarksFit();
}

}  // namespace
