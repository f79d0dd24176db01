// "Quorvanth.ini", as the real program takes it: its warnings, the settings that it shows afterwards, and what the
// settings that it does not show change.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "protocol/conversation.h"

namespace {

using Lines = Conversation::Lines;

Conversation StartWith(const std::string& configuration) {
    return Conversation({{"Quorvanth.ini", configuration}});
}

Lines Warnings(const Lines& greeting) {
    Lines warnings;
    std::ranges::copy_if(greeting, std::back_inserter(warnings),
                         [](const std::string& line) { return line.starts_with("Quorvanth.ini"); });
    return warnings;
}

/// What is said of the settings, from the sizes on.
Lines Settings(const Lines& greeting) {
    return {std::ranges::find_if(greeting, [](const std::string& line) { return line.starts_with("Transposition"); }),
            greeting.end()};
}

/// The defaults with some lines replaced: each by the one that begins with the same word.
Lines DefaultsBut(const Lines& changes) {
    Lines settings = {"Transposition size is 524288 entries (13631488 bytes)",
                      "Pawn hash size is 262144 entries (8912896 bytes)",
                      "Aggressivity = 100 (50)%",
                      "Cowardice = 100 (50)%",
                      "ResignValue = 800",
                      "ResignTimes = 3",
                      "UseEGTB = on",
                      "EGTB path = \"c:\\tablebases\\\"",
                      "UseBookWeights = on",
                      "UseBookLearning = on",
                      "BookLearningMode = KILL",
                      "VarietyOfPlay = 10",
                      "BookLearningBound = 400",
                      "UseLearning = off",
                      "UseLearningData = off",
                      "LogLearningIntoFile = off",
                      "Pondering = on"};
    for (const std::string& change : changes) {
        const std::string word = change.substr(0, change.find(' ') + 1);
        *std::ranges::find_if(settings, [&word](const std::string& line) { return line.starts_with(word); }) = change;
    }
    return settings;
}

/// "Quorvanth.ini(3) WARNING: TEXT" for {3, TEXT}.
struct Warning {
    int line;
    std::string text;
};

std::string Text(const Warning& warning) {
    std::string text = "Quorvanth.ini(";
    return text.append(std::to_string(warning.line)).append(") WARNING: ").append(warning.text);
}

const char* const bad_hash = "Incorrect hash size setting in Quorvanth.ini; set to default";
const char* const bad_pawn_hash = "Incorrect pawn hash size setting in Quorvanth.ini; set to default";

TEST(Configuration, EveryLineIsObeyedOrAnswered) {
    struct Case {
        std::string file;
        Lines settings;
        std::vector<Warning> warnings;
    };
    const std::string longLine = std::string(249, 'x');
    const Case cases[] = {
        {"TranspositionSizeMb=64\nPawnHashSizeMb 0\nResignValue,-2147483649\nResignTimes \"11\"\nAggressivity==300\n"
         "COWARDICE\"0\"\nvarietyofplay 100\nBookLearningBound=99999999999\nLearning=ON\nUseBookLearning false\n"
         "Pondering OFF\nUseEGTB = off\nEGTBPath = a b;c =\"\nBookLearningMode Discover\nUseLearningData true\n"
         "UseBookWeights off\nLogLearningIntoFile on",
         {"Transposition size is 2581110 entries (67108860 bytes)", "Pawn hash size is 0 entries (0 bytes)",
          "ResignValue = -2147483648", "ResignTimes = 11", "Aggressivity = 300 (150)%", "Cowardice = 0 (0)%",
          "VarietyOfPlay = 100", "BookLearningBound = 2147483647", "UseLearning = on", "UseBookLearning = off",
          "Pondering = off", "UseEGTB = off", "EGTB path = \"a b;c =\"\"", "BookLearningMode = DISCOVER",
          "UseLearningData = on", "UseBookWeights = off", "LogLearningIntoFile = on"},
         {}},
        {"TranspositionSize=26\nPawnHashSize=11\nAggressivity=-1\nCowardice=301\nVarietyOfPlay=101\nLearning=maybe\n"
         "BookLearningMode = on\nUseBookWeights=\nEGTBPath=\nPondering offf",
         {"Pawn hash size is 524288 entries (17825792 bytes)", "Aggressivity = 0 (0)%", "Cowardice = 300 (150)%",
          "VarietyOfPlay = 100", "EGTB path = \"\""},
         {{1, bad_hash},
          {2, bad_pawn_hash},
          {3, "Incorrect AGGRESSIVITY setting; set to 0"},
          {4, "Incorrect COWARDICE setting; set to 300"},
          {5, "Incorrect VarietyOfPlay setting; set to 100"},
          {6, "Token unknown \"maybe\""},
          {7, "Token unknown \"on\""},
          {8, "Token unknown \"\""},
          {10, "Token unknown \"offf\""}}},
        // The last line that sets a value wins, and a bad one sets its own default over a good one before it.
        {"TranspositionSize=25\r\nPawnHashSizeMb=1025\r\nPawnHashSize=12\r\nAggressivity=301\r\nCowardice=-5\r\n"
         "VarietyOfPlay=-99999999999\r\nCowardice=41\r\n",
         {"Transposition size is 33554432 entries (872415232 bytes)", "Pawn hash size is 4096 entries (139264 bytes)",
          "Aggressivity = 300 (150)%", "Cowardice = 41 (20)%", "VarietyOfPlay = 0"},
         {{2, bad_pawn_hash},
          {4, "Incorrect AGGRESSIVITY setting; set to 300"},
          {5, "Incorrect COWARDICE setting; set to 0"},
          {6, "Incorrect VarietyOfPlay setting; set to 0"}}},
        {"TranspositionSizeMb=3\nTranspositionSizeMb=-1\nPawnHashSizeMb=1024\nPawnHashSize=24",
         {"Pawn hash size is 524288 entries (17825792 bytes)"},
         {{2, bad_hash}, {4, bad_pawn_hash}}},
        {"TranspositionSize 0\nPawnHashSizeMb = junk",
         {"Transposition size is 1 entries (26 bytes)", "Pawn hash size is 0 entries (0 bytes)"},
         {}},
        // Nothing here is a setting; the warnings count every line, and a piece of a long one as a line.
        {"; Learning=maybe\n\nUnknown=7\nLearning\nResignTimes\t5\n\xc3\xa4\nUseLearning on\nL on\n \n" + longLine +
             "\n;" + longLine + "Learning 1\nLearning\x01 on\nTranspositionSize\n" +
             std::string("Res\0ignTimes 7\n", 15),
         {},
         {}},
        {std::string(";").append(248, 'x') +
             "Learning = 1\n  ResignTimesNow 4\nResignValue 7\xe9 0\nLearning x\xff"
             "on\n" +
             longLine + "\nUseEGTB \"perhaps\"",
         {"ResignTimes = 4", "ResignValue = 7"},
         {{2, "Token unknown \"1\""}, {5, "Token unknown \"x\""}, {7, "Token unknown \"perhaps\""}}},
    };
    for (const Case& each : cases) {
        const Conversation engine = StartWith(each.file);
        Lines warnings;
        std::ranges::transform(each.warnings, std::back_inserter(warnings), Text);
        EXPECT_EQ(Warnings(engine.Greeting()), warnings) << each.file;
        EXPECT_EQ(Settings(engine.Greeting()), DefaultsBut(each.settings)) << each.file;
    }
}

TEST(Configuration, PonderingStartsSwitchedOff) {
    for (const std::string file : {"", "pondering off"}) {
        Conversation engine = StartWith(file);
        engine.Send("sd 4\ngo");
        engine.Expect("move ");
        if (file.empty()) {
            engine.Expect("Hint: ");
        } else {
            engine.Overhear(std::chrono::milliseconds(500));
            engine.Send("hard\ngo");
            engine.Expect("move ");
            engine.Overhear(std::chrono::milliseconds(500));
            EXPECT_EQ(engine.CountLines("Hint: "), 0U);
        }
    }
}

class ObeyEachGo : public testing::Test {
  protected:
    ObeyEachGo() : engine_(StartWith("ObeyEachGo on")) { engine_.Ask("uci"); }

    /// The number behind `name` in the last line about the search, which must end by itself.
    int Last(const std::string& name, const std::string& go,
             const std::string& position = "startpos moves e2e4 e7e5 g1f3 b8c6 f1b5") {
        engine_.Ask("position " + position);
        engine_.Send(go);
        const Lines lines = engine_.ExpectUpTo("bestmove ");
        const auto last = std::find_if(lines.rbegin(), lines.rend(),
                                       [](const auto& line) { return line.starts_with("info depth "); });
        if (last == lines.rend()) {
            ADD_FAILURE() << go;
            return -1;
        }
        return std::atoi(last->c_str() + last->find(" " + name + " ") + name.size() + 2);
    }

    Conversation engine_;
};

TEST_F(ObeyEachGo, EveryLimitHoldsAlone) {
    for (const char* before : {"go movetime 40", "go wtime 200 btime 200 movestogo 1", "go movetime 0", "go nodes 1"}) {
        Last("depth", before);
        EXPECT_EQ(Last("depth", "go depth 9"), 9) << before;
        engine_.Ask("clean");
    }
    EXPECT_EQ(Last("depth", "go depth 4 wtime 900000 btime 900000"), 4);
    EXPECT_EQ(Last("depth", "go movetime 600000 depth 2"), 2);
    // The second has captures without end.
    for (const char* position : {"startpos", "fen qqqqkqqq/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQKQQQ w - - 0 1"}) {
        for (const int nodes : {700, 20000, 333333}) {
            const int counted = Last("nodes", "go nodes " + std::to_string(nodes), position);
            EXPECT_LE(std::abs(counted - nodes), std::max(2000, nodes / 100)) << position;
        }
    }
    EXPECT_LE(Last("nodes", "go nodes 30000 wtime 900000 btime 900000"), 32000);
    // A search for a mate of one length shows no other score.
    engine_.Ask("position fen 6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1");
    engine_.Send("go mate 7 depth 3\nposition fen 6k1/5ppp/8/8/8/8/8/R3K3 w - - 0 1\ngo depth 6");
    engine_.Expect("bestmove ");
    const Lines lines = engine_.ExpectUpTo("bestmove ");
    EXPECT_NE(Joined(lines).find(" score mate 1 "), std::string::npos) << Joined(lines);
}

TEST_F(ObeyEachGo, AnInfiniteSearchLeavesTheClockAlone) {
    Last("depth", "go wtime 300 btime 300");
    engine_.Send("go infinite");
    engine_.Overhear(std::chrono::milliseconds(100));
    engine_.Send("stop");
    engine_.Expect("bestmove ");
    Last("depth", "go");  // by the clock of the first search
}

TEST(Configuration, ABookOfVersion0HasNoResultsWhateverIsSaid) {
    const std::string book = std::string("~Quorvanth openings book").append(12, '\0');
    const Conversation engine({{"old.qvn", book}, {"Quorvanth.ini", "OpeningsBook=old.qvn\nUseBookWeights=on"}});
    EXPECT_EQ(Settings(engine.Greeting()), DefaultsBut({"UseBookWeights = off", "UseBookLearning = off"}));
}

/// What stands between `word` and the next blank, in the last of the lines that has it.
std::string LastAfter(const Lines& lines, const std::string& word) {
    const auto line = std::find_if(lines.rbegin(), lines.rend(),
                                   [&word](const std::string& each) { return each.find(word) != std::string::npos; });
    if (line == lines.rend()) {
        return "";
    }
    const std::size_t begin = line->find(word) + word.size();
    return line->substr(begin, line->find_first_of(" \t", begin) - begin);
}

// A game that goes wrong is learnt from, and the next program finds in the file what was learnt. White's queen gives a
// check with one answer and is moved badly afterwards: the position behind the answer is the one to be learnt.
TEST(Configuration, LearningGoesFromOneProgramToTheNext) {
    const std::string configuration = "ObeyEachGo=on\nLearning=on\nLogLearningIntoFile=on\nUseLearningData=";
    const std::string check = "position startpos moves e2e4 f7f5";
    Conversation first = StartWith(configuration + "on");
    EXPECT_EQ(first.ReadFile("Learn.qv1").size(), 262167U);
    first.Ask("uci");
    for (const char* step :
         {" d1h5 g7g6\ngo depth 8 searchmoves h5f3 h5g6", " d1h5 g7g6 h5f3 b8c6\ngo depth 10 searchmoves f3f5 f3a3",
          " d1h5 g7g6 h5f3 b8c6 f3f5 g6f5\ngo depth 8"}) {
        first.Send(check + step);
        first.Expect("bestmove ");
    }
    first.Ask("");
    const std::string learnt = first.ReadFile("Learn.qv1");
    EXPECT_EQ(learnt.size(), 262167U + 24);
    const std::string log = first.ReadFile("learn.log");
    EXPECT_NE(log.find("FEN = rnbqkbnr/ppppp2p/6p1/5p1Q/4P3/8/PPPP1PPP/RNB1KBNR w KQkq - h5f3\n"), std::string::npos);

    for (const char* setting : {"on", "off"}) {
        Conversation next({{"Quorvanth.ini", configuration + setting}, {"Learn.qv1", learnt}});
        next.Send("uci\n" + check + "\ngo depth 9 searchmoves d1h5");
        const std::string score = LastAfter(next.ExpectUpTo("bestmove "), " score cp ");
        EXPECT_EQ(score == LastAfter({log}, "Evaluaton = "), setting == std::string_view("on"))
            << setting << score << log;
        EXPECT_EQ(next.ReadFile("Learn.qv1"), learnt);
    }
}

// The file that is shipped: nothing in it is refused, and it shows what the engine does without it.
TEST(Configuration, ShippedFileHoldsTheDefaultsAndObeysEachGo) {
    std::ostringstream text;
    text << std::ifstream(QUORVANTH_DATA "/Quorvanth.ini").rdbuf();
    const std::string shipped = text.str();
    Conversation engine = StartWith(shipped);
    EXPECT_EQ(Warnings(engine.Greeting()), Lines());
    EXPECT_EQ(Settings(engine.Greeting()), DefaultsBut({}));
    engine.Ask("uci");
    engine.Send("go movetime 50");
    engine.Expect("bestmove ");

    // What is switched off by a semicolon would be obeyed as well.
    std::string all = shipped;
    for (const char* key : {"TranspositionSizeMb =", "PawnHashSizeMb =", "OpeningsBook =", "EGTBPath ="}) {
        const std::size_t at = all.find(std::string("\n; ").append(key));
        ASSERT_NE(at, std::string::npos) << key;
        all.erase(at + 1, 2);
    }
    const Conversation full = StartWith(all);
    EXPECT_EQ(Warnings(full.Greeting()), Lines());
    EXPECT_EQ(Settings(full.Greeting()), DefaultsBut({"Transposition size is 2581110 entries (67108860 bytes)",
                                                      "Pawn hash size is 493447 entries (16777198 bytes)",
                                                      "EGTB path = \"/usr/share/syzygy;/home/me/more tables\""}));
    // There is no such book: both the one named and the one that is opened by default are missed.
    const std::string missing = "Error opening \"Book.qvn\"!";
    EXPECT_EQ(std::ranges::count(engine.Greeting(), missing), 1);
    EXPECT_EQ(std::ranges::count(full.Greeting(), missing), 2);
}

}  // namespace
