#include "eval/pieces.h"

#include "eval/pieces_parts.h"

namespace {

template <Colour us>
void SetCheckMapsAround() {
    ThreadEvalInfo& info = thread_eval_info;
    const int king = thread_board.KingSquare[us];
    const Bitboard open = ~thread_board.ColourPieces[ChangeSide(us)];  // a checking piece cannot stand on its own men
    info.rook_check[us] = RookAttacksOf(king, thread_board.AllPieces) & open;
    info.bishop_check[us] = BishopAttacksOf(king, thread_board.AllPieces) & open;
    info.queen_check[us] = info.rook_check[us] | info.bishop_check[us];
    info.knight_check[us] = KnightAttacks[king] & open;
}

void SetKingZones() {
    for (const Colour colour : {WHITE, BLACK}) {
        thread_eval_info.king_zone[colour] = KingAttacks[thread_board.KingSquare[colour]];
    }
}

/// What is wrong with a king on its first rank, told as the enemy's gain.
template <Colour us>
std::int32_t BackRankTerm() {
    const int king = thread_board.KingSquare[us];
    if (RankSeenBy<us>(king) != 0) {
        return 0;
    }
    const Bitboard luft = thread_eval_info.king_zone[us] & RankMaskSeenBy<us>(1);
    std::int32_t value = (luft & ~PiecesOf(PAWN, us)) == 0 ? KingNoLuft : 0;
    const int file = FileOf(king);
    const Bitboard traps = file >= 5 ? KingsideRookTrap[us][7 - file] : file <= 2 ? QueensideRookTrap[us][file] : 0;
    if ((traps & PiecesOf(ROOK, us)) != 0) {
        value = PackedAdd(value, RookShutIn);
    }
    return value;
}

}  // namespace

void SetCheckMaps() {
    SetCheckMapsAround<WHITE>();
    SetCheckMapsAround<BLACK>();
}

// The order counts where a loop reads what an earlier one has filled: knights, queens and bishops know the pawn maps,
// rooks do not.
void EvaluatePieces() {
    SetKingZones();
    std::int32_t packed = thread_eval_info.packed;
    packed = PackedAdd(packed, PackedSub(BackRankTerm<WHITE>(), BackRankTerm<BLACK>()));
    packed = PackedAdd(packed, PackedSub(RookTerms<BLACK>(), RookTerms<WHITE>()));
    SetPawnAttackMaps();
    packed = PackedAdd(packed, KingHuntTerms());
    SetBlockedPawns();
    packed = PackedAdd(packed, PackedSub(KnightTerms<BLACK>(), KnightTerms<WHITE>()));
    packed = PackedAdd(packed, PackedSub(QueenTerms<BLACK>(), QueenTerms<WHITE>()));
    packed = PackedAdd(packed, PackedSub(BishopTerms<BLACK>(), BishopTerms<WHITE>()));
    thread_eval_info.packed = packed;
}
