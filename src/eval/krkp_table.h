// King and rook against king and pawn: which positions the pawn's side holds.
//
// One bit for every placing of a white pawn on files e..h and rank index 3..6, the black rook and both kings, with
// Black to move: 65536 words of 64 bits. The word index is rook * 1024 + rook's king * 16 + pawn class, where pawn
// class = (rank index - 3) * 4 + file - 4; the bit in the word is the pawn's king.
//
// Owner: eval/krkp_table.cpp. Written by InitKrkpDraw at start-up, by retrograde analysis.
#pragma once

#include "position/types.h"

/// A set bit: the pawn's side at least draws. Clear where the rook's side wins and where no position can be: men on
/// one square, kings side by side, the pawn's king attacked by the side to move.
extern Bitboard KrkpDraw[64 * 64 * 16];

/// Whether the pawn's side, `owner`, holds against the rook that is to move; false where the table does not reach,
/// which is with a pawn on its first three or its last rank.
template <Colour owner>
inline bool KrkpBit(int pawn, int rook, int rook_king, int pawn_king) {
    int turn = owner == WHITE ? 0 : 63;
    if (FileOf(pawn ^ turn) < 4) {
        turn ^= 7;
    }
    const int pawn_class = (pawn ^ turn) - 8 * 3;
    if (pawn_class < 0 || pawn_class >= 8 * 4) {
        return false;
    }
    const int word = (rook ^ turn) * 1024 + (rook_king ^ turn) * 16 + RankOf(pawn_class) * 4 + (FileOf(pawn_class) - 4);
    return (KrkpDraw[word] & Bit(pawn_king ^ turn)) != 0;
}
