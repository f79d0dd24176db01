// The two drivers and the thinking cycle.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "movegen/legal_moves.h"
#include "search/root.h"
#include "search/think.h"
#include "support/engine_fixture.h"

namespace {

constexpr const char* MIDDLE_GAME = "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/1P3N2/PB2BPPP/RN1Q1RK1 w - - ";

class Driver : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        UciMode = 1;
    }

    struct Outcome {
        std::uint64_t nodes;
        std::int32_t score;
        std::vector<Move> moves;
        bool operator==(const Outcome&) const = default;
    };

    /// A search from a cold state.
    static Outcome Fresh(const char* fen, int depth) {
        CleanTables();
        ForgetGame();
        Setup(fen);
        Printed([&] { IterativeDeepening(depth, false); });
        return {Nodes, RootScores[0], MovesOfList()};
    }

    static void ExpectBoardUntouched(const std::string& fen) {
        EXPECT_EQ(WriteFen(0), fen);
        EXPECT_EQ(GamePly, RootGamePly);
        EXPECT_EQ(Ply, 0);
        EXPECT_TRUE(PositionIsConsistent());
    }
};

TEST_F(Driver, ASearchCanBeRepeated) {
    const Outcome first = Fresh(MIDDLE_GAME, 7);
    EXPECT_GT(first.nodes, 1000U);
    Fresh("8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -", 7);
    EXPECT_EQ(Fresh(MIDDLE_GAME, 7), first);
    MultiPV = 40;
    const Outcome lines = Fresh(MIDDLE_GAME, 4);
    MultiPV = 1000;
    EXPECT_EQ(Fresh(MIDDLE_GAME, 4), lines);
    EXPECT_TRUE(std::is_sorted(RootScores, RootScores + MoveCount, std::greater<>()));
}

TEST_F(Driver, DepthCountsIterations) {
    for (const int depth : {-3, 0, 1, 4}) {
        SearchesDone = 5;
        Fresh(MIDDLE_GAME, depth);
        EXPECT_EQ(Nodes == 0, depth < 1);
        EXPECT_EQ(SearchesDone, 1);
        if (depth > 0) {
            EXPECT_EQ(Iteration, depth - 1);
        }
        ExpectBoardUntouched(MIDDLE_GAME);
    }
    MultiPV = 2;
    Fresh(MIDDLE_GAME, 1);
    EXPECT_EQ(Nodes, 0U);
    Fresh(MIDDLE_GAME, 4);
    EXPECT_EQ(Iteration, 3);
    EXPECT_EQ(SearchesDone, 0);
}

TEST_F(Driver, AForcedMoveNeedsNoSearch) {
    Setup("7k/8/8/8/8/8/1r6/K7 w - -");
    Printed([] { EXPECT_EQ(IterativeDeepening(10, false), 0); });
    EXPECT_EQ(Nodes, 0U);
    EXPECT_EQ(TextOf(MoveList[0].Move), "a1b2");
    SearchMoves[0] = MoveList[0].Move;
    SearchMoveCount = 1;
    Printed([] { EXPECT_EQ(IterativeDeepening(10, false), 0); });
    EXPECT_GT(Nodes, 0U);
}

TEST_F(Driver, GameOverAtTheRoot) {
    for (const char* fen : {"7k/6Q1/6K1/8/8/8/8/8 b - -", "7k/8/6QK/8/8/8/8/8 b - -"}) {
        Setup(fen);
        for (const int lines : {1, 3}) {
            MultiPV = lines;
            EXPECT_EQ(IterativeDeepening(5, false), 1);
        }
    }
}

TEST_F(Driver, AMateEndsTheSearchUnlessALimitWantsMore) {
    const char* mateInTwo = "kbK5/pp6/1P6/8/8/8/8/R7 w - -";
    Fresh(mateInTwo, 30);
    EXPECT_EQ(RootScores[0], MATE_SCORE - 3);
    EXPECT_LT(Iteration, 10);
    MateDepth = 2;
    Fresh(mateInTwo, 30);
    EXPECT_EQ(TextOf(MoveList[0].Move), "a1a6");
    EXPECT_EQ((MATE_SCORE + 1 - RootScores[0]) >> 1, 2);
    EXPECT_EQ(Iteration, 29);
    MateDepth = 0;
    Fresh("K7/2k5/8/8/8/7P/8/1r6 w - -", 30);  // the other side mates
    EXPECT_EQ(RootScores[0], 2 - MATE_SCORE);
}

TEST_F(Driver, StartsWithEmptyCountersAndKillersFromTwoPliesOn) {
    for (int ply = 0; ply < PLY_RECORDS; ++ply) {
        PlyState[ply].Killer1[WHITE] = static_cast<Move>(ply);
        PlyState[ply].Killer2[BLACK] = static_cast<Move>(1000 + ply);
    }
    Nodes = TbHits = BookMovePlayed = PendingBestMove = 7;
    const std::uint16_t generation = TTGeneration;
    Printed([] { IterativeDeepening(0, false); });
    EXPECT_EQ(Nodes + TbHits + BookMovePlayed + PendingBestMove, 0U);
    EXPECT_EQ(TTGeneration, generation + 1);
    for (int ply = 0; ply < PLY_RECORDS; ++ply) {
        const Move from = static_cast<Move>(ply < 192 ? ply + 2 : ply);
        EXPECT_EQ(std::exchange(PlyState[ply].Killer1[WHITE], 0), from);
        EXPECT_EQ(std::exchange(PlyState[ply].Killer2[BLACK], 0), from + 1000);
    }
}

TEST_F(Driver, AnAbortedSearchLeavesALegalMoveAndTheBoard) {
    for (const int lines : {1, 3}) {
        for (const int limit : {1, 50, 400, 3000, 20000}) {
            MultiPV = lines;
            CleanTables();
            Setup(MIDDLE_GAME);
            thread_board.SearchAborted = 0;
            NodeLimit = limit;
            PollInterval = 1;
            Printed([] { EXPECT_EQ(IterativeDeepening(NO_DEPTH_LIMIT, false), 0); });
            EXPECT_EQ(thread_board.SearchAborted, 1);
            EXPECT_TRUE(IsLegalMove(MoveList[0].Move));
            EXPECT_EQ(MoveCount, RootMoveCount);
            ExpectBoardUntouched(MIDDLE_GAME);
        }
    }
}

using ThinkingCycle = EngineTest;

TEST_F(ThinkingCycle, AForcedReplyStillHearsTheTrueMove) {
    Setup("7k/8/8/8/8/8/2r5/K7 b - -");
    GenerateLegalMoves(INPUT_WINDOW);
    InputWindowEnd = MoveCount;
    const Move other = MoveFromText("h8h7");
    HintMove = MoveFromText("c2b2");  // leaves White one reply
    PlayMove(HintMove);
    PonderSearch = 1;
    PonderEnded = 0;
    Type("h8h7\n");
    Printed([] { EXPECT_EQ(IterativeDeepening(3, false), 0); });
    EXPECT_EQ(RootMoveCount, 1);
    EXPECT_EQ(PonderEnded, 1);
    EXPECT_EQ(ReceivedMove, other);
}

TEST_F(ThinkingCycle, WhatCannotBeSearchedIsRefused) {
    Setup("8/8/8/8/8/8/8/K7 w - -");
    const std::string refusal = Printed(Think);
    EXPECT_EQ(std::ranges::count(refusal, '\n'), 1);
    UciMode = 1;
    EXPECT_EQ(Printed(Think), "info string " + refusal + "bestmove 0000\n");
    SetupStartPosition();
    SearchMoves[0] = MoveFromText("e2e5");
    SearchMoveCount = 1;
    EXPECT_NE(Printed(Think).find("\nbestmove 0000\n"), std::string::npos);
    SearchMoveCount = 0;
    Setup("7k/6Q1/6K1/8/8/8/8/8 b - -");
    EXPECT_EQ(Printed(Think), "");
}

}  // namespace
