#include "movegen/generator_parts.h"
#include "movegen/generators.h"

std::int32_t MoveSafety(Move move) {
    const int piece = MovePiece(move);
    if (piece == KING || IsEnPassant(move)) {
        return SAFE;
    }
    const int from = MoveFrom(move);
    const int to = MoveTo(move);
    const int captured = MoveCaptured(move);
    const int promotion = MovePromotion(move);
    return thread_board.SideToMove == WHITE
               ? ExchangeVerdict<WHITE>(EnemyMap<WHITE>(), from, to, piece, captured, promotion)
               : ExchangeVerdict<BLACK>(EnemyMap<BLACK>(), from, to, piece, captured, promotion);
}
