// Squares, colours, piece codes, bitboards and the Move word: the vocabulary of every other room.
//
// Squares run 0..63 with a1 = 0, h1 = 7, a8 = 56; bit n of a bitboard is square n.
// file = square & 7, rank = square >> 3, both counted from 0.
//
// A piece is a colourless 3-bit code whose bits mean something: bit 2 marks sliders, and among sliders
// bit 0 marks rook lines and bit 1 bishop lines, so that the queen (7) has all three.
//
// A Move is one 32-bit word:
//
//   bits  0..5   from          bits 12..14  piece, before any promotion
//   bits  6..11  to            bits 15..17  captured piece standing on `to`, 0 if none
//   bits 18..20  promotion     bits 21..31  always 0
//
// There are no flag bits. Castling is a king move of two files from e1 or e8; en passant is a pawn move
// that changes file with `captured` 0; a double push is a pawn move that leaves bit 3 of the square alone.
// The word 0 is no move, and stands for a null move in GameHistory.
#pragma once

#include <bit>
#include <cstdint>

using Bitboard = std::uint64_t;
using Key = std::uint64_t;
using Move = std::uint32_t;

enum Colour : int { WHITE = 0, BLACK = 1 };

constexpr Colour ChangeSide(Colour side) {
    return static_cast<Colour>(1 - side);
}

enum PieceCode : int { NO_PIECE = 0, KING = 1, KNIGHT = 2, PAWN = 3, ROOK = 5, BISHOP = 6, QUEEN = 7 };

constexpr bool IsSlider(int code) {
    return (code & 4) != 0;
}
constexpr bool MovesOnLines(int code) {
    return (code & 5) == 5;
}  // rook, queen
constexpr bool MovesOnDiagonals(int code) {
    return (code & 6) == 6;
}  // bishop, queen

/// Centipawns by PieceCode; the king's 10000 never enters ThreadBoard::Material.
inline constexpr std::int32_t PieceValue[8] = {0, 10000, 300, 100, 0, 500, 300, 900};

/// Non-pawn material units by PieceCode; a full army has 31.
inline constexpr std::int32_t PieceUnits[8] = {0, 0, 3, 0, 0, 5, 3, 9};

/// Squares that routines name. The rest are reached by arithmetic.
enum SquareName : int {
    A1 = 0,
    B1,
    C1,
    D1,
    E1,
    F1,
    G1,
    H1,
    A2,
    B2,
    C2,
    D2,
    E2,
    F2,
    G2,
    H2,
    A7 = 48,
    B7,
    C7,
    D7,
    E7,
    F7,
    G7,
    H7,
    A8 = 56,
    B8,
    C8,
    D8,
    E8,
    F8,
    G8,
    H8
};

constexpr int FileOf(int square) {
    return square & 7;
}
constexpr int RankOf(int square) {
    return square >> 3;
}
constexpr int MirrorRank(int square) {
    return square ^ 56;
}
constexpr Bitboard Bit(int square) {
    return Bitboard{1} << square;
}

inline constexpr Bitboard FILE_A = 0x0101010101010101ULL;
inline constexpr Bitboard FILE_H = 0x8080808080808080ULL;
inline constexpr Bitboard RANK_1 = 0x00000000000000FFULL;
inline constexpr Bitboard RANK_8 = 0xFF00000000000000ULL;

/// Number of the lowest, highest set bit. The mask must not be empty.
constexpr int LowestSetBit(Bitboard mask) {
    return std::countr_zero(mask);
}
constexpr int HighestSetBit(Bitboard mask) {
    return 63 - std::countl_zero(mask);
}

/// Answers the lowest set bit's number and clears that bit. The mask must not be empty.
constexpr int PopLowestBit(Bitboard& mask) {
    const int square = std::countr_zero(mask);
    mask &= mask - 1;
    return square;
}

/// The same from the other end.
constexpr int PopHighestBit(Bitboard& mask) {
    const int square = HighestSetBit(mask);
    mask ^= Bit(square);
    return square;
}

constexpr int PopCount(Bitboard mask) {
    return std::popcount(mask);
}

constexpr int MoveFrom(Move move) {
    return static_cast<int>(move & 63);
}
constexpr int MoveTo(Move move) {
    return static_cast<int>((move >> 6) & 63);
}
constexpr int MovePiece(Move move) {
    return static_cast<int>((move >> 12) & 7);
}
constexpr int MoveCaptured(Move move) {
    return static_cast<int>((move >> 15) & 7);
}
constexpr int MovePromotion(Move move) {
    return static_cast<int>((move >> 18) & 7);
}

/// Every argument must be in its field's range; nothing is masked.
constexpr Move BuildMove(int from, int to, int piece, int captured = 0, int promotion = 0) {
    return static_cast<Move>(from | (to << 6) | (piece << 12) | (captured << 15) | (promotion << 18));
}

inline constexpr Move MOVE_CAPTURE_OR_PROMOTION = 0x1f8000;
inline constexpr Move WHITE_CASTLES_SHORT = 0x1184;
inline constexpr Move WHITE_CASTLES_LONG = 0x1084;
inline constexpr Move BLACK_CASTLES_SHORT = 0x1FBC;
inline constexpr Move BLACK_CASTLES_LONG = 0x1EBC;

constexpr bool IsCaptureOrPromotion(Move move) {
    return (move & MOVE_CAPTURE_OR_PROMOTION) != 0;
}

constexpr bool IsEnPassant(Move move) {
    return MovePiece(move) == PAWN && MoveCaptured(move) == 0 && ((move ^ (move >> 6)) & 1) != 0;
}

constexpr bool IsDoublePush(Move move) {
    return MovePiece(move) == PAWN && ((move ^ (move >> 6)) & 8) == 0;
}

/// No capture, no promotion, no en passant: what the ordering statistics call a quiet move.
constexpr bool IsQuiet(Move move) {
    return !IsCaptureOrPromotion(move) && !IsEnPassant(move);
}

/// False for captures, promotions, pawn moves and the null move. True for every other move of a piece, also for those
/// that lose castling rights and for castling itself: who asks compares the rights where they matter.
constexpr bool IsReversible(Move move) {
    return move != 0 && !IsCaptureOrPromotion(move) && (move & 0x7000) != 0x3000;
}

constexpr bool IsCastling(Move move) {
    return (move & 0x7fff) == WHITE_CASTLES_SHORT || (move & 0x7fff) == WHITE_CASTLES_LONG ||
           (move & 0x7fff) == BLACK_CASTLES_SHORT || (move & 0x7fff) == BLACK_CASTLES_LONG;
}
