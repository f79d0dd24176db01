// Castling and every other non-capture except promotions.
#include "movegen/castling.h"
#include "movegen/generator_parts.h"
#include "movegen/generators.h"

namespace {

template <Colour us, Keep keep, int piece>
void PieceQuiets(Bitboard map, Bitboard empty, int plane) {
    Bitboard pieces = thread_board.Pieces[piece][us];
    while (pieces != 0) {
        const int from = PopLowestBit(pieces);
        Bitboard destinations = PieceAttacks<piece>(from) & empty;
        while (destinations != 0) {
            AppendQuiet<us, keep>(map, from, PopLowestBit(destinations), piece, plane);
        }
    }
}

template <Colour us, Keep keep>
void PawnPushes(Bitboard map, Bitboard empty, int plane) {
    Bitboard pawns = thread_board.Pieces[PAWN][us] & Retreat<us>(empty) & ~SEVENTH_RANK<us>;
    const Bitboard double_pushers = SECOND_RANK<us> & Retreat<us>(Retreat<us>(empty));
    while (pawns != 0) {
        const int from = PopRearmostPawn<us>(pawns);
        AppendQuiet<us, keep>(map, from, from + FORWARD<us>, PAWN, plane);
        if ((double_pushers & Bit(from)) != 0) {
            AppendQuiet<us, keep>(map, from, from + 2 * FORWARD<us>, PAWN, plane);
        }
    }
}

template <Colour us, Keep keep>
void Quiets(int plane) {
    const Bitboard map = EnemyMap<us>();
    const Bitboard empty = ~thread_board.AllPieces;

    if (ShortCastlingIsOpen<us>() && ShortCastlingIsSafe<us>()) {
        AppendCastling(Castling<us>::SHORT_MOVE, plane);
    }
    if (LongCastlingIsOpen<us>() && LongCastlingIsSafe<us>()) {
        AppendCastling(Castling<us>::LONG_MOVE, plane);
    }
    PieceQuiets<us, keep, KNIGHT>(map, empty, plane);
    PieceQuiets<us, keep, BISHOP>(map, empty, plane);
    PawnPushes<us, keep>(map, empty, plane);
    PieceQuiets<us, keep, ROOK>(map, empty, plane);
    PieceQuiets<us, keep, QUEEN>(map, empty, plane);

    const int king = thread_board.KingSquare[us];
    Bitboard destinations = KingAttacks[king] & empty;
    while (destinations != 0) {
        AppendQuiet<us, keep>(map, king, PopLowestBit(destinations), KING, plane);
    }
}

}  // namespace

void GenerateQuiets(int plane) {
    thread_board.SideToMove == WHITE ? Quiets<WHITE, Keep::ALL>(plane) : Quiets<BLACK, Keep::ALL>(plane);
}

void GenerateSafeQuiets(int plane) {
    thread_board.SideToMove == WHITE ? Quiets<WHITE, Keep::SAFE_ONLY>(plane) : Quiets<BLACK, Keep::SAFE_ONLY>(plane);
}
