#include "eval/evaluation.h"

#include "eval/endgame_scale.h"
#include "eval/evaluation_cache.h"
#include "eval/king_attack.h"
#include "eval/king_shelter.h"
#include "eval/low_material.h"
#include "eval/material_table.h"
#include "eval/packed.h"
#include "eval/parameters.h"
#include "eval/passed_pawns.h"
#include "eval/pawn_structure.h"
#include "eval/pieces.h"
#include "position/attacks.h"

#include <algorithm>
#include <cmath>
#include <limits>

ThreadEvalInfo thread_eval_info;

// Until a search sets a window, nothing lies outside it.
std::int32_t LazyLow = -std::numeric_limits<std::int32_t>::max();
std::int32_t LazyHigh = std::numeric_limits<std::int32_t>::max();

namespace {

/// What the foremost pawns of a colour may soon add to its material: 100 with a pawn one step from promotion,
/// else 50 with one two steps from it.
std::int32_t PromotionHope(Colour colour) {
    constexpr Bitboard OneStep[2] = {RANK_8 >> 8, RANK_1 << 8};
    constexpr Bitboard TwoSteps[2] = {RANK_8 >> 16, RANK_1 << 16};
    const Bitboard pawns = thread_board.Pieces[PAWN][colour];
    return (pawns & OneStep[colour]) != 0 ? 100 : (pawns & TwoSteps[colour]) != 0 ? 50 : 0;
}

/// Enough left to make a lead in material count.
bool HasPlayLeft(Colour colour) {
    const std::int32_t weight = thread_board.PieceWeight[colour];
    return thread_board.PieceCount[PAWN][colour] >= 2 ? weight >= 6 : weight > 9;
}

void ClearAttacks() {
    thread_eval_info.attacks[WHITE] = 0;
    thread_eval_info.attacks[BLACK] = 0;
}

/// From the ninth half-move without progress on, the score fades toward a draw.
std::int32_t DampByFiftyMoves(std::int32_t score) {
    const std::int64_t quiet_moves = std::max(thread_board.FiftyCounter - 8, 0);
    return static_cast<std::int32_t>((score * (256 - 2 * quiet_moves)) >> 8);
}

// The steps of EvaluateFull, in their order.

void StartEvaluation() {
    thread_eval_info = {};
    thread_eval_info.both_sides_valid = 1;
    const int white_on_queenside = FileOf(thread_board.KingSquare[WHITE]) < 4;
    const int black_on_queenside = FileOf(thread_board.KingSquare[BLACK]) < 4;
    thread_eval_info.wing_index[WHITE] = 2 * white_on_queenside + black_on_queenside;
    thread_eval_info.wing_index[BLACK] = 2 * black_on_queenside + white_on_queenside;
}

/// Sets material_score and everything else that depends on the piece counts. True: few pieces, and `result` says all
/// that there is to say; the phases, forces and ending then stay as they were.
bool MaterialSettles(std::int32_t& result) {
    if (std::min(thread_board.PieceWeight[WHITE], thread_board.PieceWeight[BLACK]) < EndingWeight) {
        if (EvaluateLowMaterial(result)) {
            thread_eval_info.material_score = thread_board.Material[BLACK] - thread_board.Material[WHITE];
            return true;
        }
    } else {
        RefreshMaterial();
        thread_board.AllPawns = thread_board.Pieces[PAWN][WHITE] | thread_board.Pieces[PAWN][BLACK];
        result = thread_eval_info.material_score;
    }
    thread_eval_info.packed = PackBoth(result);
    return false;
}

/// The side that is behind keeps less of its positional credit when it has no pawns to play with.
void AddPieceSquares() {
    const std::int32_t white_pawns = thread_board.PieceCount[PAWN][WHITE];
    const std::int32_t black_pawns = thread_board.PieceCount[PAWN][BLACK];
    std::int32_t low_digit = std::max(white_pawns, black_pawns);
    std::int32_t high_digit = std::min(white_pawns, black_pawns);
    if (thread_eval_info.material_score > 0) {
        low_digit = white_pawns;
        high_digit = black_pawns;
    } else if (thread_eval_info.material_score < 0) {
        low_digit = black_pawns;
        high_digit = white_pawns;
    }
    const std::int64_t scale = PieceSquareScale[std::min(low_digit, 3) + 4 * std::min(high_digit, 3)];
    const std::int32_t sum = thread_board.PieceSquareSum;
    const auto opening = static_cast<std::int32_t>((PackedOpening(sum) * scale) >> 8);
    const auto ending = static_cast<std::int32_t>((PackedEnding(sum) * scale) >> 8);
    thread_eval_info.packed = PackedAdd(thread_eval_info.packed, Pack(opening, ending));
}

void AddMaterialPattern() {
    thread_eval_info.packed = PackedAdd(thread_eval_info.packed, PackBoth(MaterialPatternTerm()));
}

bool AnyPassedPawn() {
    return (thread_board.PawnEntry.PassedFiles(WHITE) | thread_board.PawnEntry.PassedFiles(BLACK)) != 0;
}

bool IsPawnDuel() {
    return thread_board.Material[WHITE] == 100 && thread_board.Material[BLACK] == 100;
}

/// One pawn each and no pieces: a sigmoid of the private scores is the whole result.
std::int32_t PawnDuelResult() {
    const std::int64_t lead = std::int64_t{thread_eval_info.end_score[BLACK]} - thread_eval_info.end_score[WHITE] +
                              PackedEnding(thread_eval_info.packed);
    const double amplitude = PawnDuelAmplitude;
    const double magnitude = static_cast<double>(lead < 0 ? -lead : lead);
    const double sigmoid = amplitude / (std::exp(PawnDuelSlope * magnitude / -1000.0) + 1.0) - amplitude / 2.0;
    const std::int64_t value = (std::llround(sigmoid) * lead) >> 6;
    return static_cast<std::int32_t>(thread_board.SideToMove == WHITE ? -value : value);
}

std::int64_t TaperedBy(std::int32_t phase, std::int64_t opening, std::int64_t ending) {
    return (ending * phase + opening * (256 - phase)) >> 8;
}

/// Each colour's private scores fade with its own army, the common ones with both.
std::int32_t TaperedValue() {
    const ThreadEvalInfo& info = thread_eval_info;
    return static_cast<std::int32_t>(
        TaperedBy(thread_board.current_phase, PackedOpening(info.packed), PackedEnding(info.packed)) +
        TaperedBy(thread_board.black_phase, info.open_score[BLACK], info.end_score[BLACK]) -
        TaperedBy(thread_board.white_phase, info.open_score[WHITE], info.end_score[WHITE]));
}

bool IsPurePawnEnding() {
    return thread_board.PieceWeight[WHITE] == 0 && thread_board.PieceWeight[BLACK] == 0;
}

/// 0 in place of a value that favours a colour that cannot win.
std::int32_t CutUnwinnable(std::int32_t value) {
    const bool unwinnable = (value > 0 && thread_eval_info.cannot_win[BLACK] != 0) ||
                            (value < 0 && thread_eval_info.cannot_win[WHITE] != 0);
    return unwinnable ? 0 : value;
}

/// Adds what the move is worth and turns the value to the side to move. Afterwards side_delta holds the sum of
/// the results for the two possible sides to move.
std::int32_t ResultForSideToMove(std::int32_t value) {
    ThreadEvalInfo& info = thread_eval_info;
    const std::int32_t tempo = TempoBonus[std::max(thread_board.current_phase - 1, 0) >> 5];
    const std::int64_t white_move = std::int64_t{tempo} + info.move_bonus[WHITE];
    const std::int64_t black_move = std::int64_t{tempo} + info.move_bonus[BLACK];
    const bool white_to_move = thread_board.SideToMove == WHITE;
    const std::int64_t score = white_to_move ? value - white_move : value + black_move;
    const std::int64_t delta = white_to_move ? -std::int64_t{info.side_delta} : std::int64_t{info.side_delta};
    info.score = static_cast<std::int32_t>(score);
    info.side_delta = static_cast<std::int32_t>(white_move + black_move + delta);
    return static_cast<std::int32_t>(white_to_move ? -score : score);
}

/// The kings' own squares come last: the king attack must not count a king as a guard.
void AddKingSquares() {
    for (const Colour colour : {WHITE, BLACK}) {
        thread_eval_info.attacks[colour] |= KingAttacks[thread_board.KingSquare[colour]];
    }
}

}  // namespace

std::int32_t EndingByFormula(Colour side) {
    const Colour enemy = ChangeSide(side);
    const std::int32_t weight = thread_board.PieceWeight[enemy];
    const bool enemy_attacks =
        weight > EndingWeight && (thread_board.PieceCount[QUEEN][enemy] > 0 || weight > EndingWeightNoQueen);
    return enemy_attacks ? 0 : 1;
}

void RefreshPhases() {
    const MaterialEntry* entry = CurrentMaterial();
    if (entry == nullptr) {
        ComputeMaterialFallback();
        thread_eval_info.ending[WHITE] = EndingByFormula(WHITE);
        thread_eval_info.ending[BLACK] = EndingByFormula(BLACK);
        return;
    }
    thread_board.current_phase = entry->current_phase;
    thread_board.black_phase = entry->black_phase;
    thread_board.white_phase = entry->white_phase;
    for (const Colour colour : {WHITE, BLACK}) {
        thread_board.defend_force[colour] = entry->defend_force[colour];
        thread_board.attack_force[colour] = entry->attack_force[colour];
        thread_eval_info.ending[colour] = (entry->flags[colour] & MATERIAL_ENDING) != 0;
    }
}

void RefreshMaterial() {
    if (const MaterialEntry* entry = CurrentMaterial()) {
        thread_eval_info.material_score = thread_board.Material[BLACK] - thread_board.Material[WHITE] + entry->score;
    } else {
        thread_eval_info.material_score = EvaluateMaterial();
    }
    RefreshPhases();
}

bool LazyExit(std::int32_t& score) {
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    const std::int32_t balance = thread_board.Material[us] - thread_board.Material[them];
    const std::int32_t low = EngineSide == us ? LazyLow : -LazyHigh;
    const std::int32_t high = EngineSide == us ? LazyHigh : -LazyLow;
    if (balance < low) {
        score = balance + PromotionHope(us);
        return score < low && HasPlayLeft(them);
    }
    if (balance > high) {
        score = balance - PromotionHope(them);
        return score > high && HasPlayLeft(us);
    }
    return false;
}

std::int32_t Evaluate() {
    std::int32_t score = 0;
    if (LazyExit(score)) {
        ClearAttacks();
        return DampByFiftyMoves(score);
    }
    const Key key = EvaluationKey();
    score = ProbeEvaluation(key);
    if (score <= NO_EVALUATION) {
        EvaluateFull(score);
        StoreEvaluation(key, score);
    }
    return DampByFiftyMoves(score);
}

// The order of the steps is part of the result: later ones read what earlier ones have left in thread_eval_info.
// attacks stays 0 where a position is settled before the pieces are looked at; in a pure pawn ending it holds the
// squares next to the kings and nothing else.
void EvaluateFull(std::int32_t& result) {
    StartEvaluation();
    if (MaterialSettles(result)) {
        return;
    }
    AddPieceSquares();
    EvaluatePawnStructure();
    AddMaterialPattern();
    if (thread_eval_info.ending[WHITE] != 0 || thread_eval_info.ending[BLACK] != 0) {
        AddFewPieceTerms();
    }
    if (AnyPassedPawn()) {
        thread_eval_info.packed = EvaluatePassedPawns(thread_eval_info.packed);
        // A duel of two pawns that block or watch each other is an ordinary pawn ending.
        if (IsPawnDuel()) {
            result = PawnDuelResult();
            return;
        }
    }
    AddKingShelters();
    SetCheckMaps();
    if (IsPurePawnEnding()) {
        result = ResultForSideToMove(CutUnwinnable(TaperedValue()));
        AddKingSquares();
        return;
    }
    EvaluatePieces();
    EvaluateThreats();
    EvaluateDevelopment();
    EvaluateKingAttacks();
    const std::int32_t value = AddQueenCheckThreats(TaperedValue());
    result = ResultForSideToMove(ScaleEndgame(ScaleOppositeBishops(value)));
    AddKingSquares();
}
