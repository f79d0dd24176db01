// The recognisers of EvaluateLowMaterial, and what they share with the endgame scales. A recogniser is written for
// one colour; whether it settles the position is its answer.
#pragma once

#include "eval/colour_view.h"
#include "eval/evaluation.h"
#include "eval/pawn_endgame_tables.h"
#include "position/attacks.h"
#include "position/board.h"

#include <optional>

/// A final score from the side to move's point of view, or nothing.
using Settled = std::optional<std::int32_t>;

inline constexpr std::int32_t DRAWN = 0;

/// A final score told in favour of a colour.
template <Colour us>
inline Settled SettledFor(std::int64_t value) {
    return static_cast<std::int32_t>(thread_board.SideToMove == us ? value : -value);
}

/// A term in favour of a colour, from Black's point of view.
template <Colour us>
constexpr std::int64_t TermFor(std::int64_t value) {
    return us == BLACK ? value : -value;
}

inline int PawnsOnBoard() {
    return thread_board.PieceCount[PAWN][WHITE] + thread_board.PieceCount[PAWN][BLACK];
}

/// One bishop each, on different colours.
inline bool OppositeBishops() {
    return thread_board.PieceCount[BISHOP][WHITE] == 1 && thread_board.PieceCount[BISHOP][BLACK] == 1 &&
           ((thread_board.Pieces[BISHOP][WHITE] & LightSquares) != 0) !=
               ((thread_board.Pieces[BISHOP][BLACK] & LightSquares) != 0);
}

// The recognisers that have files of their own.

/// One minor piece each, and one or two pawns of a colour. Draws only.
Settled JudgeMinorAgainstMinor();

/// A rook alone against pawns alone, whichever colour has the rook. Otherwise a term from Black's point of view is
/// stored in `term`, 0 when there is nothing to say.
Settled JudgeRookAgainstPawns(std::int64_t& term);

/// A queen alone against a pawn one step from promotion. Draws only.
Settled JudgeQueenAgainstPawn();

/// How a pawn fares against the rook, for its owner.
enum RookPawnVerdict : int { ROOK_PAWN_LOST = 0, ROOK_PAWN_DRAW = 1, ROOK_PAWN_UNKNOWN = 2 };

/// By KrkpDraw, with the kings and the side to move of the board and as if there were no other pawns.
template <Colour owner>
RookPawnVerdict ProbeRookPawn(int pawn, int rook);
