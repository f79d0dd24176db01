#include "position/fen.h"
#include "position/settings.h"
#include "support/evaluation_tables.h"
#include "support/files.h"
#include "tools/diagnostics.h"
#include "tools/epd_evaluation.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

class EvaluationCommands : public testing::Test {
  protected:
    void SetUp() override { ResetEvaluation(); }
    void TearDown() override { ResetEvaluation(); }

    const WorkingFolder folder;
};

TEST_F(EvaluationCommands, ShowEvaluationTellsEveryIngredientInItsOrder) {
    std::fill_n(&ShelterScale[0][0][0], 30, 256);
    for (int i = 0; i < 64; ++i) {
        ShelterPenalty[i] = 1000 + i;
        KingSquareShelter[i] = i;
    }
    // White's a-pawn and Black's h-pawn are passed.
    const char* const fens[] = {"r1bq1rk1/2pp1ppp/2n2n2/8/8/2N2N1Q/PPP2P2/R1B2RK1 w - - ",
                                "r1bq1rk1/2pp1ppp/2n2n2/8/8/2N2N1Q/PPP2P2/R1B2RK1 b - - "};
    for (const char* fen : fens) {
        SetupFen(fen);
        const std::string text = OutputOf(ShowEvaluation);
        const ThreadEvalInfo& info = thread_eval_info;
        const Colour us = thread_board.SideToMove;
        const Colour them = ChangeSide(us);
        const int attack = DangerCurve[info.danger[us]] * ShelterFactor[info.shelter_penalty[them]] / 16;
        const int threat = DangerCurve[info.danger[them]] * ShelterFactor[info.shelter_penalty[us]] / 16;
        EXPECT_NE(attack, threat) << "a position that cannot tell the two apart";
        EXPECT_NE(info.shelter_penalty[WHITE], 0);
        const auto number = [](std::int64_t value) { return std::to_string(value); };
        std::int32_t score = 0;
        EvaluateFull(score);
        const std::string expected =
            "Heuristic = " + number(score) + "\nPassedVector[BLACK] = 00000001 PassedVector[WHITE] = 10000000\n" +
            "current_phase = " + number(thread_board.current_phase) +
            ", black_phase = " + number(thread_board.black_phase) +
            ", white_phase = " + number(thread_board.white_phase) +
            "\nMaterial[WHITE] = " + number(thread_board.Material[WHITE]) +
            " thread_board.Material[BLACK] = " + number(thread_board.Material[BLACK]) +
            " EvaluateMaterial() = " + number(info.material_score) +
            "\nENDING(WHITE) = 0 ENDING(BLACK) = 0\n"
            "thread_eval_info.shelter_penalty[BLACK] = " +
            number(info.shelter_penalty[BLACK]) +
            " thread_eval_info.shelter_penalty[WHITE] = " + number(info.shelter_penalty[WHITE]) +
            "\nthread_eval_info.danger[BLACK] = " + number(info.danger[BLACK]) +
            " thread_eval_info.danger[WHITE] = " + number(info.danger[WHITE]) +
            "\nAttacks[ChangeSide(thread_board.SideToMove)] = " + number(attack) +
            "\nAttacks[thread_board.SideToMove] = " + number(threat) +
            "\nShelter[BLACK] = " + number(1000 + info.shelter_penalty[BLACK]) +
            " Shelter[WHITE] = " + number(1000 + info.shelter_penalty[WHITE]) +
            "\nDng = " + number(attack + 1000 + info.shelter_penalty[them]) + "\n";
        EXPECT_EQ(text, expected);
    }
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
    EXPECT_EQ(OutputOf([] { EpdEval("none.epd"); }), "Error opening file none.epd...\n");
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
    EXPECT_EQ(OutputOf([] { EpdEval("in.epd"); }), "Error opening file out.epd...\n");
}

}  // namespace
