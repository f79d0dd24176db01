// The attack on the kings, told from the attacker's side. Every piece that reaches the squares next to the enemy
// king, or a square from which it could give check safely, adds to attackers and danger of thread_eval_info; that
// gathering runs inside the piece loops. Here the two sums, the weakness of the enemy's shelter and the forces left
// become one attack value.
//
// A king whose ending flag is set is not attacked.
#pragma once

#include "position/types.h"

/// DevelopmentClass of a colour, 0..5, by which of its king, queen, knights and bishops stand at home.
template <Colour us>
std::int32_t DevelopmentClassOf();

/// The attack step of the full evaluation, after the piece loops and the threat counts: gathers the share of pawns and
/// kings, adds to open_score and end_score, brings danger into 0..127, and sets move_bonus anew for every colour whose
/// enemy needs protection. Reads king_zone, enemy_pawn_attacks, safe_zone_hits, shelter_penalty, material_score, the
/// force fields, and attacks without the kings' own squares.
void EvaluateKingAttacks();

/// Adds to the tapered value, Black's point of view, and to side_delta what the safe checks of the queens are worth.
/// Reads queen_attacks, and attacks without the kings' own squares.
std::int32_t AddQueenCheckThreats(std::int32_t value);
