#include "movegen/legal_moves.h"

#include "movegen/exchange.h"
#include "movegen/generators.h"
#include "movegen/search_records.h"
#include "position/board.h"

#include <cassert>

namespace {

bool LeavesKingAttacked(Move move) {
    const Colour us = thread_board.SideToMove;
    MakeMove(move, 1);
    const bool attacked = SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]);
    UnmakeMove();
    return attacked;
}

bool HasPlayableArmy(Colour colour) {
    return PopCount(thread_board.Pieces[KING][colour]) == 1 && PopCount(thread_board.Pieces[PAWN][colour]) <= 8 &&
           PopCount(thread_board.ColourPieces[colour]) <= 16 &&
           (thread_board.Pieces[PAWN][colour] & (RANK_1 | RANK_8)) == 0;
}

}  // namespace

void GenerateLegalMoves(int index) {
    assert(index >= 0 && index + MAX_MOVES <= MOVE_LIST_SIZE);
    // A running search can have reached this ply: its record comes back untouched. The attack maps of a frame
    // belong to whoever evaluated there last, so here nothing is known.
    const std::int32_t saved_ply = Ply;
    const PlyRecord saved_record = PlyState[LEGALITY_PLY];
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    const bool in_check = SquareAttacked(them, thread_board.KingSquare[us]);

    Ply = LEGALITY_PLY;
    PlyState[LEGALITY_PLY].InCheck = in_check;
    PlyState[LEGALITY_PLY].AttackMap[WHITE] = 0;
    PlyState[LEGALITY_PLY].AttackMap[BLACK] = 0;

    MoveCount = index;
    GenerateCaptures(thread_board.ColourPieces[them]);
    GeneratePromotions();
    GenerateQuiets(1);

    std::int32_t kept = index;
    for (std::int32_t i = index; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if ((in_check && IsCastling(move)) || LeavesKingAttacked(move)) {
            continue;
        }
        MoveList[kept++] = MoveList[i];
    }
    MoveCount = kept;

    PlyState[LEGALITY_PLY] = saved_record;
    Ply = saved_ply;
}

bool IsLegalMove(Move move) {
    if (MoveCaptured(move) == KING) {
        return false;
    }
    const std::int32_t saved_count = MoveCount;
    GenerateLegalMoves(LEGALITY_WINDOW);
    bool found = false;
    for (std::int32_t i = LEGALITY_WINDOW; i < MoveCount && !found; ++i) {
        found = MoveList[i].Move == move;
    }
    MoveCount = saved_count;
    return found;
}

bool PositionIsPlayable() {
    const Colour us = thread_board.SideToMove;
    return HasPlayableArmy(WHITE) && HasPlayableArmy(BLACK) &&
           !SquareAttacked(us, thread_board.KingSquare[ChangeSide(us)]);
}
