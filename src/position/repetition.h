// Repetition: the third occurrence of a position, and the table that sees a repetition coming.
//
// ReversibleMoveHash turns the XOR of two PositionKeys into the one quiet piece move that explains it. 8192
// buckets of 40 bytes, chosen by the low 13 bits of the difference; four keys, then four 15-bit move words
// (from, to, piece); a move of 0 marks a free slot.
#pragma once

#include "position/types.h"

struct ReversibleMoveBucket {
    Key difference[4];
    std::uint16_t move[4];
};
static_assert(sizeof(ReversibleMoveBucket) == 40);

inline constexpr int REVERSIBLE_MOVE_BUCKETS = 8192;

/// Allocates the table (no-op when it stands); false when memory is short. Free gives the block back.
bool AllocateReversibleMoveHash();
void FreeReversibleMoveHash();

/// Fills the table. Needs the attack tables, PieceKeys and a successful allocation. A pair that finds its
/// bucket full is reported on standard output and dropped.
void BuildReversibleMoveHash();

/// The move word (from | to << 6 | piece << 12) whose making or unmaking changes PositionKey by `difference`,
/// 0 if there is none. The table must have been allocated.
Move ReversibleMoveOf(Key difference);

/// True at the third occurrence of the position since the last irreversible move. Compares PositionKey, and
/// castling rights by record; a null move ends the scan.
bool IsRepetition();
