// Counting move sequences: the generators' and make_move's own test.
#pragma once

#include <cstdint>

/// Legal move sequences of length `depth` (1 or more) from the position, by the staged generators as the search
/// uses them. 0 when the side not to move is in check, and on a board without exactly one king a side. Restores
/// MoveCount and the position. A depth beyond the records of GameHistory counts as the deepest that fits.
std::uint64_t CountMoves(int depth);

/// The `perft` command: waits for a clock tick, counts, and prints the total and the seconds. A depth below 1
/// prints a total of 0.
void Perft(int depth);
