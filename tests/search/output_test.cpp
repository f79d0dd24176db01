// The texts of thinking lines, and when they are held back.
#include <cstring>
#include <sstream>
#include <string>

#include "movegen/legal_moves.h"
#include "search/think.h"
#include "search/thinking_output.h"
#include "support/engine_fixture.h"

namespace {

class Output : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        UciMode = 1;
        MoveList[0].Move = MoveFromText("g1f3");
        MoveCount = 1;
        RootMoveIndex = 0;
        RootGamePly = GamePly;
        Iteration = 4;
        SelDepth = 9;
        RootScores[0] = 0;
        Nodes = 0;
        TbHits = HashFullCount = 0;
        PollInterval = 5000;
        SearchStart = ClockCentiseconds() + 1000;  // no time has passed yet
    }

    static bool Says(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }
};

TEST_F(Output, ScoresAndBounds) {
    struct Case {
        int score, mateDepth, bound;
        const char* uci;
        const char* post;
    };
    const Case cases[] = {
        {35, 0, 3, " score cp 35 nodes ", "5 35 "},
        {-31000, 0, 1, " score cp -31000 upperbound nodes ", "5 -31000 "},
        {31000, 0, 2, " score cp 31000 lowerbound nodes ", "5 31000 "},
        {32699, 0, 3, " score mate 1 nodes ", "5 32766 "},
        {-32698, 0, 3, " score mate -1 nodes ", "5 -32765 "},
        {31001, 0, 3, " score mate 850 nodes ", "5 31068 "},
        {-32696, 0, 1, " score mate -2 upperbound nodes ", "5 -32763 "},
        {32695, 3, 3, " score mate 3 nodes ", "5 32762 "},
        {32697, 3, 3, " score cp 0 nodes ", "5 32764 "},
        {120, 3, 3, " score cp 0 nodes ", "5 120 "},
    };
    for (const Case& each : cases) {
        RootScores[0] = each.score;
        MateDepth = each.mateDepth;
        const std::string uci = Printed([&] { ReportUci(true, each.bound, true); });
        EXPECT_TRUE(Says(uci, each.uci)) << uci;
        EXPECT_TRUE(uci.starts_with("info depth 5 seldepth 9 score ")) << uci;
        EXPECT_TRUE(uci.ends_with(" hashfull 0 nps 0 tbhits 0 pv g1f3\n")) << uci;
        const std::string post = Printed(ReportFinalPost);
        EXPECT_TRUE(post.starts_with(each.post)) << post;
        EXPECT_TRUE(post.ends_with(" 0 g1f3\n")) << post;
    }
}

TEST_F(Output, CountsAreWholeAndRatesFollow) {
    Nodes = 6'000'000'000;
    TbHits = 5'000'000'000;
    HashFullCount = TABLE_ENTRIES / 4;
    SearchStart = ClockCentiseconds() - 100000;
    const std::string line = Printed([] { ReportUci(true, 3, false); });
    EXPECT_TRUE(Says(line, " nodes 6000000000 time 1000")) << line;
    EXPECT_TRUE(Says(line, " hashfull 250 nps 5999") || Says(line, " hashfull 250 nps 6000000 ")) << line;
    EXPECT_TRUE(line.ends_with(" tbhits 5000000000 currmove g1f3 currmovenumber 1\n")) << line;
    EXPECT_EQ(InfoCountdown, 20);
    FreeTransposition();
    TranspositionSize = 0;
    EXPECT_TRUE(Says(Printed(ReportNps), " tbhits 5000000000 hashfull 0\n"));
}

TEST_F(Output, EarlyLinesAreHeldBack) {
    const auto uci = [] { return !Printed([] { ReportUci(false, 3, true); }).empty(); };
    const auto post = [] { return !Printed([] { ReportPost(false); }).empty(); };
    const auto multi = [] { return !Printed([] { ReportMultiPv(0, 3); }).empty(); };
    const auto nps = [] { return !Printed(ReportNps).empty(); };
    PostThinking = 1;
    MultiPV = 2;
    Iteration = 1;
    EXPECT_TRUE(uci() && post() && multi() && nps());  // nothing searched yet
    Nodes = 30000;
    EXPECT_FALSE(uci() || post() || multi() || nps());
    Iteration = 2;
    EXPECT_TRUE(uci() && post());
    Iteration = 1;
    Nodes = 60000;
    EXPECT_FALSE(uci());  // 30000 since the last line
    Nodes = 60001;
    EXPECT_TRUE(uci());
    EXPECT_FALSE(post());
    EXPECT_TRUE(multi());
    Nodes = 100001;
    EXPECT_TRUE(post());
    Nodes = 200000;
    EXPECT_FALSE(nps());
    Nodes = 200001;
    EXPECT_TRUE(nps());
    PostThinking = 0;
    EXPECT_FALSE(post());
    EXPECT_FALSE(Printed(ReportFinalPost).empty());
}

TEST_F(Output, EveryLineOfMultiPv) {
    MultiPV = 3;
    MoveList[1].Move = MoveFromText("e2e4");
    RootScores[1] = -32696;
    MoveCount = 2;
    const std::string text = Printed([] { ReportMultiPv(1, 2); });
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    EXPECT_TRUE(line.starts_with("info multipv 1 depth 5 seldepth 9 score cp 0 nodes 0 ")) << line;
    EXPECT_TRUE(line.ends_with(" currmove g1f3 currmovenumber 1 pv g1f3")) << line;
    std::getline(lines, line);
    EXPECT_TRUE(line.starts_with("info multipv 2 depth 5 seldepth 9 score mate -2 lowerbound nodes 0 ")) << line;
    EXPECT_TRUE(line.ends_with(" pv e2e4")) << line;
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Output, TheLineIsPlayableAndLeavesThePosition) {
    Setup("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -");
    Printed([] { IterativeDeepening(6, false); });
    PonderMove = 0;
    const ThreadBoard before = thread_board;
    const std::string line = Printed([] { PrintPv(0); });
    EXPECT_EQ(std::memcmp(&before, &thread_board, sizeof before), 0);
    EXPECT_EQ(GamePly, RootGamePly);

    // The same line from inside the root loop, with another root move on the board.
    const Move other = MoveList[3].Move;
    MakeMove(other, 1);
    const ThreadBoard inside = thread_board;
    EXPECT_EQ(Printed([] { PrintPv(0); }), line);
    EXPECT_EQ(std::memcmp(&inside, &thread_board, sizeof inside), 0);
    EXPECT_EQ(GameHistory[RootGamePly].move, other);
    UnmakeMove();

    std::istringstream words(line);
    int count = 0;
    for (std::string word; words >> word; ++count) {
        const Move move = MoveFromText(word);
        ASSERT_TRUE(IsLegalMove(move)) << line;
        EXPECT_TRUE(count != 0 || move == MoveList[0].Move);
        EXPECT_TRUE(count != 1 || move == PonderMove);
        PlyState[0].InCheck = 0;
        MakeMove(move, 1);
    }
    EXPECT_GE(count, 2);
    EXPECT_LE(count, 20);
}

TEST_F(Output, ACycleInTheTableEndsAfterTwentyMoves) {
    const char* cycle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (const char* text : cycle) {
        TTStore(40, MoveFromText(text), 0, BOUND_EXACT, false, 0, 1);
        Play(text);
    }
    PlaceStartPosition();
    RootGamePly = 0;
    const std::string line = Printed([] { PrintPv(0); });
    EXPECT_EQ(line.size(), 20 * 5U) << line;
    EXPECT_EQ(GamePly, 0);
    MoveList[0].Move = 0;
    EXPECT_EQ(Printed([] { PrintPv(0); }), " 0000");
}

}  // namespace
