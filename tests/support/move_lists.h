// Lists of moves and what is asked of them, for tests of every room that generates.
#pragma once

#include "movegen/exchange.h"
#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "position/board.h"

#include <vector>

inline std::vector<Move> MovesOfList(std::int32_t from = 0) {
    std::vector<Move> moves;
    for (int i = from; i < MoveCount; ++i) {
        moves.push_back(MoveList[i].Move);
    }
    return moves;
}

inline std::vector<Move> LegalMoves() {
    const std::int32_t count = MoveCount;
    GenerateLegalMoves(LEGALITY_WINDOW);
    const std::vector<Move> moves = MovesOfList(LEGALITY_WINDOW);
    MoveCount = count;
    return moves;
}

inline bool InCheckNow() {
    const Colour us = thread_board.SideToMove;
    return SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]);
}

/// The same move in the mirrored position.
constexpr Move MirroredMove(Move move) {
    return (move ^ 070u ^ (070u << 6)) & 0x1fffff;
}
