// The xboard protocol: moves answered, pondering, results, analysis.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "protocol/engine_test.h"

namespace {

using namespace std::chrono_literals;

class XboardProtocol : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        engine().Ask("sd 4");
        engine().ForgetTranscript();
    }

    void Load(const std::string& fen) { engine().Ask("loadfen " + fen); }
};

bool IsPostLine(const std::string& line) {
    return !line.empty() && line[0] >= '0' && line[0] <= '9' && line.find('{') == std::string::npos;
}

TEST_F(XboardProtocol, AnswersAMoveWithAMove) {
    engine().Send("e2e4");
    const Lines lines = engine().ExpectUpTo("move ");
    ASSERT_GE(lines.size(), 2U);
    EXPECT_TRUE(IsPostLine(lines[lines.size() - 2])) << Joined(lines);
    EXPECT_EQ(engine().Ask("e2e4"), Lines{"Illegal move: e2e4"});
    engine().Ask("remove");
    EXPECT_EQ(Board(),
              "*R*N*B*Q*K*B*N*R\n*P*P*P*P*P*P*P*P\n . . . . . . . .\n . . . . . . . .\n"
              " . . . . . . . .\n . . . . . . . .\n P P P P P P P P\n R N B Q K B N R\n");
}

// The final line comes even when thinking lines are switched off.
TEST_F(XboardProtocol, NoPostLeavesTheLastLine) {
    engine().Ask("nopost\nsd 6");
    engine().Send("e2e4");
    std::size_t shown = 0;
    for (const std::string& line : engine().ExpectUpTo("move ")) {
        shown += IsPostLine(line) ? 1 : 0;
    }
    EXPECT_EQ(shown, 1U);
}

TEST_F(XboardProtocol, ThinkingEndsByTimeAndByCommand) {
    engine().Ask("st 1\ntime 100\nlevel 40 5 0");
    engine().Send("e2e4");
    engine().Expect("move ");
    for (const char* command : {"?", "stop", "post", "nopost", "hard", "easy", "time 500", "result 1-0", "force"}) {
        engine().Ask("new\ntime -1");
        engine().Send("d2d4");
        engine().Overhear(60ms);
        engine().Send(command);
        EXPECT_NE(engine().Expect("move "), "move 0000") << command;
        engine().Ask("easy");
        engine().Overhear(20ms);
    }
    // force in the search holds for the next move.
    EXPECT_EQ(engine().Ask("a2a3"), Lines());
}

TEST_F(XboardProtocol, NewDuringASearchPlaysNothing) {
    engine().Ask("new");
    engine().Send("g1f3");
    engine().Overhear(60ms);
    engine().Ask("new\nforce");
    EXPECT_EQ(engine().CountLines("move "), 0U);
    EXPECT_NE(Board().find(" R N B Q K B N R\n"), std::string::npos);
}

TEST_F(XboardProtocol, TellsHowTheGameEnds) {
    struct Case {
        const char* fen;
        const char* text;
        bool plays_on;
    };
    const Case cases[] = {
        {"R5k1/5ppp/8/8/8/8/8/4K3 b - -", "1-0 {White mates}", false},
        {"4k3/8/8/8/8/8/5PPP/r5K1 w - -", "0-1 {Black mates}", false},
        {"k7/2Q5/8/8/8/8/8/4K3 b - -", "1/2-1/2 {Stalemate}", false},
        {"4k3/8/8/8/8/8/8/4KB2 w - -", "1/2-1/2 {Draw by insufficient material}", true},
        {"4k3/8/8/8/8/8/8/4K3 w - -", "1/2-1/2 {Draw by insufficient material}", true},
    };
    for (const Case& each : cases) {
        engine().Ask("new\nsd 3");
        Load(each.fen);
        engine().Send("go");
        EXPECT_EQ(engine().Expect(std::string_view(each.text, 3)), each.text);
        const Lines rest = engine().Overhear(150ms);
        EXPECT_EQ(!rest.empty(), each.plays_on) << Joined(rest);
    }
    EXPECT_EQ(engine().CountLines("1/2-1/2 {Draw by insufficient"), 2U);
}

// A claim on a position that is only assumed would be false, and forfeit the game.
TEST_F(XboardProtocol, AnnouncesNothingWhilePondering) {
    engine().Ask("new\nhard\nsd 3");
    Load("8/8/4k3/8/8/3KB3/8/8 w - -");
    engine().Send("go");
    const std::string hint = engine().ExpectUpTo("Hint: ").back().substr(6);
    engine().Overhear(50ms);
    EXPECT_EQ(engine().CountLines("1/2-1/2 {Draw by insufficient"), 1U);
    engine().Send(hint);
    const Lines answer = engine().ExpectUpTo("move ");
    EXPECT_NE(Joined(answer).find("1/2-1/2 {Draw by insufficient"), std::string::npos) << Joined(answer);
}

TEST_F(XboardProtocol, PonderCycle) {
    engine().Ask("new\nhard\nst 1\ntime 200");
    engine().Send("e2e4");
    engine().Expect("move ");
    const std::string hint = engine().Expect("Hint: ").substr(6);
    ASSERT_EQ(hint.size(), 4U);
    // The move assumed: the search goes on as the engine's own, and a new hint follows.
    engine().Overhear(50ms);
    engine().Send("time 100\n" + hint);
    engine().Expect("move ");
    const std::string next = engine().Expect("Hint: ").substr(6);
    // Another move: the assumed one is taken back and the search begins afresh.
    engine().Send("time 100\nh2h4");
    engine().Send("h2h3");
    const Lines lines = engine().ExpectUpTo("move ");
    EXPECT_EQ(Joined(lines).find("Illegal"), std::string::npos) << "after hint " << next;
    engine().Expect("Hint: ");
    // Illegal here: pondering ends, the game stands.
    engine().Send("e1e8");
    EXPECT_EQ(engine().Expect("Illegal"), "Illegal move: e1e8");
    EXPECT_EQ(engine().Ask("easy").size(), 0U);
}

TEST_F(XboardProtocol, PonderingEndsByCommandWithoutAMove) {
    for (const char* command : {"?", "stop", "new", "force", "easy", "post", "nopost", "result *"}) {
        engine().Ask("new\nhard\ntime 50");
        const std::size_t before = engine().CountLines("move ");
        engine().Send("d2d4");
        engine().Expect("Hint: ");
        engine().Ask(command);
        engine().Overhear(30ms);
        EXPECT_EQ(engine().CountLines("move "), before + 1) << command;
        engine().Ask("");
    }
}

TEST_F(XboardProtocol, AnalysisFollowsTheGame) {
    engine().Ask("new\nforce");
    engine().Send("analyze");
    engine().Overhear(100ms);
    engine().Send(".");
    engine().Expect("stat01: ");
    engine().Send("e2e4");
    engine().Overhear(60ms);
    engine().Send("e2e4");
    EXPECT_EQ(engine().Expect("Illegal"), "Illegal move: e2e4");
    // The search has been ended by that; the next line is read at rest.
    engine().Send(".");
    EXPECT_EQ(engine().Expect("stat01: 0"), "stat01: 0 0 0 0 0");
    engine().Overhear(60ms);
    engine().Send("undo");
    engine().Overhear(60ms);
    engine().Send("d2d4");
    engine().Overhear(60ms);
    engine().Ask("exit");
    EXPECT_EQ(Board().substr(7 * 17), " R N B Q K B N R\n");
    EXPECT_NE(Board().find(" P P P . P P P P\n"), std::string::npos);
}

TEST_F(XboardProtocol, AnalysisOfAFinishedGameReadsOn) {
    Load("R5k1/5ppp/8/8/8/8/8/4K3 b - -");
    engine().Send("analyze");
    engine().Expect("1-0 {White mates}");
    engine().Send(".");
    EXPECT_EQ(engine().Expect("stat01"), "stat01: 0 0 0 0 0");
    engine().Send("g8h8");
    EXPECT_EQ(engine().Expect("Illegal"), "Illegal move: g8h8");
    engine().Send("exit");
    engine().Expect("1-0 {White mates}");
    engine().Send("quit");
    EXPECT_EQ(EndOfProgram(), 0);
}

TEST_F(XboardProtocol, AMoveAtRestInAnalysisIsMade) {
    Load("7k/5Q2/8/8/8/8/8/K7 w - -");
    engine().Send("analyze");
    engine().Overhear(60ms);
    engine().Send("?");
    engine().Overhear(60ms);
    engine().Send("f7g6");
    engine().Expect("move maked...");
    engine().Expect("1/2-1/2 {Stalemate}");
    engine().Send("quit");
    EXPECT_EQ(EndOfProgram(), 0);
}

}  // namespace
