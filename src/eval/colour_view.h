// The board as one colour sees it, once for all terms: ahead is toward the enemy's back rank, ranks and squares are
// counted from the own side.
#pragma once

#include "position/attacks.h"
#include "position/board.h"

#include <algorithm>
#include <cstdlib>

// Squares and ranks.

/// Rank 0..7 counted from a colour's own side.
template <Colour us>
constexpr int RankSeenBy(int square) {
    return us == WHITE ? RankOf(square) : 7 - RankOf(square);
}

/// All squares of such a rank.
template <Colour us>
constexpr Bitboard RankMaskSeenBy(int rank) {
    return RANK_1 << (8 * (us == WHITE ? rank : 7 - rank));
}

/// The square that is to Black what `square` is to White, and back.
template <Colour us>
constexpr int OwnSquare(int square) {
    return us == WHITE ? square : MirrorRank(square);
}

/// The entry of a table by square that is told for Black and read for White with the rank mirrored.
template <Colour us>
constexpr int TableSquare(int square) {
    return us == BLACK ? square : MirrorRank(square);
}

/// The entry of a table of the pawns: told for Black, and turned around for White.
template <Colour us>
constexpr int PawnTableSquare(int square) {
    return us == BLACK ? square : 63 - square;
}

/// The squares one rank on, or back; what would leave the board is lost.
template <Colour us>
constexpr Bitboard StepOn(Bitboard squares) {
    return us == WHITE ? squares << 8 : squares >> 8;
}
template <Colour us>
constexpr Bitboard StepBack(Bitboard squares) {
    return StepOn<ChangeSide(us)>(squares);
}

// What lies around a square.

template <Colour us>
inline Bitboard AheadOnFile(int square) {
    return us == WHITE ? FileAhead[square] : FileBehind[square];
}
template <Colour us>
inline Bitboard BehindOnFile(int square) {
    return AheadOnFile<ChangeSide(us)>(square);
}

/// The passed mask: the squares ahead on the file and on the files beside it.
template <Colour us>
inline Bitboard ConeAhead(int square) {
    return us == WHITE ? PassedMaskWhite[square] : PassedMaskBlack[square];
}

/// The squares beside a pawn and those from which a pawn of its colour defends it.
template <Colour us>
inline Bitboard CompanionSquares(int square) {
    const Bitboard pawn = Bit(square);
    const Bitboard beside = (pawn & ~FILE_A) >> 1 | (pawn & ~FILE_H) << 1;
    return beside | PawnAttacksFrom<ChangeSide(us)>(square);
}

/// The squares attacked by pawns of a colour.
template <Colour us>
constexpr Bitboard AttackedByPawns(Bitboard pawns) {
    const Bitboard ahead = StepOn<us>(pawns);
    return (ahead & ~FILE_A) >> 1 | (ahead & ~FILE_H) << 1;
}

// The same for both colours.

inline Bitboard PiecesOf(int code, Colour colour) {
    return thread_board.Pieces[code][colour];
}

constexpr Bitboard FileMaskOf(int square) {
    return FILE_A << FileOf(square);
}

/// The squares of the colour of `square`.
inline Bitboard SquaresLike(int square) {
    return (LightSquares & Bit(square)) != 0 ? LightSquares : DarkSquares;
}

inline int KingSteps(int from, int to) {
    return std::max(std::abs(FileOf(from) - FileOf(to)), std::abs(RankOf(from) - RankOf(to)));
}

/// Pawns on files a..c and on files f..h. Reads AllPawns.
inline bool PawnsOnBothWings() {
    constexpr Bitboard QUEENS_WING = FILE_A | FILE_A << 1 | FILE_A << 2;
    constexpr Bitboard KINGS_WING = FILE_H | FILE_H >> 1 | FILE_H >> 2;
    return (thread_board.AllPawns & QUEENS_WING) != 0 && (thread_board.AllPawns & KINGS_WING) != 0;
}

inline int HeavyUnits(Colour colour) {
    return thread_board.PieceCount[ROOK][colour] + 2 * thread_board.PieceCount[QUEEN][colour];
}

inline int MinorPieces(Colour colour) {
    return thread_board.PieceCount[KNIGHT][colour] + thread_board.PieceCount[BISHOP][colour];
}
