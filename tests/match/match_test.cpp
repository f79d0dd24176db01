// Whole matches by the real program, with the real engine and with engines that misbehave.

#include "match/openings.h"
#include "support/files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <sstream>
#include <thread>

namespace {

std::size_t CountOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

class MatchProgram : public testing::Test {
  protected:
    std::string Path(const std::string& name) const { return folder_.Path(name); }
    void Write(const std::string& name, std::string_view text) const { folder_.Write(name, text); }

    /// Writes a shell script that answers as an engine does, but runs `at_go` when it shall move; answers its path.
    /// The position line stands in $position then.
    std::string FakeEngine(const std::string& name, const std::string& at_go, const std::string& at_start = "") const {
        Write(name, "#!/bin/sh\n" + at_start +
                        "\nwhile read -r line; do case \"$line\" in\nuci) echo uciok;;\nisready) echo readyok;;\n"
                        "position*) position=$line;;\ngo*) " +
                        at_go + ";;\nquit) exit;;\nesac; done\n");
        chmod(Path(name).c_str(), 0755);
        return Path(name);
    }

    /// Makes an engine of FakeEngine write down all that it is told, in the file `told` of the directory where it runs,
    /// and do otherwise in one place.
    void Bug(const std::string& name, const std::string& place, const std::string& otherwise) const {
        std::string script = folder_.Read(name);
        if (script.find(">>told") == std::string::npos) {
            script.replace(script.find("do case"), 7, "do echo \"$line\" >>told; case");
        }
        script.replace(script.find(place), place.size(), otherwise);
        Write(name, script);
        chmod(Path(name).c_str(), 0755);
    }

    /// An engine that moves its king's knight to and fro from the start position; `score` may name $n, the number of
    /// half-moves so far.
    std::string Dancer(const std::string& name, const std::string& score) const {
        return FakeEngine(name, "set -- $position; n=$(($# < 3 ? 0 : $# - 3)); echo info depth 3 score cp $((" + score +
                                    ")) pv x\ncase $((n % 4)) in 0) echo bestmove g1f3;; 1) echo bestmove g8f6;; "
                                    "2) echo bestmove f3g1;; 3) echo bestmove f6g8;; esac");
    }

    /// Runs the match in the test's directory; the output of both kinds is left in out_ and error_.
    int Run(const std::string& arguments) {
        const std::string command = "cd " + folder_.Path() + " && " QUORVANTH_MATCH_PROGRAM " " + arguments +
                                    " >out.txt 2>error.txt </dev/null";
        const int status = std::system(command.c_str());
        out_ = folder_.Read("out.txt");
        error_ = folder_.Read("error.txt");
        pgn_ = folder_.Read("games.pgn");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// The faults column of a row of the table: crash, illegal, time, stall.
    std::string FaultsOf(const std::string& label, int colour) const {
        std::istringstream lines(out_);
        std::string line;
        std::getline(lines, line);  // what is played
        while (std::getline(lines, line) && !line.starts_with(label + " ")) {
        }
        for (int i = 0; i <= colour; ++i) {
            std::getline(lines, line);
        }
        std::istringstream words(line);
        std::vector<std::string> all;
        for (std::string word; words >> word;) {
            all.push_back(word);
        }
        if (all.size() < 4) {
            return "no row";
        }
        return all[all.size() - 4] + " " + all[all.size() - 3] + " " + all[all.size() - 2] + " " + all[all.size() - 1];
    }

    TestFolder folder_;
    std::string out_;
    std::string error_;
    std::string pgn_;
};

const std::string ENGINE = "cmd=" QUORVANTH_PROGRAM " option.Hash=1 ";

TEST_F(MatchProgram, EngineAgainstItselfFromPgn) {
    Write("openings.pgn", "[Event \"?\"]\n\n1. e4 e5 2. Nf3 Nc6 *\n\n[Event \"?\"]\n\n1. d4 d5 *\n");
    ASSERT_EQ(Run("-engine " + ENGINE + "name=A -engine " + ENGINE +
                  "name=B -each nodes=500 -games 2 -concurrency 2 -pgn games.pgn -openings file=openings.pgn "
                  "order=sequential"),
              0)
        << error_;
    EXPECT_EQ(CountOf(pgn_, "[White \"A\"]"), 1u);
    EXPECT_EQ(CountOf(pgn_, "[White \"B\"]"), 1u);
    EXPECT_EQ(CountOf(pgn_, "\n1. e4 e5 2. Nf3 Nc6 3. "), 2u) << "both games begin with the first opening";
    EXPECT_EQ(CountOf(pgn_, "[Termination \"normal\"]"), 2u);
    EXPECT_EQ(CountOf(error_, "\n"), 2u) << error_;
    EXPECT_NE(out_.find("Elo of A"), std::string::npos);
    for (std::istringstream lines(pgn_); !lines.eof();) {
        std::string line;
        std::getline(lines, line);
        EXPECT_LE(line.size(), 79u) << line;
    }

    // The games read back, move by legal move, and each is over after its last.
    std::string error;
    const std::vector<Opening> cut = ReadPgnOpenings(pgn_, 5, error);
    ASSERT_EQ(cut.size(), 2u) << error;
    EXPECT_TRUE(ReadPgnOpenings(pgn_, std::numeric_limits<int>::max(), error).empty());
    EXPECT_NE(error.find("over before it begins"), std::string::npos) << error;
}

TEST_F(MatchProgram, PositionsGoIntoTheTags) {
    Write("openings.epd", "4k3/8/8/8/8/8/4P3/4K3 b - - 3 61\n");
    const std::string king = FakeEngine("king", "echo info depth 4 score cp -31; echo bestmove e8d8");
    const std::string arguments = "-engine cmd=" + king + " name=A -engine cmd=" + king +
                                  " name=B -each nodes=300 depth=4 -games 2 -openings file=openings.epd -pgn games.pgn";
    ASSERT_EQ(Run(arguments), 0) << error_;
    EXPECT_EQ(CountOf(pgn_, "[SetUp \"1\"]\n[FEN \"4k3/8/8/8/8/8/4P3/4K3 b - - 3 61\"]"), 2u);
    EXPECT_EQ(CountOf(pgn_, "\n61... Kd8 {+0.31/4 "), 2u) << "scores from White's view: " << pgn_;
    EXPECT_EQ(CountOf(pgn_, "[TimeControl \"-\"]\n[WhiteLimits \"nodes=300 depth=4\"]"), 2u);
    ASSERT_EQ(Run(arguments), 0) << error_;
    EXPECT_EQ(CountOf(pgn_, "[SetUp \"1\"]"), 4u) << "a file that stands is added to";
}

TEST_F(MatchProgram, FaultsAreCountedByEngineAndColour) {
    struct Case {
        const char* name;
        const char* at_go;
        const char* faults;  // as either colour
        const char* termination;
    };
    for (const Case& each : {
             Case{"crashes", "exit 1", "1 0 0 0", "abandoned"},
             Case{"cheats", "echo bestmove e2e5", "0 1 0 0", "rules infraction"},
             Case{"babbles", "echo bestmove", "0 1 0 0", "rules infraction"},
             Case{"is-late", "sleep 0.6; echo bestmove e2e4", "0 0 1 0", "time forfeit"},
             // Held up for longer than it gives an engine to stop, the referee still finds the answer.
             Case{"stops-at-once",
                  "read -r line; kill -STOP $PPID; echo info; echo bestmove e2e4; sleep 3; kill -CONT $PPID", "0 0 1 0",
                  "time forfeit"},
             Case{"hangs", "sleep 1000", "0 0 0 1", "abandoned"},
             Case{"floods", "while :; do echo info string; done", "0 0 0 1", "abandoned"},
         }) {
        std::filesystem::remove(Path("games.pgn"));
        const std::string engine = FakeEngine(each.name, each.at_go);
        ASSERT_EQ(Run("-engine cmd=" + engine + " tc=0.2 -engine cmd=" + Dancer("Good", "0") +
                      " nodes=100 -games 2 -concurrency 2 -patience 20 -pgn games.pgn"),
                  0)
            << error_;
        for (const int colour : {WHITE, BLACK}) {
            EXPECT_EQ(FaultsOf(each.name, colour), each.faults) << out_;
            EXPECT_EQ(FaultsOf("Good", colour), "0 0 0 0") << out_;
        }
        EXPECT_EQ(CountOf(pgn_, std::string("[Termination \"") + each.termination + "\"]"), 2u) << pgn_;
        EXPECT_EQ(CountOf(pgn_, "[Result \"0-1\"]"), 1u);
        EXPECT_EQ(CountOf(pgn_, "[Result \"1-0\"]"), 1u);
    }
}

TEST_F(MatchProgram, EnginesThatNeverStartEndTheMatch) {
    const std::string good = "-engine cmd=" + FakeEngine("good", "echo bestmove e2e5") + " ";
    const std::string silent = FakeEngine("silent", "exit", "exec sleep 1000");
    EXPECT_EQ(Run("-engine cmd=" + silent + " " + good + "-each nodes=100 -games 50 -patience 1"), 1);
    EXPECT_NE(error_.find("\"silent\" does not start"), std::string::npos) << error_;
    EXPECT_NE(out_.find("Endings: stall 3\n"), std::string::npos) << out_;

    const std::string absent = FakeEngine("absent", "exit", "exit 3");
    EXPECT_EQ(Run(good + "-engine cmd=" + absent + " -each nodes=100 -games 50 -concurrency 2"), 1);
    EXPECT_NE(error_.find("\"absent\" does not start"), std::string::npos) << error_;
    EXPECT_NE(out_.find("Endings: crash 3\n"), std::string::npos) << out_;
}

TEST_F(MatchProgram, OptionsReachTheEngineAndTyposAreTold) {
    FakeEngine("listener", "exit");
    Bug("listener", "echo uciok", "echo option name Big Hash type spin; echo uciok");
    std::filesystem::create_directory(Path("home"));
    ASSERT_EQ(Run("-engine cmd=./listener dir=home 'option.big hash=5' option.Hsh=1 tc=2/3+0.5 -engine cmd=" +
                  FakeEngine("other", "exit") + " nodes=5 -games 1"),
              0)
        << error_;
    EXPECT_EQ(folder_.Read("home/told"),
              "uci\nsetoption name big hash value 5\nsetoption name Hsh value 1\nucinewgame\nisready\n"
              "position startpos\ngo wtime 3000 btime 3000 winc 500 binc 500 movestogo 2\n");
    EXPECT_NE(error_.find("lists no option \"Hsh\""), std::string::npos) << error_;
    EXPECT_EQ(error_.find("big hash"), std::string::npos) << error_;
}

TEST_F(MatchProgram, OptionsVaryAndProgramsStartAnew) {
    const std::string other = FakeEngine("other", "echo bestmove e2e5");
    FakeEngine("listener", "echo bestmove e2e5");
    Bug("listener", "echo uciok", "echo option name Hash type spin; echo uciok");
    const std::string arguments =
        "-engine cmd=./listener vary.Hash=1,2 -engine cmd=" + other + " -each nodes=5 -games 3 -pgn games.pgn ";
    ASSERT_EQ(Run(arguments), 0) << error_;
    const std::string game = "ucinewgame\nisready\n";
    const std::string as_white = game + "position startpos\ngo nodes 5\n";
    const auto hash = [](const std::string& value) { return "setoption name Hash value " + value + "\nisready\n"; };
    EXPECT_EQ(folder_.Read("told"),
              "uci\n" + hash("1") + as_white + hash("2") + game + hash("1") + as_white + "quit\n");
    EXPECT_EQ(CountOf(pgn_, "[WhiteOptions \"Hash=1\"]"), 2u) << pgn_;
    EXPECT_EQ(CountOf(pgn_, "[BlackOptions \"Hash=2\"]"), 1u) << pgn_;
    EXPECT_EQ(CountOf(error_, "lists no option"), 0u) << error_;
    for (const char* line : {"Memory of listener with Hash=1: first game ",
                             "Memory of listener with Hash=2: first game ", "Memory of other: first game "}) {
        EXPECT_EQ(CountOf(out_, line), 1u) << out_;
    }

    std::filesystem::remove(Path("told"));
    ASSERT_EQ(Run(arguments + "-restart on"), 0) << error_;
    EXPECT_EQ(folder_.Read("told"), "uci\n" + hash("1") + as_white + "quit\nuci\n" + hash("2") + game + "quit\nuci\n" +
                                        hash("1") + as_white + "quit\n");
    Bug("listener", "quit) exit", "quit) ");
    ASSERT_EQ(Run(arguments + "-restart on -patience 0.5"), 0) << error_;
    EXPECT_EQ(FaultsOf("listener", WHITE), "0 2 0 2") << out_;
    EXPECT_EQ(FaultsOf("listener", BLACK), "0 0 0 1") << out_;
    EXPECT_EQ(CountOf(error_, ": listener after the game: stall\n"), 3u) << error_;
}

TEST_F(MatchProgram, PonderingIsHitMissedAndOver) {
    // It expects what comes, then what does not, then what is not legal; and what it expects at last ends the game, or
    // does not come before the game ends.
    const std::string begin =
        "uci\nsetoption name Ponder value true\nucinewgame\nisready\nposition startpos\n"
        "go nodes 5\nposition startpos moves g1f3 g8f6\ngo ponder nodes 5\nponderhit\n"
        "position startpos moves g1f3 g8f6 f3g1 a7a6\ngo ponder nodes 5\nstop\n"
        "position startpos moves g1f3 g8f6 f3g1 f6g8\ngo nodes 5\n"
        "position startpos moves g1f3 g8f6 f3g1 f6g8 g1f3 g8f6\ngo nodes 5\n";
    const std::string end =
        "position startpos moves g1f3 g8f6 f3g1 f6g8 g1f3 g8f6 f3g1 b8c6\ngo ponder nodes 5\nstop\n";
    for (const auto& [last, told] : {std::pair{"f6g8", begin + "quit\n"}, std::pair{"b8c6", begin + end + "quit\n"}}) {
        FakeEngine("thinker", "case $line in go\\ ponder*) ;; *) move;; esac",
                   "move() { set -- $position; case $# in 2) echo bestmove g1f3 ponder g8f6;; "
                   "5) echo bestmove f3g1 ponder a7a6;; 7) echo bestmove g1f3 ponder e2e4;; "
                   "9) echo bestmove f3g1 ponder " +
                       std::string(last) + ";; esac; }");
        std::filesystem::remove(Path("told"));
        Bug("thinker", "quit)", "ponderhit) move;; stop) echo bestmove a7a6;; quit)");
        ASSERT_EQ(
            Run("-engine cmd=./thinker ponder=on -engine cmd=" + Dancer("Dancer", "0") + " -each nodes=5 -games 1"), 0);
        EXPECT_EQ(folder_.Read("told"), told);
        EXPECT_NE(out_.find("Endings: threefold repetition 1\n"), std::string::npos) << out_;
    }
    EXPECT_NE(out_.find("Pondering of thinker: 3 searches, 1 on the move that came\n"), std::string::npos) << out_;

    const std::string hasty = FakeEngine("hasty", "echo bestmove g1f3 ponder g8f6");
    ASSERT_EQ(Run("-engine cmd=" + hasty + " ponder=on -engine cmd=" +
                  FakeEngine("Slow", "sleep 1; echo bestmove g8f6") + " -each nodes=5 -games 1"),
              0);
    EXPECT_EQ(FaultsOf("hasty", WHITE), "0 1 0 0") << out_;
    EXPECT_NE(error_.find("hasty - Slow 0-1, answer while pondering"), std::string::npos) << error_;
}

TEST_F(MatchProgram, ThreeEnginesOneOfThemPonders) {
    ASSERT_EQ(Run("-engine " + ENGINE + "name=A ponder=on tc=0.3+0.01 -engine " + ENGINE +
                  "name=B nodes=2000 -engine " + ENGINE +
                  "name=C nodes=300 -games 1 -tournament gauntlet "
                  "-concurrency 2 -margin 20000 -pgn games.pgn"),
              0)
        << error_;
    EXPECT_EQ(CountOf(pgn_, "[Termination \"normal\"]"), 2u) << out_;
    EXPECT_EQ(CountOf(out_, "A - B: +") + CountOf(out_, "A - C: +"), 2u) << out_;
    EXPECT_EQ(CountOf(out_, "B - C: +"), 0u) << out_;
    const std::size_t line = out_.find("Pondering of A: ");
    ASSERT_NE(line, std::string::npos) << out_;
    EXPECT_EQ(out_.find(", 0 on the move", line), std::string::npos) << out_;
}

TEST_F(MatchProgram, TheTestStopsTheMatch) {
    const std::string loser = FakeEngine("loser", "echo bestmove e2e5");
    ASSERT_EQ(Run("-engine cmd=" + loser + " -engine cmd=" + Dancer("Good", "0") +
                  " -each nodes=100 -games 60 -sprt elo0=0 elo1=800"),
              0);
    EXPECT_NE(out_.find("H0 is accepted"), std::string::npos) << out_;
    EXPECT_EQ(CountOf(error_, "Round "), 2u) << "one pair decides";
}

TEST_F(MatchProgram, AdjudicatesWhenAsked) {
    const auto run = [&](const std::string& score, const std::string& rule) {
        std::filesystem::remove(Path("games.pgn"));
        return Run("-engine cmd=" + Dancer("A", score) + " -engine cmd=" + Dancer("B", score) +
                   " -each tc=60 -games 2 -pgn games.pgn " + rule);
    };
    const std::string white_wins = "n % 2 == 0 ? 500 : -500";
    ASSERT_EQ(run(white_wins, "-resign moves=2 score=500"), 0) << error_;
    EXPECT_NE(out_.find("Endings: adjudicated win 2\n"), std::string::npos) << out_;
    EXPECT_EQ(CountOf(pgn_, "[PlyCount \"4\"]"), 2u) << "two moves of each";
    EXPECT_EQ(CountOf(pgn_, "{White wins by adjudication} 1-0"), 2u);
    // One engine alone decides nothing: here both believe that they win.
    ASSERT_EQ(run("500", "-resign moves=2 score=500"), 0) << error_;
    EXPECT_NE(out_.find("Endings: threefold repetition 2\n"), std::string::npos) << out_;
    ASSERT_EQ(run("-10", "-draw from=4 moves=2 score=10"), 0) << error_;
    EXPECT_NE(out_.find("Endings: adjudicated draw 2\n"), std::string::npos) << out_;
    EXPECT_EQ(CountOf(pgn_, "[PlyCount \"7\"]"), 2u) << "not before White's fourth move";
    ASSERT_EQ(run("0", ""), 0) << error_;
    EXPECT_NE(out_.find("Endings: threefold repetition 2\n"), std::string::npos) << out_;
}

// Nobody is left behind: neither an engine that hangs nor what its script has started.
TEST_F(MatchProgram, AnInterruptPrintsTheTableAndEndsEverybody) {
    const std::string hangs = FakeEngine("hangs", "echo $$ >pid; sleep 1000 & echo $! >child; wait");
    const std::string command = "cd " + folder_.Path() + " && { " QUORVANTH_MATCH_PROGRAM " -engine cmd=" + hangs +
                                " -engine cmd=" + Dancer("Good", "0") + " -each tc=100 >out.txt 2>error.txt & }; " +
                                "for i in $(seq 300); do [ -s child ] && break; sleep 0.1; done; kill -INT $!; wait $!";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 130);
    EXPECT_NE(folder_.Read("out.txt").find("Elo of hangs"), std::string::npos);
    for (const char* name : {"pid", "child"}) {
        const pid_t process = std::atoi(folder_.Read(name).c_str());
        ASSERT_GT(process, 0);
        // Killed at once, but it is the system that ends it and takes an orphan away, in its own time.
        const auto gone = [process] {
            const std::string state = ReadAll("/proc/" + std::to_string(process) + "/stat");
            return state.empty() || state.find(") Z") != std::string::npos;
        };
        for (int i = 0; i < 100 && !gone(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        EXPECT_TRUE(gone()) << name;
    }
}

}  // namespace
