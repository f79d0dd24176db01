// What the piece loops ask of the pawns, and the king as a hunter of pawns.
#include "eval/pieces_parts.h"

#include <algorithm>
#include <cstdlib>

namespace {

/// A pawn is blocked by anything in front of it but a piece of its own.
template <Colour us>
Bitboard BlockedPawnsOf() {
    const Bitboard pawns = PiecesOf(PAWN, us);
    return pawns & StepBack<us>(pawns | thread_board.ColourPieces[ChangeSide(us)]);
}

/// What the loose pawns of `owner`, whose pieces are few, are worth to the king that hunts them. In 64 bits, because a
/// set-up board can hold any number of pawns.
template <Colour owner>
std::int64_t HuntOf() {
    constexpr Colour hunter = ChangeSide(owner);
    const ThreadEvalInfo& info = thread_eval_info;
    const int weight = thread_board.PieceWeight[owner];
    Bitboard loose = PiecesOf(PAWN, owner) & ~info.enemy_pawn_attacks[hunter];
    if (weight > 8 || loose == 0) {
        return 0;
    }
    const int king = thread_board.KingSquare[hunter];
    const int king_ranks_left = 7 - RankSeenBy<owner>(king);
    const Bitboard stopped =
        StepBack<owner>(PiecesOf(PAWN, owner) | thread_board.ColourPieces[hunter] | info.enemy_pawn_attacks[owner]);
    std::int64_t sum = 0;
    while (loose != 0) {
        const int pawn = PopLowestBit(loose);
        const int files = std::abs(FileOf(pawn) - FileOf(king));
        const int column = ((stopped & Bit(pawn)) != 0 ? 1 : 0) + ((info.passed_pawns[owner] & Bit(pawn)) != 0 ? 2 : 0);
        const std::int64_t rank_and_force =
            std::int64_t{HuntRank[std::clamp(RankSeenBy<owner>(pawn) - 2, 0, 4)]} * HuntForce[weight];
        // Without a king on the board its square can be the pawn's own.
        const std::int32_t chase = KingHunt[std::clamp(KingSteps(pawn, king), 1, 6) - 1]
                                           [std::min(std::max(files, king_ranks_left), 5)][column];
        sum += WrappingProduct(rank_and_force, chase) >> 12;
    }
    return sum;
}

}  // namespace

void SetPawnAttackMaps() {
    ThreadEvalInfo& info = thread_eval_info;
    info.enemy_pawn_attacks[BLACK] = AttackedByPawns<WHITE>(PiecesOf(PAWN, WHITE));
    info.enemy_pawn_attacks[WHITE] = AttackedByPawns<BLACK>(PiecesOf(PAWN, BLACK));
    info.attacks[WHITE] |= info.enemy_pawn_attacks[BLACK];
    info.attacks[BLACK] |= info.enemy_pawn_attacks[WHITE];
}

std::int32_t KingHuntTerms() {
    return PackBoth(static_cast<std::int32_t>(HuntOf<WHITE>() - HuntOf<BLACK>()));
}

void SetBlockedPawns() {
    thread_eval_info.blocked_pawns[WHITE] = BlockedPawnsOf<WHITE>();
    thread_eval_info.blocked_pawns[BLACK] = BlockedPawnsOf<BLACK>();
}
