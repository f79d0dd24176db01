// Zobrist keys, drawn at start-up from MT19937-64 with a fixed seed and a fixed order: the learning file
// stores parts of keys, so the sequence must never change.
#pragma once

#include "position/types.h"

extern Key PieceKeys[2][8][64];  // by colour, PieceCode, square; rows of codes 0 and 4 stay zero
extern Key CastleKeys[16];       // by CastlingFlags
extern Key EnPassantKeys[8];     // by file

/// Fills the tables. Once, before any position is set up.
void InitZobristKeys();
