// Piece activity: what rooks, knights, queens and bishops are worth where they stand, and the terms between their
// loops. The loops also fill the attack sets of thread_eval_info and gather what the king attack is made of.
#pragma once

#include "eval/evaluation.h"

/// Fills rook_check, bishop_check, queen_check and knight_check of both kings.
void SetCheckMaps();

/// Back ranks, the loops over the pieces and all that stands between them: adds to packed; sets king_zone, the attack
/// sets, enemy_pawn_attacks, blocked_pawns and safe_zone_hits; gathers danger and attackers. Reads ending, wing_index,
/// passed_pawns, the check maps, PawnEntry and AllPawns. Afterwards attacks holds everything but the kings' own
/// squares.
void EvaluatePieces();

/// Men that are attacked and badly defended: adds to packed and to move_bonus. After EvaluatePieces.
void EvaluateThreats();

/// Pieces and pawns that have not left home: adds to packed.
void EvaluateDevelopment();
