// The commands of a person at the terminal, text by text.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "protocol/engine_test.h"

namespace {

class Console : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        engine().Ask("force");
        engine().ForgetTranscript();
    }
};

const char* const start_board =
    "*R*N*B*Q*K*B*N*R\n*P*P*P*P*P*P*P*P\n . . . . . . . .\n . . . . . . . .\n"
    " . . . . . . . .\n . . . . . . . .\n P P P P P P P P\n R N B Q K B N R\n";

TEST_F(Console, GreetsWithBannerAndSettings) {
    const Conversation fresh;
    const std::string greeting = Joined(fresh.Greeting());
    EXPECT_TRUE(greeting.starts_with("Quorvanth v1.97 [r2492/22.12.2016]\n"));
    EXPECT_NE(greeting.find("Error opening \"Book.qvn\"!\nTransposition size is 524288 entries"), std::string::npos);
    EXPECT_EQ(fresh.Transcript()[fresh.Greeting().size()], "");
    EXPECT_EQ(Board(), start_board);
}

TEST_F(Console, HelpHasTwoPagesAndAPause) {
    for (const char* word : {"help", "h", "HELP me"}) {
        // The line in the pause is read and forgotten.
        const Lines help = engine().Ask(std::string(word) + "\ne2e4");
        ASSERT_EQ(help.size(), 35U);
        EXPECT_EQ(help[0], "Quorvanth commands:");
        EXPECT_EQ(help[22], "");
        EXPECT_EQ(help[23], "Press <enter> to continue....");
        EXPECT_EQ(help[34], "");
        for (std::size_t i = 3; i < help.size(); ++i) {
            EXPECT_TRUE(i == 22 || i == 23 || i == 34 || help[i].find(". ") == 26) << help[i];
        }
    }
    EXPECT_EQ(Board(), start_board);
}

TEST_F(Console, MovesAreTypedAndTakenBack) {
    EXPECT_EQ(engine().Ask("e2e4\nE7E5\ng1f3\ne7e5 again"), Lines{"Illegal move: e7e5 again"});
    EXPECT_EQ(engine().Ask("undo\nremove\nundo\nremove"), Lines());
    EXPECT_EQ(Board(), start_board);
    engine().Ask("loadfen 8/P6k/8/8/8/8/8/K7 w - -\nforce");
    EXPECT_EQ(engine().Ask("a7a8"), Lines{"Illegal move: a7a8"});
    engine().Ask("a7a8n");
    EXPECT_TRUE(Board().starts_with(" N . . . . . . .\n . . . . . . .*K\n"));
    engine().Ask("white");
    EXPECT_EQ(engine().Ask("a8b6"), Lines());
    engine().Ask("black");
    EXPECT_EQ(engine().Ask("h7g7"), Lines());
}

TEST_F(Console, EditPlacesRemovesAndComplains) {
    struct Case {
        const char* text;
        const char* errors;
        const char* castling;
        const char* ranks;  // the first two and the last two
    };
    const Case cases[] = {
        {"#\nKe1\nRa1\nRh1\nc\nKe8\nRa8\nRh8\n.", "", "15",
         "*R . . .*K . .*R\n . . . . . . . .\n . . . . . . . .\n R . . . K . . R\n"},
        {"# ke1 ra1 c ke8 rh8 .", "", "6", " . . . .*K . .*R\n . . . . . . . .\n . . . . . . . .\n R . . . K . . .\n"},
        {"xe2 xe7 qe2 xd1.", "", "15", "*R*N*B*Q*K*B*N*R\n*P*P*P*P .*P*P*P\n P P P P Q P P P\n R N B . K B N R\n"},
        {"xh1.", "", "14", "*R*N*B*Q*K*B*N*R\n*P*P*P*P*P*P*P*P\n P P P P P P P P\n R N B Q K B N .\n"},
        {"#7 kz qe9 ke1ckd8.", "Error\nError\nError\n", "0",
         " . . .*K . . . .\n . . . . . . . .\n . . . . . . . .\n . . . . K . . .\n"},
        {"#ka1ckh8q.", "Error\n", "0", " . . . . . . .*K\n . . . . . . . .\n . . . . . . . .\n K . . . . . . .\n"},
    };
    for (const Case& each : cases) {
        engine().Ask("new\nforce");
        EXPECT_EQ(Joined(engine().Ask(std::string("edit\n") + each.text)), each.errors) << each.text;
        EXPECT_EQ(engine().Ask("mvd"), Lines{std::string("castling flags = ") + each.castling}) << each.text;
        const std::string board = Board();
        EXPECT_EQ(board.substr(0, 2 * 17) + board.substr(6 * 17), each.ranks) << each.text;
    }
}

TEST_F(Console, EditKeepsTheSideAndEmptiesTheHistory) {
    engine().Ask("e2e4\nedit\n#\nKe1\nc\nKe8\nRd3\n.");
    EXPECT_EQ(engine().Ask("undo\ne1e2"), Lines{"Illegal move: e1e2"});
    EXPECT_EQ(engine().Ask("d3d2"), Lines());
    // A king that is gone is forgotten.
    EXPECT_EQ(engine().Ask("new\nforce\nedit\n#ke1ke2xe2cke8."), Lines());
    EXPECT_TRUE(engine().Ask("perft 1")[0].starts_with("total moves = 5 "));
    EXPECT_EQ(engine().Ask("e1d1\nperft"), Lines());
}

TEST_F(Console, ShowsItsState) {
    EXPECT_EQ(engine().Ask("mvd"), Lines{"castling flags = 15"});
    EXPECT_EQ(engine().Ask("egtbstat"),
              (Lines{"UseEGTB = TRUE", "tb_path = c:\\tablebases\\", "EGTB files not found"}));
    const Lines book = engine().Ask("bkm");
    ASSERT_EQ(book.size(), 2U);
    EXPECT_EQ(book[1], "No book loaded...");
    int first = 0;
    int second = 0;
    ASSERT_EQ(std::sscanf(book[0].c_str(), "Current nhash1 = %d, nhash2 = %d", &first, &second), 2);
    EXPECT_EQ((static_cast<std::uint32_t>(first) >> 16), (static_cast<std::uint32_t>(second) & 0xffff));

    const Lines moves = engine().Ask("moves");
    ASSERT_EQ(moves.size(), 2U);
    EXPECT_EQ(moves[0], "-------------- Legal moves: ----------------");
    EXPECT_NE(moves[1].find("Pe2e4 ("), std::string::npos);
    EXPECT_TRUE(moves[1].ends_with("); "));

    const Lines evaluation = engine().Ask("evl");
    ASSERT_FALSE(evaluation.empty());
    EXPECT_TRUE(evaluation[0].starts_with("Heuristic = "));
    EXPECT_NE(Joined(evaluation)
                  .find("\nMaterial[WHITE] = 3900 thread_board.Material[BLACK] = 3900 "
                        "EvaluateMaterial() = 0\nENDING(WHITE) = 0 ENDING(BLACK) = 0\n"),
              std::string::npos);
}

TEST_F(Console, SwitchesAndStrangersSayNothing) {
    for (const char* line : {"post",  "nopost",   "easy",       "hard",       "force",         "xboard", "level 40 5 0",
                             "st 5",  "sd 5",     "time 100",   "otime 100",  "white",         "black",  "reset",
                             "clean", "new",      "debug",      "result 1-0", "usermove e2e4", "",       "   ",
                             "\t",    "\xff\xfe", "protover 2", "ping 1",     "variant normal"}) {
        EXPECT_EQ(engine().Ask(line), Lines()) << line;
    }
}

// The first keyword of the table that fits an abbreviation has it.
TEST_F(Console, AbbreviationsBelongToTheFirstThatFits) {
    EXPECT_EQ(engine().Ask("br"), engine().Ask("brd"));
    EXPECT_EQ(engine().Ask("mv"), Lines{"castling flags = 15"});
    EXPECT_EQ(engine().Ask("m")[0], "-------------- Legal moves: ----------------");
    EXPECT_EQ(engine().Ask("loadfen 4k3/8/8/8/8/8/8/4K3 w\nb\nforce\ne8e7"), Lines());  // b is black
    EXPECT_EQ(engine().Ask("n\nmvd"), Lines{"castling flags = 15"});                    // n is new
    engine().Ask("force\ne2e4");
    engine().Ask("un");
    EXPECT_EQ(Board(), start_board);
}

TEST_F(Console, DemoPlaysEveryLine) {
    EXPECT_EQ(engine().Ask("demo"), Lines{"Error opening file openings.epd..."});
    engine().WriteFile("openings.epd",
                       "4k3/8/8/8/8/8/8/KQ6 w - -\n4k3/8/8/8/8/8/8/8 w - -\n7k/5Q2/6K1/8/8/8/8/8 w - -\n");
    engine().Ask("nopost\nsd 4\nhard");
    engine().Send("demo\nisready");
    const std::string text = Joined(engine().ExpectUpTo("readyok"));
    EXPECT_TRUE(text.starts_with("-------------- Game #1 --------------\n"));
    EXPECT_NE(text.find("-------------- Game #2 --------------\nIllegal position"), std::string::npos) << text;
    EXPECT_NE(text.find("-------------- Game #3 --------------\n"), std::string::npos);
    EXPECT_NE(text.find("{White mates}"), std::string::npos);
    EXPECT_EQ(text.find("Hint"), std::string::npos);
}

TEST_F(Console, SeveralLinesInOneWriteAreTakenInOrder) {
    engine().SendRaw("e2e4\r\nmvd\r\nbr");
    engine().SendRaw("d\nundo\nmvd\nisready\n");
    const std::string text = Joined(engine().ExpectUpTo("readyok"));
    EXPECT_TRUE(text.starts_with("castling flags = 15\n*R*N"));
    EXPECT_TRUE(text.ends_with("castling flags = 15\nreadyok\n"));
    EXPECT_EQ(Board(), start_board);
}

TEST_F(Console, QuitEndsByAnyLineThatBeginsWithIt) {
    engine().Send("Quite enough");
    EXPECT_EQ(EndOfProgram(), 0);
}

}  // namespace
