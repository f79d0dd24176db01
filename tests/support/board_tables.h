// The tables that every board needs, for tests of rooms below the one that starts the engine.
#pragma once

#include "position/attacks.h"
#include "position/piece_square.h"
#include "position/zobrist.h"

#include <random>

/// Fills keys, masks and attack sets.
inline void FillBoardTables() {
    InitZobristKeys();
    InitializeBitMasks();
    InitializeBitBoards();
    InitMagics();
    InitKnightDistance();
}

/// Fills PieceSquareTable with random words: a sum that is kept wrongly then shows, whatever the evaluation's own
/// numbers are.
inline void FillPieceSquaresAtRandom() {
    std::mt19937 random(20250101);
    for (const int code : {KING, KNIGHT, PAWN, ROOK, BISHOP, QUEEN}) {
        for (const int colour : {WHITE, BLACK}) {
            for (int square = 0; square < 64; ++square) {
                PieceSquareTable[PieceSquareIndex(code, colour, square)] = static_cast<std::int32_t>(random());
            }
        }
    }
}
