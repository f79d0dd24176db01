// What the pawn terms share: the board as the owner of a pawn sees it. Ahead is toward the enemy's back rank.
#pragma once

#include "position/attacks.h"
#include "position/board.h"

#include <algorithm>
#include <cstdlib>

/// The squares one rank on; what would leave the board is lost.
template <Colour us>
constexpr Bitboard StepOn(Bitboard squares) {
    return us == WHITE ? squares << 8 : squares >> 8;
}

/// Rank 0..7 counted from the owner's side.
template <Colour us>
constexpr int RankOfPawn(int square) {
    return us == WHITE ? RankOf(square) : 7 - RankOf(square);
}

/// All squares of such a rank.
template <Colour us>
constexpr Bitboard PawnRankMask(int rank) {
    return RANK_1 << (8 * (us == WHITE ? rank : 7 - rank));
}

/// The entry of a pawn table: they are seen from Black, and turned around for White.
template <Colour us>
constexpr int PawnTableSquare(int square) {
    return us == BLACK ? square : 63 - square;
}

template <Colour us>
inline Bitboard AheadOnFile(int square) {
    return us == WHITE ? FileAhead[square] : FileBehind[square];
}

template <Colour us>
inline Bitboard BehindOnFile(int square) {
    return us == WHITE ? FileBehind[square] : FileAhead[square];
}

/// The passed mask: the squares ahead on the file and on the files beside it.
template <Colour us>
inline Bitboard ConeAhead(int square) {
    return us == WHITE ? PassedMaskWhite[square] : PassedMaskBlack[square];
}

/// The squares attacked by pawns of a colour.
template <Colour us>
constexpr Bitboard AttackedByPawns(Bitboard pawns) {
    const Bitboard ahead = StepOn<us>(pawns);
    return (ahead & ~FILE_A) >> 1 | (ahead & ~FILE_H) << 1;
}

/// The squares beside a pawn and those from which a pawn of its colour defends it.
template <Colour us>
inline Bitboard CompanionSquares(int square) {
    const Bitboard pawn = Bit(square);
    const Bitboard beside = (pawn & ~FILE_A) >> 1 | (pawn & ~FILE_H) << 1;
    return beside | PawnAttacksFrom<ChangeSide(us)>(square);
}

inline int KingSteps(int from, int to) {
    return std::max(std::abs(FileOf(from) - FileOf(to)), std::abs(RankOf(from) - RankOf(to)));
}

/// The sign of a colour's terms: the score is Black's point of view.
template <Colour us>
constexpr int PawnSign() {
    return us == BLACK ? 1 : -1;
}
