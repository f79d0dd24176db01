// King and pawn against king.
//
// Two tables of 2^19 bits for a white pawn. Bit index: side to move + 2 * pawn + 128 * white king + 8192 * black
// king. For a black pawn the tables are read with colours changed: the side flipped, every square s taken as 63 - s.
// Clear where no position can be: a pawn on the first or last rank, men on one square, kings side by side, the black
// king attacked with White to move.
//
// Owner: eval/pawn_endgame_tables.cpp. Written by InitPawnEndgameTables at start-up, by retrograde analysis.
#pragma once

#include "position/board.h"

inline constexpr int KPK_WORDS = (1 << 19) / 64;

extern std::uint64_t KpkWin[KPK_WORDS];  // White wins
extern std::uint64_t KpkRun[KPK_WORDS];  // White wins by pawn moves alone; implies KpkWin

inline bool KpkBit(const std::uint64_t (&table)[KPK_WORDS], Colour side, int pawn, int white_king, int black_king) {
    const int index = side + 2 * pawn + 128 * white_king + 8192 * black_king;
    return (table[index >> 6] >> (index & 63) & 1) != 0;
}

/// Whether a white pawn runs through: by KpkRun, but with its own king ahead of it on the file, which the table takes
/// for a block, by PawnSquare. Clears both_sides_valid when the other side to move would change the answer.
bool KpkProbe(Colour side, int pawn, int white_king, int black_king);

// The same questions for a pawn of either colour and the kings on the board.

/// The square and the side to move as they are with the owner of the pawn for White.
template <Colour owner>
constexpr int KpkSquare(int square) {
    return owner == WHITE ? square : 63 - square;
}

template <Colour owner>
constexpr Colour KpkSide(Colour side) {
    return owner == WHITE ? side : ChangeSide(side);
}

template <Colour owner>
inline bool KpkBitFor(const std::uint64_t (&table)[KPK_WORDS], Colour side, int pawn) {
    return KpkBit(table, KpkSide<owner>(side), KpkSquare<owner>(pawn), KpkSquare<owner>(thread_board.KingSquare[owner]),
                  KpkSquare<owner>(thread_board.KingSquare[ChangeSide(owner)]));
}

/// KpkWin with `side` to move.
template <Colour owner>
inline bool PawnWins(Colour side, int pawn) {
    return KpkBitFor<owner>(KpkWin, side, pawn);
}

/// KpkRun with `side` to move, as if the pawn and the kings were alone.
template <Colour owner>
inline bool PawnRunsAlone(Colour side, int pawn) {
    return KpkBitFor<owner>(KpkRun, side, pawn);
}

/// KpkProbe.
template <Colour owner>
inline bool PawnRuns(int pawn) {
    return KpkProbe(KpkSide<owner>(thread_board.SideToMove), KpkSquare<owner>(pawn),
                    KpkSquare<owner>(thread_board.KingSquare[owner]),
                    KpkSquare<owner>(thread_board.KingSquare[ChangeSide(owner)]));
}
