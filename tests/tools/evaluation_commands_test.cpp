#include "position/fen.h"
#include "support/evaluation_tables.h"
#include "tools/diagnostics.h"
#include "tools/epd_evaluation.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

/// A directory of the test's own to work in, because the output's name is fixed.
class EvaluationCommands : public testing::Test {
  protected:
    void SetUp() override {
        ResetEvaluation();
        home = std::filesystem::current_path();
        const std::filesystem::path room =
            std::filesystem::temp_directory_path() / ("quorvanth_epd_" + std::to_string(std::random_device{}()));
        std::filesystem::create_directory(room);
        std::filesystem::current_path(room);
    }
    void TearDown() override {
        const std::filesystem::path room = std::filesystem::current_path();
        std::filesystem::current_path(home);
        std::filesystem::remove_all(room);
    }

    static std::string OutputOf(void (*command)()) {
        testing::internal::CaptureStdout();
        command();
        return testing::internal::GetCapturedStdout();
    }
    static std::string ReadAll(const char* path) {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    std::filesystem::path home;
};

TEST_F(EvaluationCommands, ShowEvaluationTellsTheIngredients) {
    SetupFen("2r1k1nb/ppp5/8/8/8/8/PPP5/2Q1K3 b - - ");  // eleven points without a queen against nine
    EngineSide = WHITE;
    const std::string text = OutputOf(ShowEvaluation);
    EXPECT_EQ(EngineSide, BLACK);
    std::int32_t score = 0;
    EvaluateFull(score);
    const std::string material = std::to_string(thread_eval_info.material_score);
    const std::string expected =
        "current_phase = 171, black_phase = 171, white_phase = 171\n"
        "Material[WHITE] = 1200 thread_board.Material[BLACK] = 1400 EvaluateMaterial() = " +
        material + "\nENDING(WHITE) = 1 ENDING(BLACK) = 1\n";
    EXPECT_EQ(text.find("Heuristic = " + std::to_string(score) + "\n"), 0u) << text;
    EXPECT_NE(text.find(expected), std::string::npos) << text;
}

TEST_F(EvaluationCommands, EpdLinesAreWrittenBackWithTheirScores) {
    const std::string fens[] = {"4k3/8/8/8/8/8/8/4K2R w K - id 1;", "4k3/8/8/8/8/8/8/4K2R b K -",
                                "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -"};
    std::ofstream("in.epd") << fens[0] << '\n' << fens[1] << "\r\n" << fens[2];  // the last line has no end
    std::string expected;
    std::int32_t scores[3];
    for (int i = 0; i < 3; ++i) {
        SetupFen(fens[i]);
        EvaluateFull(scores[i]);
    }
    EXPECT_GT(scores[0], 400);
    EXPECT_LT(scores[1], -400);
    EpdEval("in.epd");
    EXPECT_EQ(ReadAll("out.epd"), fens[0] + "\n;" + std::to_string(scores[0]) + "\n" + fens[1] + "\r\n;" +
                                      std::to_string(scores[1]) + "\n" + fens[2] + ";" + std::to_string(scores[2]) +
                                      "\n");
}

TEST_F(EvaluationCommands, EpdFilesThatAreMissingOrOdd) {
    const auto missing = [] { EpdEval("none.epd"); };
    EXPECT_EQ(OutputOf(missing), "Error opening file none.epd...\n");
    EXPECT_FALSE(std::filesystem::exists("out.epd"));

    // A long line is read in pieces of 255 characters; bytes that mean nothing are taken in good part.
    std::ofstream("in.epd") << std::string(300, 'x') << '\n' << std::string("\0\xff\n", 3);
    EpdEval("in.epd");
    const std::string text = ReadAll("out.epd");
    EXPECT_EQ(text.find(std::string(255, 'x') + ";"), 0u);
    EXPECT_NE(text.find("\n" + std::string(45, 'x') + "\n;"), std::string::npos);

    std::filesystem::create_directory("folder");
    EpdEval("folder");
    EXPECT_EQ(ReadAll("out.epd"), "");

    std::filesystem::remove("out.epd");
    std::filesystem::create_directory("out.epd");
    const auto unwritable = [] { EpdEval("in.epd"); };
    EXPECT_EQ(OutputOf(unwritable), "Error opening file out.epd...\n");
}

}  // namespace
