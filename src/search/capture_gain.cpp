// The delta test's estimate of what a capture or promotion brings.

#include "eval/built_in_piece_square.h"
#include "eval/evaluation.h"
#include "eval/material_table.h"
#include "eval/parameters.h"
#include "position/piece_square.h"
#include "search/search_node.h"

namespace {

/// Centipawns for a passed pawn by its rank.
constexpr std::int32_t PassedGain[8] = {0, 2, 2, 10, 50, 200, 700, 0};

/// Without the material table any piece counts as an unequal trade.
constexpr std::int32_t OVERFLOW_PIECE_GAIN = 120;

/// What the imbalance beyond the piece values says when a piece of code `captured` leaves the other side.
std::int32_t ImbalanceGain(int captured, Colour us) {
    const MaterialEntry* now = CurrentMaterial();
    if (now == nullptr) {
        return captured != NO_PIECE && captured != PAWN ? TradeBonus[0] + OVERFLOW_PIECE_GAIN : 0;
    }
    const MaterialEntry* then = now - MaterialIndexWeight[captured][ChangeSide(us)];
    const std::int32_t change = then->score - now->score;  // Black's view
    return us == BLACK ? change : -change;
}

/// A passed pawn that arrives, and a passed pawn that is taken, each by the rank of the square of arrival.
std::int32_t PasserGain(Move move, int captured, int victimSquare, Colour us) {
    const Colour them = ChangeSide(us);
    const int to = MoveTo(move);
    std::int32_t gain = 0;
    if (MovePiece(move) == PAWN && IsPassedFrom(to, us)) {
        gain += PassedGain[RelativeRank(to, us)];
    }
    if (captured == PAWN && IsPassedFrom(victimSquare, them)) {
        gain += PassedGain[RelativeRank(to, them)];
    }
    return gain;
}

/// The piece-square tables for what leaves the board and what changes its square, tapered.
std::int32_t PieceSquareGain(Move move, int captured, int arriving, Colour us) {
    RefreshPhases();
    const int taken = PieceSquareIndex(captured, ChangeSide(us), MoveTo(move));
    const int to = PieceSquareIndex(arriving, us, MoveTo(move));
    const int from = PieceSquareIndex(MovePiece(move), us, MoveFrom(move));
    const std::int32_t ending = PieceSquareEnd[taken] + PieceSquareEnd[to] - PieceSquareEnd[from];
    const std::int32_t opening = PieceSquareOpen[taken] + PieceSquareOpen[to] - PieceSquareOpen[from];
    const std::int32_t phase = thread_board.current_phase;
    return (ending * phase + (256 - phase) * opening) >> 8;
}

}  // namespace

std::int32_t CaptureGain(Move move) {
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    const bool enPassant = IsEnPassant(move);
    const int captured = enPassant ? int{PAWN} : MoveCaptured(move);
    const int victimSquare = enPassant ? (MoveTo(move) & 7) | (MoveFrom(move) & 56) : MoveTo(move);
    const int promotion = MovePromotion(move);
    const int arriving = promotion != NO_PIECE ? promotion : MovePiece(move);

    std::int32_t gain = PieceValue[captured] + ImbalanceGain(captured, us);
    if (thread_board.PieceWeight[them] - PieceUnits[captured] < 6) {
        gain += 25;
    }
    if (captured == QUEEN && thread_board.PieceCount[QUEEN][them] == 1) {
        gain += 25;
    }
    gain += promotion != NO_PIECE ? 900 : PasserGain(move, captured, victimSquare, us);
    gain += PieceSquareGain(move, captured, arriving, us);
    if (arriving == QUEEN) {
        gain += captured == PAWN ? 100 : 160;
    }
    return gain;
}
