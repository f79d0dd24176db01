// What the generators share: the board as one colour sees it, the exchange verdict in line, and the storing of a
// judged and scored move. For the generators and the picker only.
#pragma once

#include "movegen/exchange.h"
#include "movegen/ordering.h"
#include "movegen/search_records.h"
#include "position/attacks.h"
#include "position/board.h"

#include <cassert>

// The board as one colour sees it.

/// From a square to the one in front of it.
template <Colour us>
inline constexpr int FORWARD = us == WHITE ? 8 : -8;

template <Colour us>
inline constexpr Bitboard SECOND_RANK = us == WHITE ? RANK_1 << 8 : RANK_8 >> 8;
template <Colour us>
inline constexpr Bitboard SEVENTH_RANK = us == WHITE ? RANK_8 >> 8 : RANK_1 << 8;
template <Colour us>
inline constexpr Bitboard LAST_RANK = us == WHITE ? RANK_8 : RANK_1;

template <Colour us>
constexpr Bitboard Advance(Bitboard squares) {
    return us == WHITE ? squares << 8 : squares >> 8;
}
template <Colour us>
constexpr Bitboard Retreat(Bitboard squares) {
    return us == WHITE ? squares >> 8 : squares << 8;
}

/// Scan order of pawns in captures and quiet moves: every colour from its own side of the board.
template <Colour us>
inline int PopRearmostPawn(Bitboard& pawns) {
    return us == WHITE ? PopLowestBit(pawns) : PopHighestBit(pawns);
}

/// The attack set of a knight, bishop, rook, queen or king.
template <int piece>
inline Bitboard PieceAttacks(int square) {
    switch (piece) {
        case KNIGHT:
            return KnightAttacks[square];
        case BISHOP:
            return BishopAttacksOf(square, thread_board.AllPieces);
        case ROOK:
            return RookAttacksOf(square, thread_board.AllPieces);
        case QUEEN:
            return QueenAttacksOf(square, thread_board.AllPieces);
        default:
            return KingAttacks[square];
    }
}

/// Where the pawn that has just made a double push stands, -1 if the last move was another or a null move.
template <Colour us>
inline int DoublePushTarget() {
    if (GamePly == 0) {
        return -1;
    }
    const Move last = GameHistory[GamePly - 1].move;
    const bool pushed = MovePiece(last) == PAWN && MoveTo(last) - MoveFrom(last) == 2 * FORWARD<ChangeSide(us)>;
    // A set-up position can have a man on the square that the pawn passed.
    return pushed && (thread_board.AllPieces & Bit(MoveTo(last) + FORWARD<us>)) == 0 ? MoveTo(last) : -1;
}

// The verdict.

/// The squares that the enemy attacked when this node was evaluated; 0 if unknown.
template <Colour us>
inline Bitboard EnemyMap() {
    return PlyState[Ply].AttackMap[ChangeSide(us)];
}

/// MoveSafety of a move that is neither a king's nor en passant.
template <Colour us>
inline std::int32_t ExchangeVerdict(Bitboard map, int from, int to, int piece, int captured, int promotion) {
    // No exchange can happen on a square that the enemy does not attack, unless a slider comes through the square
    // that the piece leaves; nothing can follow a knight.
    if (map != 0 && (map & Bit(to)) == 0 && (piece == KNIGHT || (map & Bit(from)) == 0)) {
        return promotion == NO_PIECE || promotion == QUEEN ? SAFE : LOSING;
    }
    return IsExchangeSafeFor<us>(to, from, piece, captured, promotion) ? SAFE : LOSING;
}

// The storing.

inline void Store(Move move, std::int32_t score, std::int32_t safety) {
    assert(MoveCount < MOVE_LIST_SIZE);
    MoveList[MoveCount++] = {move, score, safety};
}

enum class Keep { ALL, SAFE_ONLY };

/// A capture or promotion.
template <Colour us, Keep keep = Keep::ALL>
inline void AppendCapture(Bitboard map, int from, int to, int piece, int promotion = NO_PIECE) {
    const int captured = static_cast<int>(thread_board.Board[to]);
    std::int32_t safety = piece == KING ? SAFE : ExchangeVerdict<us>(map, from, to, piece, captured, promotion);
    if (keep == Keep::SAFE_ONLY && safety == LOSING) {
        return;
    }
    const Move move = BuildMove(from, to, piece, captured, promotion);
    const std::int32_t score = CaptureOrderScore(move, safety);
    Store(move, score, safety);
}

/// A move to an empty square without promotion.
template <Colour us, Keep keep>
inline void AppendQuiet(Bitboard map, int from, int to, int piece, int plane) {
    const std::int32_t safety = piece == KING ? SAFE : ExchangeVerdict<us>(map, from, to, piece, NO_PIECE, NO_PIECE);
    if (keep == Keep::SAFE_ONLY && safety == LOSING) {
        return;
    }
    const Move move = BuildMove(from, to, piece);
    Store(move, QuietOrderScore(move, plane, false, safety), safety);
}

inline void AppendCastling(Move move, int plane) {
    Store(move, QuietOrderScore(move, plane, false, SAFE), SAFE);
}
