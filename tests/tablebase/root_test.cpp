// The filters of the root moves, and what the probes do without the tables that they need.
#include "movegen/legal_moves.h"
#include "position/move_text.h"
#include "support/tablebase_answers.h"
#include "support/tablebases.h"
#include "table_folder.h"
#include "tablebase/probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace {

const std::string DATA = QUORVANTH_TEST_DATA "/syzygy";

struct RootMove {
    Move move;
    std::int32_t givesCheck;
    bool operator==(const RootMove&) const = default;
};
using RootMoves = std::vector<RootMove>;

RootMoves ListedMoves() {
    RootMoves moves;
    for (int i = 0; i < MoveCount; ++i) {
        moves.push_back({MoveList[i].Move, RootGivesCheck[i]});
    }
    return moves;
}

/// The root list of the position on the board, as the drivers prepare it.
void ListRootMoves() {
    EnterForProbe();
    GenerateLegalMoves(0);
    for (int i = 0; i < MoveCount; ++i) {
        RootGivesCheck[i] = GivesCheck(MoveList[i].Move) ? 1 : 0;
    }
}

void PrepareRoot(const std::string& fen, int fifty = 0) {
    SetupFen(fen);
    thread_board.FiftyCounter = fifty;
    ListRootMoves();
}

/// WDL value of a move of the list, from the mover's side.
int ResultOf(const RootMove& root) {
    MakeMove(root.move, 1);
    EnterForProbe();
    std::int32_t success = 0;
    const int wdl = -ProbeWdl(success);
    EXPECT_GT(success, 0);
    UnmakeMove();
    return wdl;
}

using Filter = std::int32_t (*)(std::int32_t&);

/// With the fifty-move counter at 0 and no cursed wins the filters leave just the moves of the best result, in their
/// order. A loss that is far enough away is not counted: there the filter by distances leaves the longest ways only.
TEST(RootFilter, KeepsTheMovesOfTheBestResult) {
    const bool whole = ListSharedTables();
    if (!whole) {
        ListTables(DATA);
    }
    const auto answers = whole ? TablebaseAnswers() : TablebaseAnswers("", DATA + "/answers.csv");
    for (std::size_t n = 0; n < answers.size(); n += whole ? 37 : 1) {
        for (const Filter filter : {&RootProbeDtz, &RootProbeWdl}) {
            PrepareRoot(answers[n].fen);
            if (MoveCount == 0 || answers[n].dtz < -48) {
                continue;
            }
            RootMoves expected = ListedMoves();
            std::erase_if(expected, [&](const RootMove& root) { return ResultOf(root) != answers[n].wdl; });
            ListRootMoves();
            std::int32_t score = 0;
            ASSERT_EQ(filter(score), 1) << answers[n].fen;
            EXPECT_EQ(ListedMoves(), expected) << answers[n].fen;
            EXPECT_EQ(Ply, 1);
            EXPECT_EQ(score, answers[n].wdl * 31699 / 2) << answers[n].fen;
        }
    }
}

struct CounterCase {
    const char* fen;
    int fifty;
    bool repeated;
    int score;
    int low;  // of the distances whose moves are left, all of them
    int high;
    std::size_t count;
};

constexpr CounterCase ByCounter[] = {
    {"R6K/8/8/8/8/1k6/8/8 w - -", 0, false, 31699, 1, 99, 13},  // 25 plies to mate; a2 and the like lose the rook
    {"R6K/8/8/8/8/1k6/8/8 w - -", 70, false, 31699, 25, 29, 5},
    {"R6K/8/8/8/8/1k6/8/8 w - -", 70, true, 31699, 25, 25, 1},
    {"R6K/8/8/8/8/1k6/8/8 w - -", 75, false, 31699, 25, 25, 1},
    {"R6K/8/8/8/8/1k6/8/8 w - -", 76, false, 49, 25, 25, 1},
    {"8/8/8/8/8/k1K5/7R/8 w - -", 94, false, 31699, 3, 5, 12},
    {"k7/8/1K6/8/8/8/8/7R w - -", 99, false, 31699, 1, 1, 1},  // mate
    {"7K/8/8/8/8/1k6/8/R7 b - -", 39, false, -31699, -30, -28, 5},
    {"7K/8/8/8/8/1k6/8/R7 b - -", 40, false, -31699, -30, -30, 3},
    {"7K/8/8/8/8/1k6/8/R7 b - -", 71, false, -49, -30, -30, 3},
    {"8/8/8/8/8/1k6/8/K6R w - -", 0, false, 31699, 1, 99, 14},
    {"8/8/8/8/8/1k6/8/K2N4 w - -", 50, false, 0, 0, 0, 5},
};

/// Undone by the fifty-move rule whatever the counter says.
constexpr CounterCase Cursed[] = {
    {"1k6/8/8/KB6/6R1/8/7r/8 w - -", 0, false, 2, 106, 106, 1},
    {"8/4r3/1BR5/8/k1K5/8/8/8 b - -", 0, false, -2, -102, -102, 1},
};

void PrepareCase(const CounterCase& test) {
    SetupFen(test.fen);
    for (const char* const text : {"h8h7", "b3b2", "h7h8", "b2b3"}) {
        if (test.repeated) {
            MakeMove(MoveFromText(text), 1);
        }
    }
    thread_board.FiftyCounter = test.fifty;
    ListRootMoves();
}

/// From the mover's side; mate is at 1.
int DistanceOf(const RootMove& root) {
    MakeMove(root.move, 1);
    EnterForProbe();
    std::int32_t success = 0;
    const int after = -ProbeDtz(success);
    EXPECT_GT(success, 0);
    GenerateLegalMoves(0);
    const bool mates = PlyState[0].InCheck != 0 && MoveCount == 0;
    UnmakeMove();
    return mates ? 1 : after + (after > 0) - (after < 0);
}

void ExpectRange(const CounterCase& test) {
    SCOPED_TRACE(std::string(test.fen) + " " + std::to_string(test.fifty));
    PrepareCase(test);
    std::vector<std::pair<Move, int>> expected;
    for (const RootMove& root : ListedMoves()) {
        const int distance = DistanceOf(root);
        if (distance >= test.low && distance <= test.high) {
            expected.emplace_back(root.move, distance);
        }
    }
    PrepareCase(test);
    std::int32_t score = 0;
    ASSERT_EQ(RootProbeDtz(score), 1);
    EXPECT_EQ(score, test.score);
    std::vector<std::pair<Move, int>> kept;
    for (int i = 0; i < MoveCount; ++i) {
        kept.emplace_back(MoveList[i].Move, RootScores[i]);
    }
    EXPECT_EQ(kept, expected);
    EXPECT_EQ(kept.size(), test.count);
}

TEST(RootFilter, CountsTheFiftyMovesAndRepetitions) {
    ListTables(DATA);
    for (const CounterCase& test : ByCounter) {
        ExpectRange(test);
    }
    if (ListSharedTables()) {
        for (const CounterCase& test : Cursed) {
            ExpectRange(test);
        }
    }
}

/// Only what the search was asked to look at, and the tables have a better move: nothing is left out.
TEST(RootFilter, LeavesAListThatThrowsTheResultAway) {
    ListTables(DATA);
    PrepareRoot("R6K/8/8/8/8/1k6/8/8 w - -");
    const RootMoves all = ListedMoves();
    RootMoves draws = all;
    std::erase_if(draws, [](const RootMove& root) { return ResultOf(root) != 0; });
    ASSERT_EQ(draws.size(), 3u);
    ListRootMoves();
    MoveCount = 3;
    for (int i = 0; i < MoveCount; ++i) {
        MoveList[i].Move = draws[static_cast<std::size_t>(i)].move;
        RootGivesCheck[i] = draws[static_cast<std::size_t>(i)].givesCheck;
    }
    std::int32_t score = 0;
    EXPECT_EQ(RootProbeDtz(score), 0);
    EXPECT_EQ(ListedMoves(), draws);
    Ply = 0;
    EXPECT_EQ(RootProbeWdl(score), 1);
    EXPECT_EQ(ListedMoves(), draws);
}

struct MissingCase {
    std::vector<std::string> files;
    const char* fen;
    std::int32_t wdlSuccess;
    std::int32_t dtzSuccess;
    bool dtzFilter;
    bool wdlFilter;
};

TEST(Probe, FailsWithoutATableThatItNeeds) {
    const MissingCase cases[] = {
        {{"KRvK.rtbw"}, "R6K/8/8/8/8/1k6/8/8 w - -", PROBE_DONE, PROBE_FAILED, false, true},
        {{"KRvK.rtbz"}, "R6K/8/8/8/8/1k6/8/8 w - -", PROBE_FAILED, PROBE_FAILED, false, false},
        // A bishop's capture of the rook asks for bare kings and a bishop.
        {{"KRvKB.rtbw", "KRvKB.rtbz"}, "8/8/8/8/1b6/1k6/3R4/7K b - -", PROBE_FAILED, PROBE_FAILED, false, false},
        {{"KRvKB.rtbw", "KRvKB.rtbz", "KBvK.rtbw"},
         "8/8/8/8/1b6/1k6/3R4/7K b - -",
         PROBE_DONE,
         PROBE_DONE,
         false,
         false},
        // The rook takes the bishop, and no distance is asked for; other moves win as well, and theirs is.
        {{"KRvKB.rtbw", "KRvK.rtbw", "KBvK.rtbw"},
         "8/b7/8/R7/2K5/8/8/1k6 w - -",
         PROBE_WINNING_CAPTURE,
         PROBE_WINNING_CAPTURE,
         false,
         true},
    };
    for (const MissingCase& test : cases) {
        SCOPED_TRACE(test.files.front() + " " + test.fen);
        const TableFolder folder;
        for (const std::string& file : test.files) {
            folder.Write(file, ReadAll(DATA + "/" + file));
        }
        ListTables(folder.Path());
        PrepareRoot(test.fen);
        const RootMoves all = ListedMoves();
        const ProbeState before;
        std::int32_t success = 0;
        ProbeWdl(success);
        EXPECT_EQ(success, test.wdlSuccess);
        ProbeDtz(success);
        EXPECT_EQ(success, test.dtzSuccess);
        EXPECT_TRUE(before == ProbeState());
        std::int32_t score = 0;
        EXPECT_EQ(RootProbeDtz(score), test.dtzFilter);
        EXPECT_EQ(ListedMoves(), all);
        Ply = 0;
        EXPECT_EQ(RootProbeWdl(score), test.wdlFilter);
    }
}

}  // namespace
