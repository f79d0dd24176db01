// Attack and mask tables: every question of geometry is a table read.
//
// Filled once at start-up by InitializeBitMasks, InitializeBitBoards, InitMagics (in this order, before any
// position exists) and InitKnightDistance; read-only afterwards. Owner: position/attacks.cpp and
// position/magics.cpp.
//
// Direction codes are signed and follow one rule everywhere: code d means that the squares lie at
// from - k * d for k = 1, 2, ... So 8 points toward rank 1 and -9 toward rank 8 and the h-file.
#pragma once

#include "position/types.h"

extern std::uint8_t ToLowerTable[256];  // identity, except 'A'..'Z' give 'a'..'z'
extern Bitboard NotFile[8];
extern Bitboard RanksBelow[64];       // every square on a rank lower than the square's
extern std::uint8_t HighestBit[256];  // of a byte; 8 for 0
extern std::uint8_t LowestBit[256];   // of a byte; 8 for 0
extern std::uint8_t BitCount[256];
extern std::int32_t BitReverse[256];  // the byte's bits in reverse order
extern Bitboard AdjacentFiles[64];
extern Bitboard LightSquares;
extern Bitboard DarkSquares;  // a1 is dark

/// Squares from which the defending king catches a pawn: by colour of the pawn, side to move, pawn square. Empty for
/// squares of the first and last rank.
extern Bitboard PawnSquare[2][2][64];

extern Bitboard SquaresAhead[64];   // the up to three squares on the next higher rank
extern Bitboard SquaresBehind[64];  // the same on the next lower rank
extern Bitboard FileAhead[64];      // same file, higher ranks
extern Bitboard FileBehind[64];     // same file, lower ranks

/// By one king's square, edge squares only; the other king on square j is bit (63 - j), reversed like no other
/// table.
extern Bitboard KingOpposition[64];

/// Class of a byte of pawn files, bit 0 the a-file: 0 no pawns; 1 only the a- or only the h-file; 2 only b or only g;
/// 3 only one of c to f; 4 just a and b, or just g and h; 5 anything else.
extern std::int32_t PawnFileClass[256];

/// Squares on which a rook is shut in by its own king: by colour, then the king's distance 0..2 from the h-file for
/// the kingside, from the a-file for the queenside.
extern Bitboard KingsideRookTrap[2][3];
extern Bitboard QueensideRookTrap[2][3];

extern Bitboard KnightAttacks[64];
extern Bitboard KingAttacks[64];
extern Bitboard WhitePawnAttacks[64];  // also the squares from which a black pawn attacks the square
extern Bitboard BlackPawnAttacks[64];
extern Bitboard PassedMaskWhite[64];  // forward cone of a white pawn: its file and the files beside it
extern Bitboard PassedMaskBlack[64];  // the same of a black pawn, toward rank 1

/// Half open: the first square and everything strictly between, not the second; empty for squares that are
/// not on one line.
extern Bitboard Between[64][64];

/// The whole rectangle with the two squares in opposite corners, both included.
extern Bitboard Rectangle[64][64];

/// Rays by direction code -9..9: the squares from the square to the edge. Entry 64 of each row is empty, for a
/// scan that found no square.
extern Bitboard RayTable[19][65];
inline Bitboard Ray(int direction, int square) {
    return RayTable[direction + 9][square];
}

/// The direction code of the line from the first square to the second, 0 if they share none.
extern std::int8_t Direction[64][64];

extern Bitboard RookMask[64];
extern Bitboard BishopMask[64];
extern Key RookMagic[64];
extern Key BishopMagic[64];
extern std::uint32_t RookShift[64];
extern std::uint32_t BishopShift[64];
extern Bitboard* RookAttacks[64];  // start of each square's slice of the store
extern Bitboard* BishopAttacks[64];
extern Bitboard RookAttackStore[102400];
extern Bitboard BishopAttackStore[5248];
extern Bitboard RookEmptyAttacks[64];
extern Bitboard BishopEmptyAttacks[64];
extern Bitboard QueenEmptyAttacks[64];

/// Number of knight moves between two squares.
extern std::int32_t KnightDistance[64][64];

/// Attack set with the first blocker on each line included, whatever its colour.
inline Bitboard RookAttacksOf(int square, Bitboard occupancy) {
    return RookAttacks[square][((occupancy & RookMask[square]) * RookMagic[square]) >> RookShift[square]];
}

inline Bitboard BishopAttacksOf(int square, Bitboard occupancy) {
    return BishopAttacks[square][((occupancy & BishopMask[square]) * BishopMagic[square]) >> BishopShift[square]];
}

inline Bitboard QueenAttacksOf(int square, Bitboard occupancy) {
    return RookAttacksOf(square, occupancy) | BishopAttacksOf(square, occupancy);
}

/// Pawn attacks of one colour from a square.
template <Colour us>
inline Bitboard PawnAttacksFrom(int square) {
    return us == WHITE ? WhitePawnAttacks[square] : BlackPawnAttacks[square];
}

/// Whether the parallel loops of the builders below do fork. All of them together are a tenth of a millisecond of
/// work; waking threads costs more than that on an idle machine, and on a busy one each loop waits up to some 20
/// milliseconds for the last thread to be scheduled.
inline constexpr bool FORK_START_UP_LOOPS = false;

/// The tables of this header down to QueensideRookTrap. Needs nothing.
void InitializeBitMasks();

/// KnightAttacks to RayTable. Needs InitializeBitMasks.
void InitializeBitBoards();

/// Direction to QueenEmptyAttacks. Needs the rays of InitializeBitBoards.
void InitMagics();

/// KnightDistance. Needs the KnightAttacks of InitializeBitBoards.
void InitKnightDistance();
