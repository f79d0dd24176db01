// Positions of finished games, with what became of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "position/board.h"

struct Sample {
    ThreadBoard board;
    float result;        // of the game, for White: 0, 1/2, 1
    std::int32_t score;  // centipawns for White, of the search that chose the move
    std::int32_t game;   // number of the game, from 0
};

struct SampleSettings {
    int per_game = 10;  // at most
    std::uint64_t seed = 1;
};

/// Adds positions of all games of a PGN text to `samples`, no position twice; games are numbered on from `games`, which
/// grows by their number. Taken are positions whose move was searched (it has a score as its comment) and is quiet: no
/// check on the board, the move no capture, promotion or check, and no score that settles the game. Games without a
/// result give nothing, unreadable ones are counted in `unreadable`. Changes thread_board.
void SamplePositions(std::string_view pgn, const SampleSettings& settings, int& games, int& unreadable,
                     std::vector<Sample>& samples);
