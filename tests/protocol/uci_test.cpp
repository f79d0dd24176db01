// The UCI protocol, as a front end sees it.
#include <gtest/gtest.h>

#include <chrono>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "protocol/engine_test.h"

namespace {

using namespace std::chrono_literals;

class UciProtocol : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        engine().Ask("uci");
        engine().ForgetTranscript();
    }

    /// The best move of a search that ends by itself.
    std::string BestMove(const std::string& go) {
        engine().Send(go);
        const std::string line = engine().Expect("bestmove ");
        return line.substr(9, line.find(' ', 9) - 9);
    }

    std::string LastInfo() const {
        for (auto line = engine().Transcript().rbegin(); line != engine().Transcript().rend(); ++line) {
            if (line->starts_with("info depth ")) {
                return *line;
            }
        }
        return "";
    }
};

TEST_F(UciProtocol, IntroducesItselfByTheLetter) {
    engine().Ask("setoption name Aggressivity value 130\nsetoption name defensivity value 70");
    const Lines expected = {
        "id name Quorvanth 1.97",
        "id author Orvikan",
        "option name Hash type spin min 0 max 1024 default 10",
        "option name PawnHash type spin min 0 max 1024 default 7",
        "option name SyzygyPath type string default c:\\tablebases\\",
        "option name OpeningsBook type string default .\\book.qvn",
        "option name OwnBook type check default true",
        "option name MultiPV type spin min 1 max 1024 default 1",
        "option name Aggressivity type spin min 0 max 300 default 130",
        "option name Defensivity type spin min 0 max 300 default 70",
        "option name Clear Hash type button",
        "uciok",
    };
    EXPECT_EQ(engine().Ask("UCI"), expected);
    engine().Ask("setoption name Aggressivity value 100\nsetoption name Defensivity value 100");
}

TEST_F(UciProtocol, OptionsAreSetWithoutAWord) {
    for (const char* line :
         {"setoption name Clear Hash", "setoption name Hash value 16", "setoption name PawnHash value 2",
          "setoption name MultiPV value 1", "setoption name OwnBook value false", "setoption name Nonsense value 3",
          "setoption", "setoption name", "setoption name Hash", "setoption name Hash value", "setoption name Clear",
          "ucinewgame", "debug on", "position", "ponderhit", "stop"}) {
        EXPECT_EQ(engine().Ask(line), Lines()) << line;
    }
}

// A path may hold blanks, and a carriage return behind it is none of it.
TEST_F(UciProtocol, OptionsThatNameFilesTellWhatIsThere) {
    EXPECT_EQ(engine().Ask("setoption name SyzygyPath value /nowhere at all"),
              Lines{"info string Found 0 tablebases."});
    engine().WriteFile("my book.qvn", std::string("~Quorvanth openings book\1").append(11, '\0'));
    EXPECT_EQ(engine().Ask("setoption name OpeningsBook value my book.qvn\r"), Lines{"0 nodes in openings book"});
    EXPECT_EQ(engine().Ask("bkm").back(), "No moves from current pos in book");
    EXPECT_EQ(engine().Ask("setoption name OpeningsBook value gone"), Lines{"Error opening \"gone\"!"});
    EXPECT_EQ(engine().Ask("bkm").back(), "No book loaded...");
}

TEST_F(UciProtocol, EveryLimitEndsASearch) {
    engine().Ask("position startpos");
    BestMove("go depth 3");
    EXPECT_TRUE(LastInfo().starts_with("info depth 3 ")) << LastInfo();
    EXPECT_NE(BestMove("go nodes 1000"), "0000");
    for (const char* go :
         {"go wtime 300 btime 300", "go wtime 1000 btime 1000 winc 20 binc 20 movestogo 10",
          "go wtime 100000 btime 100000 movetime 50", "go wtime 0 btime 0", "go wtime -100 btime -100",
          "go wtime -15 btime -15", "go movestogo 5", "go wtime 99999999999 btime 1 movetime 20", "go movetime 30"}) {
        engine().Ask("position startpos");
        EXPECT_NE(BestMove(go), "0000") << go;
    }
}

// Without a clock a movetime is not looked at, and with one the depth is not.
TEST_F(UciProtocol, ClockAndDepthDoNotMix) {
    engine().Send("go movetime 1");
    for (const std::string& line : engine().Overhear(300ms)) {
        EXPECT_FALSE(line.starts_with("bestmove")) << line;
    }
    engine().Send("stop");
    engine().Expect("bestmove ");
    engine().Ask("position startpos");
    BestMove("go wtime 2000 btime 2000 depth 1");
    EXPECT_FALSE(LastInfo().starts_with("info depth 1 ")) << LastInfo();
}

TEST_F(UciProtocol, SearchMovesRestrictTheRoot) {
    engine().Ask("position startpos");
    EXPECT_EQ(BestMove("go depth 4 searchmoves a2a3"), "a2a3");
    engine().Ask("position startpos");
    const std::string few = BestMove("go depth 4 searchmoves h2h3 junk a2a3 e2e5");
    EXPECT_TRUE(few == "h2h3" || few == "a2a3") << few;
    engine().Ask("position startpos");
    const std::string best = BestMove("go depth 4");
    EXPECT_TRUE(best != "h2h3" && best != "a2a3");
}

TEST_F(UciProtocol, MatesAreFoundAndShown) {
    engine().Ask("position fen 6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1");
    EXPECT_EQ(BestMove("go depth 6"), "a1a8");
    EXPECT_NE(LastInfo().find(" score mate 1 "), std::string::npos) << LastInfo();
    engine().Ask("position fen 7k/8/5K2/8/8/8/8/6Q1 w - - 0 1");
    BestMove("go mate 1 depth 5");
    EXPECT_NE(LastInfo().find(" score mate 1 "), std::string::npos) << LastInfo();
    // Promotion, castling and en passant as text.
    engine().Ask("position fen 8/P6k/8/8/8/8/8/K7 w - - 0 1");
    EXPECT_EQ(BestMove("go depth 6"), "a7a8q");
    engine().Ask("position fen 4k3/8/8/8/8/8/5PPP/4K2R w K - 0 1");
    EXPECT_EQ(BestMove("go depth 3 searchmoves e1g1"), "e1g1");
    engine().Ask("position fen 4k3/8/8/3Pp3/8/8/8/4K3 w - e6 0 1");
    EXPECT_EQ(BestMove("go depth 3 searchmoves d5e6"), "d5e6");
}

TEST_F(UciProtocol, StopEndsWhatHasNoEnd) {
    for (const char* go : {"go infinite", "go ponder wtime 100 btime 100", "go", "go mate 50"}) {
        engine().Ask("position startpos");
        engine().Send(go);
        engine().Overhear(100ms);
        // Both lines in one write: the search answers the first and ends by the second.
        engine().SendRaw("isready\nstop\n");
        engine().Expect("readyok");
        const std::string best = engine().Expect("bestmove ");
        EXPECT_NE(best, "bestmove 0000") << go;
        // At the prompt it is told again, without the move to ponder.
        EXPECT_EQ(engine().Ask("stop"), Lines{best.substr(0, best.find(' ', 9))});
        engine().Ask("go wtime 100 btime 100");  // infinite stays in force until a clock comes
    }
}

TEST_F(UciProtocol, PonderHitTurnsTheSearchIntoAnOrdinaryOne) {
    engine().Ask("position startpos moves e2e4");
    engine().Send("go ponder wtime 400 btime 400");
    EXPECT_EQ(engine().CountLines("bestmove"), 0U);
    engine().Overhear(300ms);
    EXPECT_EQ(engine().CountLines("bestmove"), 0U);
    engine().Send("ponderhit");
    engine().Expect("bestmove ");

    // A mate found, and a forced move: nothing left to do, and still no word before the hit.
    for (const char* position :
         {"position fen 6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1", "position fen 7k/6pp/8/8/8/8/8/K5qr w - - 0 1"}) {
        engine().Ask(position);
        const std::size_t said = engine().CountLines("bestmove");
        engine().Send("go ponder wtime 1000 btime 1000");
        engine().Overhear(300ms);
        EXPECT_EQ(engine().CountLines("bestmove"), said) << position;
        engine().Send("ponderhit");
        engine().Expect("bestmove ");
    }
}

// A command other than stop and ponderhit that ends a ponder search leaves the answer owing.
TEST_F(UciProtocol, PonderHitAtThePromptPaysWhatIsOwed) {
    engine().Ask("position startpos");
    engine().Send("go ponder wtime 10000 btime 10000");
    engine().Overhear(100ms);
    engine().Ask("force");
    EXPECT_EQ(engine().CountLines("bestmove"), 0U);
    const Lines hit = engine().Ask("ponderhit");
    ASSERT_EQ(hit.size(), 1U);
    EXPECT_TRUE(hit[0].starts_with("bestmove "));
    EXPECT_EQ(engine().Ask("ponderhit"), Lines());
    EXPECT_EQ(engine().Ask("stop"), Lines{hit[0].substr(0, hit[0].find(' ', 9))});
    EXPECT_EQ(engine().Ask("position startpos\nstop"), Lines());
}

TEST_F(UciProtocol, ADotShowsTheStateAndChangesNothing) {
    engine().Ask("position startpos");
    engine().Send("go infinite");
    engine().Overhear(200ms);
    engine().Send(".");
    std::istringstream line(engine().Expect("stat01: "));
    const std::vector<std::string> words(std::istream_iterator<std::string>(line), {});
    ASSERT_EQ(words.size(), 7U);
    EXPECT_EQ(words[5], "21");  // the moves of the start position and one
    engine().Send("junk\n\notim 5\nunknown");
    engine().Overhear(100ms);
    engine().Send("stop");
    engine().Expect("bestmove ");
}

TEST_F(UciProtocol, AGameThatIsOverGetsNoAnswer) {
    for (const char* position : {"position fen R5k1/5ppp/8/8/8/8/8/4K3 b - - 0 1",  // mated
                                 "position fen k7/2Q5/8/8/8/8/8/4K3 b - - 0 1"}) {  // stalemated
        engine().Ask(position);
        EXPECT_EQ(engine().Ask("go depth 3"), Lines()) << position;
    }
    // Draws are not announced either, and the engine plays on.
    engine().Ask("position fen 4k3/8/8/8/8/8/8/4K2B w - - 0 1");
    engine().Send("go depth 3");
    const Lines lines = engine().ExpectUpTo("bestmove ");
    EXPECT_EQ(Joined(lines).find("1/2"), std::string::npos);
}

TEST_F(UciProtocol, QuitDuringASearchEndsTheProcess) {
    engine().Ask("position startpos");
    engine().Send("go infinite");
    engine().Overhear(100ms);
    engine().Send("quit");
    EXPECT_EQ(EndOfProgram(), 0);
    EXPECT_EQ(ended->CountLines("bestmove"), 0U);
}

}  // namespace
