// What a line does to the settings and to the board. What it prints is tested on the whole program.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "eval/evaluation.h"
#include "frontend/game.h"
#include "frontend/interpreter.h"
#include "frontend/startup.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/settings.h"
#include "search/transposition.h"
#include "support/files.h"
#include "tools/foreign_path.h"

namespace {

constexpr std::string_view START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ";

class Commands : public testing::Test {
  protected:
    static void SetUpTestSuite() { StartEngine(); }

    void SetUp() override { Run({"xboard", "new", "force"}); }

    static void Run(std::initializer_list<std::string_view> lines) {
        for (const std::string_view line : lines) {
            CommandLine.Assign(line);
            Interpret();
        }
    }

    static std::string Fen() { return WriteFen(0); }
};

TEST_F(Commands, LevelTakesItsTokensFromTheEndItHas) {
    struct Case {
        const char* line;
        std::int32_t moves;
        std::int32_t increment;
    };
    const Case cases[] = {
        {"level 40 5 0", 40, 0}, {"level 40 5:30 2", 40, 200}, {"level 0 2 12", 0, 1200},     {"level 7", 7, 1200},
        {"level", 7, 1200},      {"level x y z", 0, 0},        {"level 30 5:0:1 9", 30, 100},
    };
    for (const Case& each : cases) {
        Run({each.line});
        EXPECT_EQ(MovesPerPeriod, each.moves) << each.line;
        EXPECT_EQ(TimeIncrement, each.increment) << each.line;
    }
}

TEST_F(Commands, LimitsAreKeptUntilTheyAreReset) {
    Run({"st 10", "sd 7", "time 1234", "nopost"});
    EXPECT_EQ(MoveTime, 1000);
    EXPECT_EQ(MaxDepth, 7);
    EXPECT_EQ(TimeLeft, 1234);
    EXPECT_EQ(PostThinking, 0);
    Run({"st 99999999999", "sd", "st", "post"});
    EXPECT_EQ(MoveTime, 2147483647);
    EXPECT_EQ(MaxDepth, 7);
    EXPECT_EQ(PostThinking, 1);
    Run({"new"});
    EXPECT_EQ(MoveTime, 0);
    EXPECT_EQ(MaxDepth, NO_DEPTH_LIMIT);
    EXPECT_EQ(ForceMode, 0);
    EXPECT_EQ(TimeLeft, 1234);
    Run({"time -1"});
}

TEST_F(Commands, PonderingIsSwitchedBothWays) {
    for (const auto& [line, on] : {std::pair{"easy", 0}, {"hard", 1}, {"uci", 0}, {"xboard", 1}}) {
        Run({line});
        EXPECT_EQ(PonderOn, on) << line;
    }
}

TEST_F(Commands, ANewGameForgetsOnlyWhereItShould) {
    const auto remember = [] {
        PrevRootScore = 55;
        PrevRootSide = BLACK;
        SearchesDone = 9;
        BookLearnDone = 1;
    };
    const auto remembers = [] { return PrevRootScore != 0 && PrevRootSide != 0 && SearchesDone != 0; };
    remember();
    Run({"new"});
    EXPECT_FALSE(remembers());
    EXPECT_EQ(BookLearnDone, 0);
    Run({"uci"});
    remember();
    Run({"new", "position startpos"});
    EXPECT_TRUE(remembers());
    EXPECT_EQ(BookLearnDone, 1);
    Run({"ucinewgame"});
    EXPECT_FALSE(remembers());
    remember();
    Run({"reset"});
    EXPECT_FALSE(remembers());
    remember();
    Run({"position fen 4k3/8/8/8/8/8/8/4K2R w K -"});
    EXPECT_EQ(PrevRootScore, 0);
    EXPECT_EQ(SearchesDone, 9);
    Run({"xboard", "fritz"});
    remember();
    Run({"new"});
    EXPECT_TRUE(remembers());
    FritzMode = 0;
}

TEST_F(Commands, PositionPlaysWhatIsLegalOfItsMoves) {
    struct Case {
        const char* line;
        const char* fen;
    };
    const Case cases[] = {
        {"position startpos", "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - "},
        {"position startpos moves e2e4 e2e4 junk e7e5 ", "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - "},
        {"position moves", "rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - "},
        {"position here moves g1f3", "rnbqkbnr/pppp1ppp/8/4p3/4P3/5N2/PPPP1PPP/RNBQKB1R b KQkq - "},
        {"position fen 8/P6k/8/8/8/8/8/K7 w - - 47 80 moves a7a8n h7g7", "N7/6k1/8/8/8/8/8/K7 w - - "},
        {"position fen 4k3/8/8/8/Pp6/8/8/4K3 b - a3 0 1 moves b4a3", "4k3/8/8/8/8/p7/8/4K3 w - - "},
        {"loadfen 4k3/8/8/8/8/8/8/4K2R w KQkq -", "4k3/8/8/8/8/8/8/4K2R w K - "},
        {"loadfen 4k3/8/8/8/8/8/8/4K3 b", "4k3/8/8/8/8/8/8/4K3 b - - "},
    };
    for (const Case& each : cases) {
        Run({each.line});
        EXPECT_EQ(Fen(), each.fen) << each.line;
        EXPECT_TRUE(PositionIsConsistent()) << each.line;
    }
}

TEST_F(Commands, APositionLineHasNoBoundOfTokens) {
    std::string line = "position startpos moves";
    for (int i = 0; i < 1500; ++i) {
        line += i % 4 == 0 ? " g1f3" : i % 4 == 1 ? " g8f6" : i % 4 == 2 ? " f3g1" : " f6g8";
    }
    line += std::string(3000, ' ') + "e2e4";
    Run({line});
    EXPECT_EQ(Fen(), "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq - ");
    EXPECT_EQ(GamePly + DroppedPlies, 1501);
    EXPECT_LE(GamePly, HISTORY_RECORDS - HISTORY_SEARCH_ROOM + 1);
}

// The side to move can be changed without a move, and a FEN may tell of a push that nobody made: taking back must
// leave a whole position all the same.
TEST_F(Commands, TakingBackIsSafeAfterEverything) {
    const std::initializer_list<std::string_view> scripts[] = {
        {"e2e4", "white", "undo"},
        {"g1f3", "white", "e2e4", "undo", "undo"},
        {"g1f3", "white", "e2e4", "black", "white", "remove"},
        {"e2e4", "a7a6", "black", "b7b6", "remove", "remove"},
        {"position fen 4k3/8/8/8/Pp6/8/8/4K3 b - a3", "undo"},
        {"position fen 4k3/8/8/8/Pp6/8/R7/4K3 b - a3", "undo"},
        {"position fen 4k3/8/8/8/Pp6/8/8/4K3 b - a3", "white", "undo"},
        {"position fen 4k3/8/8/8/Pp6/8/8/4K3 b - a3", "b4a3", "undo", "undo"},
        {"position fen 4k3/8/8/pP6/8/8/8/4K3 w - a6", "black", "a5a4", "undo", "undo"},
    };
    for (const auto& script : scripts) {
        Run({"position startpos", "force"});
        Run(script);
        EXPECT_TRUE(PositionIsConsistent()) << Fen();
    }
    Run({"position fen 4k3/8/8/8/Pp6/8/8/4K3 b - a3", "undo"});
    EXPECT_EQ(Fen(), "4k3/8/8/8/1p6/8/P7/4K3 w - - ");
    Run({"position startpos", "force", "g1f3", "white", "e2e4", "undo", "undo"});
    EXPECT_EQ(Fen(), START);
}

TEST_F(Commands, AnOwnDoublePushIsNotTakenEnPassant) {
    Run({"position fen 4k3/8/8/8/3P4/8/4P3/4K3 w - -", "e2e4", "white"});
    EXPECT_FALSE(IsPlayableMove(BuildMove(27, 36, PAWN)));  // d4 behind its own neighbour
    EXPECT_EQ(Fen(), "4k3/8/8/8/3PP3/8/8/4K3 w - - ");
}

// Front ends that name the colours change the side to move twice before `go`.
TEST_F(Commands, ColoursNamedTwiceLeaveTheGameAsItWas) {
    Run({"position startpos", "force", "e2e4", "a7a6", "e4e5", "d7d5", "black", "white", "e5d6", "c7d6", "remove"});
    EXPECT_EQ(Fen(), "rnbqkbnr/1pp1pppp/p7/3pP3/8/8/PPPP1PPP/RNBQKBNR w KQkq d6 ");
}

TEST_F(Commands, OptionsAreClampedToWhatCanWork) {
    const auto set = [](const std::string& option, const auto& value, std::int64_t expected) {
        Run({"setoption name " + option});
        EXPECT_EQ(value, expected) << option;
    };
    set("Hash value 3", TranspositionSize, (3LL << 20) / 26);
    set("Hash value -5", TranspositionSize, 0);
    set("PawnHash value 2", PawnHashSize, (2LL << 20) / 34);
    set("PawnHash value 0", PawnHashSize, 0);
    set("Hush value 9", TranspositionSize, 0);
    set("MultiPV value 0", MultiPV, 1);
    set("MultiPV value 5000", MultiPV, 1024);
    set("Aggressivity value 151", AggressivityRate, 75);
    set("Defensivity value -99999999999", Cowardice, -2147483647 - 1);
    set("OwnBook value false", OwnBook, 0);
    set("OwnBook value maybe", OwnBook, 0);
    set("OwnBook value true", OwnBook, 1);
    EXPECT_GE(CowardiceRate, -1000);
    Run({"setoption name SyzygyPath value /a b;/c"});
    EXPECT_EQ(EGTBPath, "/a b;/c");
    Run({"setoption name Aggressivity value 100", "setoption name Defensivity value 100", "setoption name Hash value 8",
         "setoption name PawnHash value 4", "setoption name MultiPV value 1"});
}

TEST(ForeignPath, IsFoundInEitherForm) {
    EXPECT_EQ(TranslateForeignPath("C:/games/a b.pgn"), "games/a b.pgn");
    EXPECT_EQ(TranslateForeignPath("c:"), "");
    // Both forms stand there: the one as written is taken.
    const WorkingFolder folder;
    std::filesystem::create_directory("work");
    const std::string name = "c:\\work\\source.pgn";
    std::ofstream("work/source.pgn") << "x";
    EXPECT_EQ(FindForeignFile(name), PathForm::Translated);
    std::ofstream(name) << "x";
    EXPECT_EQ(FindForeignFile(name), PathForm::AsWritten);
}

}  // namespace
