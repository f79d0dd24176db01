// Queen against a rook's or bishop's pawn one step from promotion: draws when the queen's king is too far away.
#include "eval/low_material_parts.h"

namespace {

enum Mover : int { QUEENS_SIDE, PAWNS_SIDE, EITHER_SIDE };

/// Told for White's queen against a black pawn.
struct Fortress {
    int pawn;
    Mover mover;
    Bitboard pawn_king;
    Bitboard queen_king;  // drawn with White's king here
    Bitboard guarded;     // unless the queen attacks all of these, if any
};

constexpr Bitboard FilesBelow(int file) {
    return 0x0101010101010101 * ((1U << file) - 1);
}
constexpr Bitboard FilesAbove(int file) {
    return ~FilesBelow(file + 1);
}
constexpr Bitboard RanksAbove(int rank) {
    return ~Bitboard{0} << (8 * (rank + 1));
}
constexpr Bitboard At(char file, int rank) {
    return Bit(8 * (rank - 1) + (file - 'a'));
}

constexpr Bitboard RIGHT_CORNER = FilesAbove(4) & ~RanksAbove(1);  // files f..h, ranks 1 and 2
constexpr Bitboard LEFT_CORNER = FilesBelow(3) & ~RanksAbove(1);

constexpr Fortress Fortresses[] = {
    {H2, QUEENS_SIDE, RIGHT_CORNER, FilesBelow(3) | RanksAbove(4), 0},
    {H2, PAWNS_SIDE, RIGHT_CORNER, FilesBelow(4) | RanksAbove(3), 0},
    {A2, QUEENS_SIDE, LEFT_CORNER, FilesAbove(4) | RanksAbove(4), 0},
    {A2, PAWNS_SIDE, LEFT_CORNER, FilesAbove(3) | RanksAbove(3), 0},
    {F2, QUEENS_SIDE, Bit(F1), FilesBelow(3) | RanksAbove(4) | At('d', 5), 0},
    {F2, PAWNS_SIDE, Bit(F1), FilesBelow(5) | RanksAbove(3) | At('e', 4) | At('f', 4), 0},
    {F2, EITHER_SIDE, RIGHT_CORNER & ~Bit(F1), FilesBelow(4) | RanksAbove(3) | At('e', 4), Bit(G1) | Bit(G2)},
    {C2, QUEENS_SIDE, Bit(C1), FilesAbove(5) | RanksAbove(4) | At('e', 5) | At('f', 5), 0},
    {C2, PAWNS_SIDE, Bit(C1), FilesAbove(3) | RanksAbove(3) | At('d', 4), Bit(B1) | Bit(B2)},
    {C2, EITHER_SIDE, LEFT_CORNER & ~Bit(C1), FilesAbove(3) | RanksAbove(3) | At('d', 4), 0},
};

template <Colour us>
Settled JudgeQueenOf() {
    constexpr Colour them = ChangeSide(us);
    if (thread_board.Material[us] != PieceValue[QUEEN] || thread_board.PieceCount[QUEEN][us] != 1 ||
        thread_board.Material[them] != PieceValue[PAWN]) {
        return std::nullopt;
    }
    const int pawn = OwnSquare<us>(LowestSetBit(thread_board.Pieces[PAWN][them]));
    const Bitboard pawn_king = Bit(OwnSquare<us>(thread_board.KingSquare[them]));
    const Bitboard queen_king = Bit(OwnSquare<us>(thread_board.KingSquare[us]));
    const Mover mover = thread_board.SideToMove == us ? QUEENS_SIDE : PAWNS_SIDE;
    for (const Fortress& row : Fortresses) {
        if (row.pawn != pawn || (row.pawn_king & pawn_king) == 0) {
            continue;
        }
        if (row.mover != EITHER_SIDE) {
            DependsOnMover();
            if (row.mover != mover) {
                continue;
            }
        }
        if ((row.queen_king & queen_king) == 0) {
            continue;
        }
        const Bitboard guarded = us == WHITE ? row.guarded : __builtin_bswap64(row.guarded);
        const int queen = LowestSetBit(thread_board.Pieces[QUEEN][us]);
        if (guarded == 0 || (guarded & ~QueenAttacksOf(queen, thread_board.AllPieces)) != 0) {
            return DRAWN;
        }
    }
    return std::nullopt;
}

}  // namespace

Settled JudgeQueenAgainstPawn() {
    const Settled settled = JudgeQueenOf<WHITE>();
    return settled ? settled : JudgeQueenOf<BLACK>();
}
