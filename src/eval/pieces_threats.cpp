// What is attacked, and what has not left home.
#include "eval/king_attack.h"
#include "eval/pieces.h"
#include "eval/pieces_parts.h"

#include <algorithm>

namespace {

/// Men of the enemy that `us` attacks: with anything if nothing defends them, else with something cheaper.
template <Colour us>
int CountThreats() {
    constexpr Colour them = ChangeSide(us);
    const ThreadEvalInfo& info = thread_eval_info;
    const Bitboard reached = info.attacks[us] | info.king_zone[us];
    const Bitboard defended = info.attacks[them] | info.king_zone[them];
    const Bitboard by_pawns = info.enemy_pawn_attacks[them];
    const Bitboard by_minors = by_pawns | info.knight_attacks[us] | info.bishop_attacks[us];
    const Bitboard by_rooks = by_minors | info.rook_attacks[us];
    const Bitboard loose = thread_board.ColourPieces[them] & ~PiecesOf(KING, them) & reached & ~defended;
    return PopCount(loose | ((PiecesOf(KNIGHT, them) | PiecesOf(BISHOP, them)) & by_pawns) |
                    (PiecesOf(ROOK, them) & by_minors) | (PiecesOf(QUEEN, them) & by_rooks));
}

/// Opening and ending half of the penalty for a colour's home squares, in 1/32. The check of the parameters keeps the
/// factor positive and the first summand small, so that 64 bits hold a product, though not every difference of two.
struct HomePenalty {
    std::int64_t opening;
    std::int64_t ending;
};

template <Colour us>
HomePenalty HomePenaltyOf() {
    constexpr int second_rank = us == WHITE ? A2 : A7;
    constexpr Bitboard centre = Bit(second_rank + 3) | Bit(second_rank + 4);
    const Bitboard pawns = PiecesOf(PAWN, us);
    const auto at_home = static_cast<int>(pawns >> (second_rank + 1) & 63);
    const int blocked = PopCount(pawns & centre & StepBack<us>(thread_board.AllPieces));
    const std::int64_t factor = DevelopmentFactor[DevelopmentClassOf<us>()];
    return {(std::int64_t{DevelopmentOpen[at_home]} + BlockedCentreOpen[blocked]) * factor,
            (std::int64_t{DevelopmentEnd[at_home]} + BlockedCentreEnd[blocked]) * factor};
}

std::int32_t Excess(std::int64_t black, std::int64_t white) {
    return static_cast<std::int32_t>(WrappingSum(black, -white) >> 5);
}

}  // namespace

void EvaluateThreats() {
    ThreadEvalInfo& info = thread_eval_info;
    const int lead = CountThreats<BLACK>() - CountThreats<WHITE>();
    const int black = std::clamp(4 + lead, 1, 7);
    const int white = std::clamp(4 - lead, 1, 7);
    WrappingAdd(info.move_bonus[WHITE], ThreatMoveBonus[black]);
    WrappingAdd(info.move_bonus[BLACK], ThreatMoveBonus[white]);
    info.packed = PackedAdd(info.packed, PackedSub(ThreatBalance[black], ThreatBalance[white]));
}

void EvaluateDevelopment() {
    const HomePenalty white = HomePenaltyOf<WHITE>();
    const HomePenalty black = HomePenaltyOf<BLACK>();
    thread_eval_info.packed = PackedSub(thread_eval_info.packed,
                                        Pack(Excess(black.opening, white.opening), Excess(black.ending, white.ending)));
}
