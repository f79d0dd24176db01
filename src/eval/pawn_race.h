// Pawns that nothing stops, and the race of two of them.
#pragma once

#include "position/types.h"

/// The pawn of a colour that promotes first.
struct RunningPawn {
    static constexpr int NONE = 99;

    int moves = NONE;  // to promotion; one less with its owner to move. May be below 0
    int square = 0;    // of no meaning without a pawn

    bool Runs() const { return moves != NONE; }

    /// A pawn that runs; kept when it is faster than the one before.
    void Offer(int pawn_moves, int pawn_square) {
        if (pawn_moves < moves) {
            moves = pawn_moves;
            square = pawn_square;
        }
    }
};

/// Packed, Black's point of view. Clears both_sides_valid when a pawn runs.
std::int32_t RaceTerm(const RunningPawn& black, const RunningPawn& white);
