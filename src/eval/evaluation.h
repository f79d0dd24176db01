// The static evaluation: entry points, its working record, the lazy exit and the evaluation cache.
//
// Inside the evaluation every score is centipawns from Black's point of view; only the last step turns the
// result to the side to move. A packed score holds opening x 65536 + ending in one 32-bit word (eval/packed.h).
//
// Owner: eval/evaluation.cpp. LazyLow and LazyHigh are written by the search's RefreshLazyWindow.
#pragma once

#include "movegen/search_records.h"
#include "position/board.h"

struct ThreadEvalInfo {
    std::int32_t wing_index[2];  // 2 * (own king on a..d) + (enemy king on a..d)
    std::int32_t score;
    std::int32_t packed;  // everything that tapers with current_phase
    std::int32_t open_score[2];
    std::int32_t end_score[2];
    std::int32_t move_bonus[2];  // added only when this colour is to move
    Bitboard queen_attacks[2];
    Bitboard knight_attacks[2];
    Bitboard bishop_attacks[2];
    Bitboard rook_attacks[2];
    Bitboard enemy_pawn_attacks[2];  // entry WHITE holds Black's pawn attacks
    Bitboard blocked_pawns[2];
    Bitboard king_zone[2];
    Bitboard safe_zone_hits[2];
    Bitboard rook_check[2];
    Bitboard queen_check[2];
    Bitboard bishop_check[2];
    Bitboard knight_check[2];
    std::int32_t danger[2];
    std::int32_t shelter_penalty[2];
    std::int32_t ending[2];  // ENDING(colour): the enemy has too little left to attack this king
    std::int32_t material_score;
    std::int32_t both_sides_valid;  // the result depends on the side to move through side_delta only
    std::int32_t side_delta;
    std::int32_t attackers[2];
    Bitboard attacks[2];  // all squares attacked by a colour; both 0 after a lazy exit
    Bitboard passed_pawns[2];
    std::int32_t cannot_win[2];
};

extern ThreadEvalInfo thread_eval_info;

/// Says that the result may be another with the other side to move, beyond what side_delta tells. Called wherever a
/// question has another answer then, also when this side's answer adds nothing: a derived result is that of a fresh
/// evaluation but for the rounding of the endgame scales.
inline void DependsOnMover() {
    thread_eval_info.both_sides_valid = 0;
}

/// A window around the material balance from EngineSide's point of view: outside it Evaluate answers lazily.
extern std::int32_t LazyLow;
extern std::int32_t LazyHigh;

/// "No value" in the cache and in the result slot.
inline constexpr std::int32_t NO_EVALUATION = -32700;

/// A slot of the evaluation cache. Packed to 32 bytes with `material` and its spare; the side to move is not
/// part of the key, one slot serves both sides.
struct EvalHashEntry {
    Key key;
    Bitboard attacks[2];
    std::int16_t result[2];  // side to move's view, for White and for Black to move
    std::int16_t material;
    std::int16_t spare;
};
static_assert(sizeof(EvalHashEntry) == 32);

extern std::int64_t EvalHashSize;  // entries; fixed at 0x80000
extern std::int64_t PawnHashSize;  // entries

/// Static evaluation of thread_board from the side to move's point of view. Leaves thread_eval_info.attacks
/// (0 after a lazy exit); material_score, ending and the phases are valid after a full evaluation only.
std::int32_t Evaluate();

/// The full evaluation without lazy exit, cache or fifty-move damping; the side to move's score goes through
/// `result`.
void EvaluateFull(std::int32_t& result);

/// The exit condition of Evaluate on the material balance, shared with Quiescence: true when the lazy exit is
/// taken, with the corrected balance of the side to move in `score`.
bool LazyExit(std::int32_t& score);

/// Refreshes the phases, force fields and ending flags of thread_board and thread_eval_info from the material
/// entry, or by the fallback when the table does not apply. For readers between evaluations.
void RefreshPhases();

/// The same, and material_score.
void RefreshMaterial();

/// ENDING(side) by the formula: 1 when `side`'s king needs no protection any more.
std::int32_t EndingByFormula(Colour side);

/// Asks the memory for the cache slot of the position that a move has just made.
void PrefetchEvaluation();

/// Allocate and clear the caches; Allocate answers false when memory is short. A pawn hash of 0 entries works.
bool AllocateEvalHash();
void ClearEvalHash();
void FreeEvalHash();
bool AllocatePawnHash();
void ClearPawnHash();
void FreePawnHash();
