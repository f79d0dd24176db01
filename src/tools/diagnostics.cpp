#include "tools/diagnostics.h"

#include "eval/evaluation.h"

#include <cstdio>

void ShowEvaluation() {
    EngineSide = thread_board.SideToMove;
    std::int32_t score = NO_EVALUATION;
    EvaluateFull(score);
    std::printf("Heuristic = %d\n", score);
    std::printf("current_phase = %d, black_phase = %d, white_phase = %d\n", thread_board.current_phase,
                thread_board.black_phase, thread_board.white_phase);
    std::printf("Material[WHITE] = %d thread_board.Material[BLACK] = %d EvaluateMaterial() = %d\n",
                thread_board.Material[WHITE], thread_board.Material[BLACK], thread_eval_info.material_score);
    std::printf("ENDING(WHITE) = %d ENDING(BLACK) = %d\n", EndingByFormula(WHITE), EndingByFormula(BLACK));
    std::fflush(stdout);
}
