#include "tools/diagnostics.h"

#include "eval/evaluation.h"
#include "eval/parameters.h"

#include <array>
#include <cstdio>

namespace {

/// Eight digits, bit 0 first: the a-file on the left.
std::array<char, 9> FileDigits(std::uint8_t files) {
    std::array<char, 9> digits{};
    for (std::size_t file = 0; file < 8; ++file) {
        digits[file] = (files >> file & 1) != 0 ? '1' : '0';
    }
    return digits;
}

/// What `attacker` has gathered against a king as badly sheltered as the enemy's.
std::int32_t AttackOf(Colour attacker) {
    const std::int64_t danger = DangerCurve[thread_eval_info.danger[attacker]];
    return static_cast<std::int32_t>((danger * ShelterFactor[thread_eval_info.shelter_penalty[ChangeSide(attacker)]]) >>
                                     4);
}

std::int32_t ShelterPenaltyOf(Colour colour) {
    return ShelterPenalty[thread_eval_info.shelter_penalty[colour]];
}

void ShowMaterial() {
    std::printf("current_phase = %d, black_phase = %d, white_phase = %d\n", thread_board.current_phase,
                thread_board.black_phase, thread_board.white_phase);
    std::printf("Material[WHITE] = %d thread_board.Material[BLACK] = %d EvaluateMaterial() = %d\n",
                thread_board.Material[WHITE], thread_board.Material[BLACK], thread_eval_info.material_score);
    std::printf("ENDING(WHITE) = %d ENDING(BLACK) = %d\n", EndingByFormula(WHITE), EndingByFormula(BLACK));
}

void ShowKingSafety() {
    const ThreadEvalInfo& info = thread_eval_info;
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    std::printf("thread_eval_info.shelter_penalty[BLACK] = %d thread_eval_info.shelter_penalty[WHITE] = %d\n",
                info.shelter_penalty[BLACK], info.shelter_penalty[WHITE]);
    std::printf("thread_eval_info.danger[BLACK] = %d thread_eval_info.danger[WHITE] = %d\n", info.danger[BLACK],
                info.danger[WHITE]);
    // The index names the colour whose king is attacked.
    std::printf("Attacks[ChangeSide(thread_board.SideToMove)] = %d\n", AttackOf(us));
    std::printf("Attacks[thread_board.SideToMove] = %d\n", AttackOf(them));
    std::printf("Shelter[BLACK] = %d Shelter[WHITE] = %d\n", ShelterPenaltyOf(BLACK), ShelterPenaltyOf(WHITE));
    std::printf("Dng = %d\n", static_cast<std::int32_t>(std::int64_t{AttackOf(us)} + ShelterPenaltyOf(them)));
}

}  // namespace

void ShowEvaluation() {
    EngineSide = thread_board.SideToMove;
    std::int32_t score = NO_EVALUATION;
    EvaluateFull(score);
    std::printf("Heuristic = %d\n", score);
    std::printf("PassedVector[BLACK] = %s PassedVector[WHITE] = %s\n",
                FileDigits(thread_board.PawnEntry.PassedFiles(BLACK)).data(),
                FileDigits(thread_board.PawnEntry.PassedFiles(WHITE)).data());
    ShowMaterial();
    ShowKingSafety();
    std::fflush(stdout);
}
