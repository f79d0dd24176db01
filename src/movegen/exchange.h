// Small questions about thread_board that are asked without making a move: attacks, pins, checks, exchanges.
// `us` is SideToMove, `them` the other colour. Nothing here changes anything, except that GivesCheck makes and
// unmakes an en passant capture, which rewrites the free record GameHistory[GamePly].
#pragma once

#include "position/attacks.h"
#include "position/board.h"

/// Attack set of any piece with AllPieces as it stands.
inline Bitboard AttacksFrom(int piece, Colour colour, int square) {
    switch (piece) {
        case KING:
            return KingAttacks[square];
        case KNIGHT:
            return KnightAttacks[square];
        case PAWN:
            return colour == WHITE ? WhitePawnAttacks[square] : BlackPawnAttacks[square];
        case ROOK:
            return RookAttacksOf(square, thread_board.AllPieces);
        case BISHOP:
            return BishopAttacksOf(square, thread_board.AllPieces);
        case QUEEN:
            return QueenAttacksOf(square, thread_board.AllPieces);
        default:
            return 0;
    }
}

/// Material units of the exchange test by PieceCode.
inline constexpr std::int32_t ExchangeValue[8] = {0, 200, 3, 1, 0, 5, 3, 9};

/// The squares from which a pawn of `colour` attacks `square`.
inline Bitboard PawnAttackersOf(Colour colour, int square) {
    return colour == BLACK ? WhitePawnAttacks[square] : BlackPawnAttacks[square];
}

/// True when a piece of `colour` attacks `square`. Leapers first; a magic lookup only for a slider that would
/// attack on an empty board.
inline bool SquareAttacked(Colour colour, int square) {
    if ((thread_board.Pieces[PAWN][colour] & PawnAttackersOf(colour, square)) != 0 ||
        (thread_board.Pieces[KNIGHT][colour] & KnightAttacks[square]) != 0 ||
        (thread_board.Pieces[KING][colour] & KingAttacks[square]) != 0) {
        return true;
    }
    const Bitboard straight = thread_board.RooksQueens & thread_board.ColourPieces[colour];
    if ((straight & RookEmptyAttacks[square]) != 0 && (straight & RookAttacksOf(square, thread_board.AllPieces)) != 0) {
        return true;
    }
    const Bitboard diagonal = thread_board.BishopsQueens & thread_board.ColourPieces[colour];
    return (diagonal & BishopEmptyAttacks[square]) != 0 &&
           (diagonal & BishopAttacksOf(square, thread_board.AllPieces)) != 0;
}

/// All pieces of `colour` that attack `square`, the king included.
Bitboard AttackersTo(Colour colour, int square);

/// The attack set from `square` along direction code `direction` with AllPieces, first piece included; empty
/// for anything that is not one of the eight codes.
Bitboard RayAttack(int square, int direction);

/// `attackers` plus the slider of a fitting kind, of either colour, that RayAttack(square, direction) reaches.
Bitboard AddXray(Bitboard attackers, int square, int direction);

/// True when the piece of the side to move on `square` is pinned against its king.
bool IsPinned(int square);

/// True when `move` takes a screen off the line between its own king and an enemy slider. Neither king moves
/// nor the second pawn of en passant are considered.
bool ExposesOwnKing(Move move);

/// The legality test for pseudo-legal moves that are not en passant: a king move into attack, or a move that
/// exposes the own king. Castling's own conditions are the generator's.
bool IsMoveIllegal(Move move);

/// True when `move` leaves a line on which an own slider then reaches the enemy king, or `square`.
bool DiscoversCheck(Move move);
bool DiscoversAttackOn(Move move, int square);

/// True when `move`, not made yet, gives check.
bool GivesCheck(Move move);

/// The swap-off behind IsExchangeSafe for a mover of colour `us` that puts `risk` units on `to` for `gain` units
/// taken there: plays it out even when risk <= gain.
template <Colour us>
bool ExchangeHolds(int to, int from, std::int32_t risk, std::int32_t gain);

/// IsExchangeSafe below for a mover whose colour is known to the caller. The exits that need no board stand in
/// line: most captures end in them.
template <Colour us>
inline bool IsExchangeSafeFor(int to, int from, int piece, int captured, int promotion) {
    std::int32_t risk = ExchangeValue[piece];
    std::int32_t gain = ExchangeValue[captured];
    if (promotion != NO_PIECE) {
        if (promotion != QUEEN) {
            return false;
        }
        risk = ExchangeValue[QUEEN];
        gain += ExchangeValue[QUEEN] - ExchangeValue[PAWN];
    }
    return gain >= risk || ExchangeHolds<us>(to, from, risk, gain);
}

/// True when the exchange that begins with this move of the side to move does not lose material. A yes or no
/// swap-off, not a full exchange evaluation; any promotion but to a queen answers false.
inline bool IsExchangeSafe(int to, int from, int piece, int captured, int promotion) {
    return thread_board.SideToMove == WHITE ? IsExchangeSafeFor<WHITE>(to, from, piece, captured, promotion)
                                            : IsExchangeSafeFor<BLACK>(to, from, piece, captured, promotion);
}

/// IsExchangeSafe(target, from, piece, victim, 0), except that the capture of a victim of equal value is played
/// out instead of accepted at once.
bool ThreatHolds(int target, int from, int piece, int victim);
