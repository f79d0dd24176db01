// The budget of a move and the decisions of the poll.
#include "search/clock.h"

#include <cstdlib>

#include "eval/material_table.h"
#include "support/engine_fixture.h"

namespace {

class Budget : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        factor_ = Factor();
    }
    void TearDown() override {
        Factor() = factor_;
        GamePly = DroppedPlies = 0;
        EngineTest::TearDown();
    }
    static std::int16_t& Factor() { return MaterialTable[thread_board.MaterialIndex].time_factor; }

  private:
    std::int16_t factor_ = 256;
};

TEST_F(Budget, FollowsTheClock) {
    struct Case {
        const char* what;
        int uci, timeLeft, increment, moves, moveTime, gamePly, dropped, factor;
        int soft, hard, interval;
    };
    const Case cases[] = {
        {"sudden death at move 1", 1, 1000, 0, 0, 0, 0, 0, 256, 20, 140, 5000},
        {"material that wants time", 1, 1000, 0, 0, 0, 0, 0, 512, 31, 217, 5000},
        {"5 s and 0.05 s", 1, 500, 5, 0, 0, 0, 0, 256, 14, 98, 5000},
        {"30 moves at length 39", 1, 30000, 0, 0, 0, 38, 0, 256, 948, 6636, 50000},
        {"26 moves at length 100", 1, 30000, 0, 0, 0, 99, 0, 256, 1096, 7672, 50000},
        {"dropped half-moves count", 1, 30000, 0, 0, 0, 19, 80, 256, 1096, 7672, 50000},
        {"uci: moves to go, at most 30", 1, 6000, 0, 40, 0, 0, 0, 512, 189, 1323, 20000},
        {"uci: one move to go", 1, 1000, 0, 1, 0, 0, 0, 256, 949, 316, 50000},
        {"xboard: first period", 0, 6000, 0, 40, 0, 60, 0, 512, 569, 1899, 50000},
        {"xboard: move 46 of 80", 0, 6000, 0, 40, 0, 90, 0, 512, 189, 1323, 20000},
        {"xboard: the same with a shifted history", 0, 6000, 0, 40, 0, 10, 80, 512, 189, 1323, 20000},
        {"xboard: the last move of a period", 0, 600, 0, 40, 0, 78, 0, 512, 569, 189, 50000},
        {"a fixed time", 1, 100, 0, 0, 50, 0, 0, 256, 50, 50, 5000},
        {"a clock that has run out", 1, 0, 0, 0, 0, 0, 0, 256, 1, 0, 5000},
        {"a clock below zero", 1, -5000, 0, 1, 0, 0, 0, 256, 1, -33257, 5000},
    };
    for (const Case& each : cases) {
        UciMode = each.uci;
        TimeLeft = each.timeLeft;
        TimeIncrement = each.increment;
        MovesPerPeriod = each.moves;
        MoveTime = each.moveTime;
        GamePly = each.gamePly;
        DroppedPlies = each.dropped;
        Factor() = static_cast<std::int16_t>(each.factor);
        ComputeBudget();
        EXPECT_EQ(SoftLimit, each.soft) << each.what;
        EXPECT_EQ(HardLimit, each.hard) << each.what;
        EXPECT_EQ(PollInterval, each.interval) << each.what;
    }
}

TEST_F(Budget, InfiniteTimeAndSenselessSettingsStayInRange) {
    TimeLeft = INFINITE_TIME;
    ComputeBudget();
    EXPECT_GT(SoftLimit, UNLIMITED_TIME);
    EXPECT_GT(HardLimit, SoftLimit);
    for (const int uci : {0, 1}) {
        for (const int moves : {-2147483647, -1, 1, 2147483647}) {
            for (const int increment : {-2147483647, 2147483647}) {
                UciMode = uci;
                TimeLeft = 2147483647;
                MovesPerPeriod = moves;
                TimeIncrement = increment;
                ComputeBudget();
                EXPECT_GE(SoftLimit, 1);
            }
        }
    }
}

/// A running search in UCI mode with 100 centiseconds to aim at and 500 to keep.
class Poll : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        UciMode = 1;
        TimeLeft = 10000;
        SoftLimit = 100;
        HardLimit = 500;
        PollInterval = 5000;
        InfoCountdown = 1000;
        IterationLimit = TIMED_SEARCH;
        Nodes = 1000;
        FirstMoveDone = 0;
        EasyMove = 0;
        MoveList[0].Move = MoveFromText("e2e4");
        RootScores[0] = 0;
        EngineSide = WHITE;
        PrevRootSide = WHITE;
        PrevRootScore = 0;
        SearchesDone = 1;
    }

    static bool StopsAfter(int centiseconds, bool atIterationStart = false) {
        SearchStart = ClockCentiseconds() - centiseconds;
        return PollInput(atIterationStart);
    }

    /// The search goes on shortly before `centiseconds` and stops shortly after.
    static void ExpectLimit(int centiseconds, const char* what) {
        EXPECT_FALSE(StopsAfter(centiseconds - 15)) << what;
        EXPECT_TRUE(StopsAfter(centiseconds + 2)) << what;
    }
};

TEST_F(Poll, TheTrendOfTheScoreStretchesTheTime) {
    struct Case {
        const char* what;
        int previous, score, searches, limit;
    };
    const Case cases[] = {
        {"level", 0, 0, 1, 100},
        {"a little worse", 20, 0, 1, 100},
        {"worse", 21, 0, 1, 250},
        {"still worse", 60, 0, 1, 250},
        {"falling, up to the hard limit", 61, 0, 1, 500},
        {"falling in the first search", 61, 0, 0, 400},
        {"a little better", 0, 25, 1, 100},
        {"better out of balance", 0, 26, 1, 200},
        {"better from the edge of balance", 119, 145, 1, 200},
        {"better from the other edge", -9, 17, 1, 200},
        {"better when winning", 120, 150, 1, 100},
        {"better when losing", -10, 50, 1, 100},
    };
    for (const Case& each : cases) {
        PrevRootScore = each.previous;
        RootScores[0] = each.score;
        SearchesDone = each.searches;
        PrevRootSide = WHITE;
        ExpectLimit(each.limit, each.what);
        PrevRootSide = BLACK;  // the same score as the other side saw it
        PrevRootScore = -each.previous;
        ExpectLimit(each.limit, each.what);
    }
}

TEST_F(Poll, PlaceInTheIterationCounts) {
    ExpectLimit(100, "in the first move");
    EXPECT_FALSE(StopsAfter(50, true));
    EXPECT_TRUE(StopsAfter(62, true));
    FirstMoveDone = 1;
    ExpectLimit(167, "between root moves");
    RootInTablebase = 1;
    ExpectLimit(100, "in a tablebase position");
    RootInTablebase = 0;
    EasyMove = MoveList[0].Move;
    ExpectLimit(33, "an easy recapture");
    MoveList[0].Move = MoveFromText("d2d4");
    EXPECT_FALSE(StopsAfter(120));
    EXPECT_EQ(EasyMove, 0U);
    MoveList[0].Move = MoveFromText("e2e4");
    ExpectLimit(167, "easy no more");
}

TEST_F(Poll, OnlyATimedSearchLooksAtTheClock) {
    PollCountdown = -1;
    IterationLimit = 5;
    EXPECT_FALSE(StopsAfter(10000));
    EXPECT_EQ(PollCountdown, PollInterval);
    IterationLimit = TIMED_SEARCH;
    UciPonder = 1;
    EXPECT_FALSE(StopsAfter(10000));
    UciPonder = 0;
    UciMode = 0;
    PonderSearch = 1;
    EXPECT_FALSE(StopsAfter(10000));
    HintSearch = 1;
    EXPECT_FALSE(StopsAfter(90));
    EXPECT_TRUE(StopsAfter(102));
    EXPECT_EQ(HintSearch, 0);
    PonderSearch = 0;
    EXPECT_TRUE(StopsAfter(10000));
    IterationLimit = 5;
    EXPECT_FALSE(StopsAfter(10000));
    NodeLimit = 1001;
    EXPECT_FALSE(StopsAfter(0));
    NodeLimit = 1000;
    EXPECT_TRUE(StopsAfter(0));
}

TEST_F(Poll, ClosedInputStopsWhatNothingElseWould) {
    struct Case {
        const char* what;
        int timeLeft, moveTime, iterationLimit, nodeLimit, mateDepth, uciPonder, ponderSearch;
        bool stops;
    };
    const Case cases[] = {
        {"a clock", 10000, 0, TIMED_SEARCH, 0, 0, 0, 0, false},
        {"infinite", INFINITE_TIME, 0, TIMED_SEARCH, 0, 0, 0, 0, true},
        {"infinite for a fixed time", INFINITE_TIME, 100, TIMED_SEARCH, 0, 0, 0, 0, false},
        {"infinite to a node count", INFINITE_TIME, 0, TIMED_SEARCH, 5000, 0, 0, 0, false},
        {"a depth", NO_CLOCK, 0, 12, 0, 0, 0, 0, false},
        {"no clock and no depth", NO_CLOCK, 0, NO_DEPTH_LIMIT, 0, 0, 0, 0, true},
        {"analysis", NO_CLOCK, 0, 100, 0, 0, 0, 0, true},
        {"a mate", NO_CLOCK, 0, NO_DEPTH_LIMIT, 0, 3, 0, 0, true},
        {"ponder with a clock", 10000, 0, TIMED_SEARCH, 0, 0, 1, 0, true},
        {"xboard ponder", 10000, 0, TIMED_SEARCH, 0, 0, 0, 1, true},
    };
    for (const Case& each : cases) {
        const auto pollClosed = [&] {
            CloseInput();
            TimeLeft = each.timeLeft;
            MoveTime = each.moveTime;
            IterationLimit = each.iterationLimit;
            NodeLimit = each.nodeLimit;
            MateDepth = each.mateDepth;
            UciPonder = each.uciPonder;
            PonderSearch = each.ponderSearch;
            PonderEnded = 0;
            const bool stopped = PollInput(false);
            const bool released = UciPonder == 0 && PonderEnded == each.ponderSearch;
            std::_Exit(stopped == each.stops && released && (thread_board.SearchAborted != 0) == each.stops ? 0 : 1);
        };
        // In a process of its own: an input that has closed stays so.
        EXPECT_EXIT(pollClosed(), testing::ExitedWithCode(0), "") << each.what;
    }
}

}  // namespace
