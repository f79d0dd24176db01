// Moves in algebraic notation, short or long.
#pragma once

#include "position/types.h"

#include <string_view>

/// What a move's text tells of it. UNTOLD stands for what it leaves open; every move has a piece.
struct PgnMoveText {
    static constexpr int UNTOLD = -1;

    int piece = PAWN;
    int from_file = UNTOLD;
    int from_rank = UNTOLD;
    int to_file = UNTOLD;
    int to_rank = UNTOLD;
    int promotion = UNTOLD;
    bool capture = false;  // announced as one; without the mark it may be one as well
};

/// Takes a move's text apart. `side` is who castles, where that is what it says. What stands behind a complete move,
/// and hyphens within one, are passed over.
PgnMoveText ReadPgnMove(std::string_view raw, Colour side);

/// True when `move`, with the position before it on the board, agrees with everything that the text tells.
bool MatchesPgnMove(Move move, const PgnMoveText& text);
