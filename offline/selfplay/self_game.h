// One game of the engine against itself, in this process and by a fixed number of nodes a move.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "match/openings.h"

struct SelfGameSettings {
    std::int64_t nodes = 5000;  // a move; a search stops within a fiftieth of it
    int random_plies = 0;       // legal moves chosen at random behind the opening, before the engine takes over
    int balance = 0;            // centipawns: the most that a search may say of the start; 0 for no bound
};

/// Prepares the process: tables, small hash tables, no output of the engine's own. Reads "values.txt" in the working
/// directory if there is one. Once, before the first game; standard input and output must lead nowhere.
void PrepareSelfPlay();

/// Plays game `number` (from 0) and answers it as PGN, with the score of each searched move from White's view and its
/// depth as a comment; the only legal move is not searched. Random moves whose outcome passes the bound of balance are
/// drawn anew, 50 times at most. The same arguments give the same game, whatever was played before. Changes
/// thread_board.
std::string PlaySelfGame(int number, const Opening& opening, const SelfGameSettings& settings, std::uint64_t seed);
