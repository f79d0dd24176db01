// Whatever arrives, the program answers, stays in step and ends when it should.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "protocol/engine_test.h"

namespace {

using namespace std::chrono_literals;

class Robustness : public EngineTest {};

bool HasLine(const Conversation::Lines& lines, std::string_view start) {
    return std::ranges::any_of(lines, [start](const std::string& line) { return line.starts_with(start); });
}

TEST_F(Robustness, ClosedInputEndsEverythingInOrder) {
    const std::pair<const char*, const char*> cases[] = {
        {"uci\nposition startpos\ngo infinite\n", "bestmove "},
        {"uci\nposition startpos\ngo depth 5", "bestmove "},
        {"uci\nposition fen 6k1/5ppp/8/8/8/8/8/R3K3 w - -\ngo ponder wtime 1000 btime 1000\n", "bestmove a1a8"},
        {"uci\nsetoption name MultiPV value 2\ngo infinite\n", "bestmove "},
        {"sd 3\ne2e4\n", "move "},
        {"time 100\ne2e4\n", "move "},
        {"analyze\n", "4 "},
        {"loadfen R5k1/5ppp/8/8/8/8/8/4K3 b - -\nanalyze\n", "1-0 {White mates}"},
        {"help", "white ......"},
        {"edit\n#\nka", ""},
        {"force\ne2e4\nbrd", " . . . . P . . ."},
        {"", ""},
    };
    for (const auto& [script, answer] : cases) {
        const ScriptResult result = RunScript(script);
        EXPECT_EQ(result.exit_code, 0) << script;
        EXPECT_TRUE(*answer == '\0' || HasLine(result.lines, answer)) << script << Joined(result.lines);
    }
    // A limit of its own is kept to.
    const ScriptResult limited = RunScript("uci\nposition startpos\ngo depth 5\n");
    EXPECT_TRUE(HasLine(limited.lines, "info depth 5 ")) << Joined(limited.lines);
}

TEST_F(Robustness, ClosedOutputEndsTheProgram) {
    engine().Ask("loadfen 4k3/8/8/8/8/8/8/4K2R w K -");
    engine().Send("analyze");
    engine().CloseOutput();
    EXPECT_EQ(EndOfProgram(), 0);
}

TEST_F(Robustness, OverlongLinesAreCutAndTheNextIsReadInStep) {
    for (const std::size_t length : {4000, 4096, 4608, 65535, 65536, 65537, 69632, 70000, 300000}) {
        EXPECT_EQ(engine().Ask(std::string(length, 'z')), Lines()) << length;
        EXPECT_EQ(engine().Ask(std::string("mvd").append(length, ' ')), Lines{"castling flags = 15"}) << length;
        engine().Ask("force");
        const Lines illegal = engine().Ask(std::string("e2e5").append(length, 'x'));
        ASSERT_EQ(illegal.size(), 1U);
        EXPECT_LE(illegal[0].size(), 70000U);
    }
    // The same while the engine thinks.
    engine().Send("go");
    engine().Send(std::string(20000, 'y'));
    engine().Send("isready");
    engine().Expect("readyok");
    engine().Send("?");
    engine().Expect("move ");

    std::string moves = "go depth 2 searchmoves";
    for (int i = 0; i < 3000; ++i) {
        moves += i < 2990 ? " a1a8" : " a2a3";
    }
    engine().Ask("uci\nposition startpos");
    engine().Send(moves);
    engine().Expect("bestmove ");
    std::string tokens = "setoption name Hash value 4";
    for (int i = 0; i < 5000; ++i) {
        tokens += " x";
    }
    EXPECT_EQ(engine().Ask(tokens), Lines());
    EXPECT_EQ(engine().Ask(std::string("setoption name ").append(2000, 'H').append(" value 5")), Lines());
    EXPECT_EQ(engine().Ask(std::string("epdevl ").append(9000, 'n')).size(), 1U);
    const std::string with_nul("mv\0d\nmvd\0\n", 10);
    engine().SendRaw(with_nul);
    engine().Send("isready");
    EXPECT_EQ(engine().ExpectUpTo("readyok").front(), "castling flags = 15");
}

TEST_F(Robustness, AGameOfFifteenHundredMovesPlaysOn) {
    engine().Ask("force");
    std::string typed;
    std::string undos;
    for (std::size_t i = 0; i < 1500; ++i) {
        typed += std::array{"b1c3\n", "b8c6\n", "c3b1\n", "c6b8\n"}[i % 4];
        undos += "undo\n";
    }
    EXPECT_EQ(engine().Ask(typed), Lines());
    engine().Ask("sd 3");
    engine().Send("go");
    engine().Expect("move ");
    engine().Send("a7a6");
    engine().Expect("move ");
    engine().Ask("force");
    EXPECT_EQ(engine().Ask(undos), Lines());
}

const char* const unplayable[] = {
    "8/8/8/8/8/8/8/8 w - -",
    "4k3/8/8/8/8/8/8/8 w - -",
    "kk6/8/8/8/8/8/8/KK6 w - -",
    "4k3/4R3/8/8/8/8/8/4K3 w - -",
    "4kK2/8/8/8/8/8/8/8 w - -",
    "PPPPkPPP/8/8/8/8/8/8/pppKpppp w - -",
    "4k3/PPPPPPPP/PPPPPPPP/8/8/8/8/4K3 w - -",
    "QQQQQQQQ/QQQQQQQQ/QQQQQQQQ/QQQQkQQQ/QQQQQQQQ/QQQQQQQQ/QQQQKQQQ/QQQQQQQQ b - -",
    "pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp/pppppppp b KQkq e3",
    "rnbqkbnr/rnbqkbnr/rnbqkbnr/rnbqkbnr/RNBQKBNR/RNBQKBNR/RNBQKBNR/RNBQKBNR w KQkq -",
    "",
    "/",
    "99999999999/kkkkkkkkkkkkkkkkkkkkkkkkkk",
};

TEST_F(Robustness, PositionsThatCannotBePlayedAreRefused) {
    for (const char* fen : unplayable) {
        engine().Ask("xboard\nnew\nforce");
        engine().Ask(std::string("loadfen ") + fen);
        EXPECT_EQ(Board().size(), 8U * 17) << fen;
        EXPECT_EQ(engine().Ask("e2e4").size(), 1U) << fen;
        EXPECT_EQ(engine().Ask("analyze").size(), 1U) << fen;
        EXPECT_EQ(engine().Ask("go").size(), 1U) << fen;
        EXPECT_EQ(engine().Ask("perft 2").size(), 1U) << fen;
        EXPECT_TRUE(engine().Ask("moves").size() <= 2U) << fen;
        engine().Ask("evl\nmvd\nbkm\nundo\nremove\nwhite\nblack\nreset");
        engine().Ask("uci");
        engine().Ask(std::string("position fen ") + fen + " moves e2e4 a1a2");
        const Lines answer = engine().Ask("go depth 2");
        EXPECT_TRUE(HasLine(answer, "bestmove 0000")) << fen;
    }
    // Given the move, the side that stands in check becomes playable, and the other way round.
    engine().Ask("xboard\neasy\nloadfen 4k3/4R3/8/8/8/8/8/4K3 w - -\nblack\nsd 2");
    engine().Send("go");
    engine().Expect("move ");
    engine().Ask("loadfen 4k3/4R3/8/8/8/8/8/4K3 b - -\nwhite");
    EXPECT_EQ(engine().Ask("go").size(), 1U);
}

TEST_F(Robustness, EveryHashSizeSearches) {
    engine().Ask("uci");
    for (const char* size : {"0", "-7", "junk", "1"}) {
        engine().Ask(std::string("setoption name Hash value ") + size + "\nsetoption name PawnHash value " + size);
        for (const char* lines : {"1", "3"}) {
            engine().Ask(std::string("setoption name MultiPV value ") + lines);
            engine().Ask("position startpos moves e2e4 e7e5");
            engine().Send("go depth 6");
            EXPECT_NE(engine().Expect("bestmove "), "bestmove 0000") << size;
        }
        engine().Ask("ucinewgame\nsetoption name Clear Hash\nclean");
    }
    engine().Ask("setoption name Hash value 8\nsetoption name PawnHash value 4");
}

/// Lines of words that mean something, in orders that do not. Nothing in it thinks for long: the numbers behind
/// depths and clocks are small, and a search without a limit ends with the script at the latest.
class Scribbler {
  public:
    explicit Scribbler(unsigned seed) : random_(seed) {}

    std::string Line() {
        switch (Below(8)) {
            case 0:
                return Noise();
            case 1:
                return std::string(Below(2) == 0 ? "position fen " : "loadfen ") + Position();
            case 2:
                return Below(2) == 0 ? MoveText() : "position startpos moves" + Moves();
            case 3:
                return "position fen " + Position() + " moves" + Moves();
            case 4:
                return "go" + Arguments();
            case 5:
                return "edit\n" + Edits() + ".";
            default:
                return Pick(words_);
        }
    }

  private:
    std::size_t Below(std::size_t bound) { return random_() % bound; }
    template <typename Table>
    std::string Pick(const Table& table) {
        return std::string(table[Below(std::size(table))]);
    }

    std::string Noise() {
        std::string noise;
        for (std::size_t i = Below(40); i > 0; --i) {
            noise += static_cast<char>(Below(256));
        }
        return noise.starts_with('q') || noise.starts_with('Q') ? "x" + noise : noise;
    }

    std::string Position() {
        static constexpr std::string_view letters = "KQRBNPkqrbnp12345678888//xyz-.";
        std::string text = Below(3) == 0 ? "4k3/" : "";
        for (std::size_t i = Below(60); i > 0; --i) {
            text += letters[Below(letters.size())];
        }
        text += Below(3) == 0 ? "/4K3" : "";
        static constexpr std::array<std::string_view, 6> tails = {" w KQkq e6", " b KQkq e3", " w - -",
                                                                  " b",         "",           " b kq d3 0 1"};
        return text + Pick(tails);
    }

    std::string MoveText() {
        std::string text;
        for (int i = 0; i < 2; ++i) {
            text += static_cast<char>('a' + Below(8));
            text += static_cast<char>('1' + Below(8));
        }
        return text + (Below(4) == 0 ? "q" : "");
    }

    std::string Moves() {
        std::string text;
        for (std::size_t i = Below(12); i > 0; --i) {
            text.append(" ").append(MoveText());
        }
        return text;
    }

    std::string Arguments() {
        static constexpr std::array<std::string_view, 14> arguments = {
            " wtime 20", " btime 20",   " winc 1",   " binc x", " movestogo 0", " movestogo -3", " depth 2",
            " nodes 99", " movetime 1", " infinite", " ponder", " depth",       " wtime",        " btime -9"};
        std::string text = " depth 2";
        for (std::size_t i = Below(4); i > 0; --i) {
            text += Pick(arguments);
        }
        return text + (Below(6) == 0 ? " searchmoves" + Moves() : "") + (Below(2) == 0 ? "\nstop" : "\n?");
    }

    std::string Edits() {
        static constexpr std::string_view letters = "#cxkqrbnpabcdefgh12345678 \n";
        std::string text;
        for (std::size_t i = Below(60); i > 0; --i) {
            text += letters[Below(letters.size())];
        }
        return text;
    }

    // Several lines in one count as one.
    static constexpr std::string_view words_[] = {
        // clang-format off
        "clean", "new", "post", "reset", "level 3 1 0", "level 0 0:1 9", "level -4 1 -9", "moves", "nopost", "perft 2",
        "perft -1", "perft", "sd 2", "sd -1", "stop", "st 1", "ponderhit", "white", "black", "remove", "undo", "force",
        "brd", "time 10", "time 0", "time -5", "time -1", "otime 7", "easy", "hard", "evl", "fritz", "xboard", "mvd",
        "bkm", "uci", "ucinewgame", "isready", "egtbstat", "debug", "result", "exit", "?", ".", "epdevl",
        "epdevl none", "setoption name Hash value 1", "setoption name Hash value -1", "setoption name MultiPV value 3",
        "setoption name MultiPV value 1", "setoption name PawnHash value 0", "setoption name Clear Hash",
        "setoption name Aggressivity value 99999999999", "setoption", "help", "position", "position startpos",
        "loadfen", "demo", "analyze\n?\nexit\nexit"};
    // clang-format on

    std::mt19937 random_;
};

TEST_F(Robustness, ScribbledScriptsEndCleanly) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        Scribbler scribbler(seed);
        std::string script;
        for (int i = 0; i < 500; ++i) {
            script += scribbler.Line() + "\n";
        }
        EXPECT_EQ(RunScript(script).exit_code, 0) << "seed " << seed;
    }
}

TEST_F(Robustness, TheTourOfAllCommandsRuns) {
    std::ifstream file(QUORVANTH_TEST_DATA "/tour.txt");
    ASSERT_TRUE(file) << "tour.txt";
    std::ostringstream text;
    text << file.rdbuf();
    const ScriptResult tour = RunScript(text.str());
    EXPECT_EQ(tour.exit_code, 0);
    for (const char* line : {"Quorvanth commands:", "castling flags = ", "total moves = 8902 ",
                             "Current nhash1 = ", "Heuristic = ", "EGTB files not found", "Illegal move: e2e5", "uciok",
                             "readyok", "bestmove ", "move ", "Hint: ", "stat01: ", "1-0 {White mates}",
                             "1/2-1/2 {Stalemate}", "Error opening file openings.epd..."}) {
        EXPECT_TRUE(HasLine(tour.lines, line)) << line;
    }
}

}  // namespace
