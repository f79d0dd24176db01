#include "tools/pgn_eval.h"

#include "movegen/search_records.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/move_text.h"
#include "support/evaluation_tables.h"
#include "support/files.h"
#include "tools/self_test.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace {

constexpr char START[] = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -";

void Replace(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
}

/// The position that squares such as "e2e4 e7e5" lead to.
std::string PositionAfter(const std::string& fen, const std::string& moves) {
    SetupFen(fen);
    std::istringstream words(moves);
    for (std::string word; words >> word;) {
        MakeMove(MoveFromText(word), 1);
    }
    return WriteFen(0);
}

/// The lines of a file of games whose moves are squares.
std::string LinesOfMoves(std::istream& games) {
    std::string lines;
    std::string result;
    int length = 0;
    for (std::string line; std::getline(games, line);) {
        if (line.starts_with("[Result ")) {
            result = line.substr(9, line.rfind('"') - 9);
        } else if (line.starts_with("[PlyCount ")) {
            length = std::stoi(line.substr(11));
        } else if (!line.empty() && line[0] != '[') {
            SetupFen(START);
            std::istringstream words(line);
            std::string word;
            for (int ply = 0; words >> word && word != result; ++ply) {
                const Move move = MoveFromText(word);
                if (ply != 0 && IsQuiet(move)) {
                    const bool white = thread_board.SideToMove == WHITE;
                    const std::string points = result == "1/2-1/2" ? "0" : (result == "1-0") == white ? "1" : "2";
                    lines.append(WriteFen(0)).append(";").append(word, 0, 4).append(";");
                    lines.append(std::to_string(length - ply)).append(";").append(std::to_string(length));
                    lines.append(";").append(points).append("\n");
                }
                MakeMove(move, 1);
            }
        }
    }
    return lines;
}

class PgnTest : public testing::Test {
  protected:
    static constexpr char LINES[] = "c:\\work\\my_eval.csv";

    void SetUp() override { ResetEvaluation(); }

    /// Runs over `text`; fills printed and lines.
    void Run(const std::string& text) {
        std::filesystem::remove(LINES);
        std::ofstream("in.pgn", std::ios::binary) << text;
        printed = OutputOf([] { PgnEval("in.pgn"); });
        lines = ReadAll(LINES);
    }

    std::string printed;
    std::string lines;
    const WorkingFolder folder;
};

/// Real games as other programs write them: every style gives the lines of the plain moves.
TEST_F(PgnTest, StylesOfOneCollectionGiveTheSameLines) {
    const std::string data = QUORVANTH_TEST_DATA "/pgn/";
    std::ifstream moves(data + "games_moves.pgn");
    const std::string expected = LinesOfMoves(moves);
    ASSERT_GT(std::ranges::count(expected, '\n'), 200);

    using Pairs = std::vector<std::pair<const char*, const char*>>;
    const std::pair<const char*, Pairs> styles[] = {
        {"games.pgn", {}},
        {"games_long.pgn", {}},
        {"games_variations.pgn", {}},
        {"games_variations.pgn", {{"\n", "\r\n"}}},
        {"games_long.pgn", {{"x", ":"}, {"=", ""}, {". ", "."}}},
        {"games.pgn", {{"+ ", "!? $13 "}, {"O-O-O", "0-0-0"}, {"O-O", "0-0"}, {"\n[", "\n \t["}}},
        {"games.pgn", {{"[Event ", "[event "}, {"[Result ", "[RESULT\t\n"}, {"[PlyCount \"", "[plycount "}}},
    };
    for (const auto& [name, changes] : styles) {
        std::string text = ReadAll(data + name);
        ASSERT_FALSE(text.empty()) << name;
        for (const auto& [from, to] : changes) {
            Replace(text, from, to);
        }
        Run("\xef\xbb\xbf" + text);  // the mark of a Windows editor
        EXPECT_EQ(printed, "") << name;
        EXPECT_EQ(lines, expected) << name;
    }
}

TEST_F(PgnTest, ConstructsOfTheReader) {
    const struct {
        const char* text;
        const char* fen;
        const char* moves;  // replayed
        const char* printed;
    } cases[] = {
        // Headers.
        {"no tag, no game 1. e4", START, "", ""},
        {"[A \"b\"]\n1. e4 e5 *", START, "e2e4 e7e5", ""},
        {"[A \"b [c] d\"]\n[B]1. e4", START, "e2e4", ""},  // the value ends early, and a new game begins
        {"[FEN \"4k3/8/8/8/8/8/4P3/4K3 b - - 0 1\"][FEN]1... Kd7 2. e4", "4k3/8/8/8/8/8/4P3/4K3 b - -", "e8d7 e2e4",
         ""},
        // The moves begin at the first 1 behind the header and one comment.
        {"[FEN 4k3/8/8/8/8/8/4P3/4K3 w]{1. a {b} 1. c} 7. Kd1 1. e4", "4k3/8/8/8/8/8/4P3/4K3 w - -", "e2e4", ""},
        {"[A b]\n\n1. d4\n\n[A b]\n\n1. e4 d5", START, "e2e4 d7d5", ""},
        // Asides.
        {"[A b] 1.e4{a{b}c}{d}(1. d4 (1. c4) d5){e}$7 e5 ! ?! 2... # * / \\ + 2. Nf3", START, "e2e4 e7e5 g1f3", ""},
        {"[A b] 1. {before the move} (and) e4", START, "e2e4", ""},
        {"[A b] 1. e4 {never closed 1. d4 ]", START, "e2e4", ""},
        {"[A b] 1. e4 e5 1-0 1/2-1/2 0-1 2. d4", START, "e2e4 e7e5 d2d4", ""},
        // Castling.
        {"[FEN r3k2r/8/8/8/8/8/8/R3K2R w KQkq -] 1. 0-0-0 O-O 1-0", "r3k2r/8/8/8/8/8/8/R3K2R w KQkq -", "e1c1 e8g8",
         ""},
        {"[FEN 4k3/8/8/8/8/8/8/4R2K w - -] 1. O-O", "4k3/8/8/8/8/8/8/4R2K w - -", "", "\nCan't recognize: O-O...\n"},
        // Hints, captures, promotions.
        {"[FEN 4k3/8/5n2/1n6/8/8/8/4K3 b - -] 1... N5d4", "4k3/8/5n2/1n6/8/8/8/4K3 b - -", "b5d4", ""},
        {"[FEN 4k3/3P4/8/1N3N2/8/8/8/4K3 b - -] 1... Kxd7 2. Nbd4 Ke8 3. Ne6", "4k3/3P4/8/1N3N2/8/8/8/4K3 b - -",
         "e8d7 b5d4 d7e8 d4e6", ""},
        {"[FEN 4k3/8/8/1N3N2/8/8/8/4K3 w - -] 1. Nd4 Kd7 2. Ke2", "4k3/8/8/1N3N2/8/8/8/4K3 w - -", "f5d4",
         "\nAmbigous move: Nd4... [Nb5d4, Nf5d4]\n"},
        {"[FEN 4k3/4p3/8/3p4/2PQP3/8/8/4K3 w - -] 1. exd5 e5 2. d:e6", "4k3/4p3/8/3p4/2PQP3/8/8/4K3 w - -",
         "e4d5 e7e5 d5e6", ""},
        {"[FEN 4k3/8/8/8/3QP3/8/8/4K3 w - -] 1. exd5 Kd7", "4k3/8/8/8/3QP3/8/8/4K3 w - -", "",
         "\nCan't recognize: exd5...\n"},
        {"[FEN 8/P6k/8/8/8/8/8/4K3 w - -] 1. a8=R Kg6 2. Ra8-a6", "8/P6k/8/8/8/8/8/4K3 w - -", "a7a8r h7g6 a8a6", ""},
        {"[FEN 8/P6k/8/8/8/8/8/4K3 w - -] 1. a8N Kg6 2. N", "8/P6k/8/8/8/8/8/4K3 w - -", "a7a8n h7g6 a8c7",
         "\nAmbigous move: N... [Na8b6, Na8c7]\n"},
        // Nonsense ends the game and nothing else.
        {"[A b] 1. e4 Kg4 2. d4 [A b] 1. d4", START, "d2d4", "\nCan't recognize: Kg4...\n"},
        {"[A b] 1. e4 ; e5\x80 2. d4", START, "e2e4", "\nCan't recognize: ;...\n"},
        {"[A b] 1. e4 \xc3\xa9 e5", START, "e2e4", "\nCan't recognize: ?...\n"},
        {"[FEN 8/8/8/8/8/8/8/8 w - -] 1. e4", "8/8/8/8/8/8/8/8 w - -", "", "\nCan't recognize: e4...\n"},
        {"[A b] 1. e4e4e4e4e4e4e4", START, "", "\nCan't recognize: e4e4e4e4e4e4e4...\n"},  // as long as may be
    };
    for (const auto& each : cases) {
        PlaceStartPosition();
        Run(each.text);
        const std::string position = WriteFen(0);
        EXPECT_EQ(position, PositionAfter(each.fen, each.moves)) << each.text;
        EXPECT_EQ(printed, each.printed) << each.text;
        EXPECT_EQ(lines, "") << "no result is known: " << each.text;
    }
}

TEST_F(PgnTest, LinesAreWrittenForQuietMovesAfterTheFirst) {
    const std::string fen = "4k3/8/8/8/5p2/8/P3P3/4K3 w - -";
    const std::string moves = " 1. a4 f3 2. exf3 Kd7 3. a5";
    const std::string positions[] = {PositionAfter(fen, "a2a4"), PositionAfter(fen, "a2a4 f4f3 e2f3"),
                                     PositionAfter(fen, "a2a4 f4f3 e2f3 e8d7")};
    const auto expected = [&](const std::string& white, const std::string& black) {
        return positions[0] + ";f4f3;4;5;" + black + "\n" + positions[1] + ";e8d7;2;5;" + black + "\n" + positions[2] +
               ";a4a5;1;5;" + white + "\n";
    };
    const std::string header = "[FEN \"" + fen + "\"][PlyCount \"5\"]";
    for (const auto& [result, lines_of] : std::initializer_list<std::pair<const char*, std::string>>{
             {"1-0", expected("1", "2")}, {"0-1", expected("2", "1")}, {"1/2-1/2", expected("0", "0")}, {"*", ""}}) {
        Run(header + "[Result \"" + result + "\"]" + moves);
        EXPECT_EQ(lines, lines_of) << result;
    }
    // A double push that the FEN tells of counts as a move made.
    Run("[FEN 4k3/8/8/3pP3/8/8/8/4K3 w - d6][Result 1-0] 1. Ke2 Ke7");
    EXPECT_EQ(lines, "4k3/8/8/3pP3/8/8/8/4K3 w - d6 ;e1e2;-1;0;1\n4k3/8/8/3pP3/8/8/4K3/8 b - - ;e8e7;-2;0;2\n");
    // An ambiguous move is still made, and it is the last of the game.
    Run("[Result 1-0] 1. a3 a6 2. N");
    EXPECT_NE(lines.find(";g1h3;-2;0;1\n"), std::string::npos) << lines;
}

TEST_F(PgnTest, LongFilesAndGames) {
    std::string text = "[Result 1-0][PlyCount 99999999999] 1. ";
    for (int i = 0; i < 500; ++i) {
        text += "Nf3 Nf6 Ng1 Ng8 ";
    }
    Run(text);
    EXPECT_EQ(std::ranges::count(lines, '\n'), 1999);
    EXPECT_NE(lines.find(";f6g8;2147481648;2147483647;2\n"), std::string::npos) << "half-moves to the end";

    text.clear();
    for (int i = 0; i < 201; ++i) {
        text += "[Site \"" + std::string(600, 'x') + "\"]\n1. e4 e5 {" + std::string(100, '[') + "}\n";
    }
    Run(text);
    EXPECT_EQ(printed,
              "Processed 100 games, hit/game = 0.000...              \r"
              "Processed 200 games, hit/game = 0.000...              \r");

    // A tag that would otherwise count is cut with the rest of a value or a name.
    Run("[FEN \"" + std::string(600, ' ') + "8/8/8/8/8/8/8/8\"][" + std::string(600, 'r') + " 1] 1. e4");
    EXPECT_EQ(lines + printed, "\nCan't recognize: e4...\n");
}

TEST_F(PgnTest, TokenTooLong) {
    std::ofstream("in.pgn") << "[A b] 1. e4 e5e5e5e5e5e5e5e5e5";
    EXPECT_EXIT(PgnEval("in.pgn"), testing::ExitedWithCode(2), "");
}

/// A name of another system is looked for under the working directory, and the lines go beside it.
TEST_F(PgnTest, Files) {
    EXPECT_EQ(OutputOf([] { PgnEval("c:\\work\\source.pgn"); }), "Error opening file c:\\work\\source.pgn...\n");

    std::filesystem::create_directory("work");
    std::ofstream("work/source.pgn") << "[Result 1-0] 1. e4 e5 ";
    PgnEval("c:\\work\\source.pgn");
    PgnEval("c:\\work\\source.pgn");
    const std::string line = PositionAfter(START, "e2e4") + ";e7e5;-1;0;2\n";
    EXPECT_EQ(ReadAll("work/my_eval.csv"), line + line) << "appended";

    std::filesystem::create_directory(LINES);
    testing::internal::CaptureStdout();
    std::ofstream("in.pgn") << "[Result 1-0] 1. e4 e5 2. Nf3 Nc6";
    PgnEval("in.pgn");
    PgnEval("work");  // a directory holds no games
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error opening file c:\\work\\my_eval.csv...\n");
}

TEST_F(PgnTest, SelfTestRepeatsItself) {
    const std::string games = ReadAll(QUORVANTH_TEST_DATA "/pgn/games.pgn");
    std::ofstream("in.pgn") << games;
    SelfTest("in.pgn");
    const std::string once = ReadAll(LINES);
    EXPECT_FALSE(once.empty());
    SelfTest("in.pgn");
    EXPECT_EQ(ReadAll(LINES), once + once);
    EXPECT_TRUE(PositionIsConsistent());
    SetupFen("4k3/8/8/8/8/8/4P3/4K3 w - -");
    EXPECT_EQ(OutputOf([] { SelfTest("none.pgn"); }), "Error opening file none.pgn...\n");
    EXPECT_TRUE(PositionIsConsistent()) << "the table under the position has been built anew";
}

}  // namespace
