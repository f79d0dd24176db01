// The engine's coming to life and its end, and the tables whose size an option can change.
#pragma once

#include <cstdint>

/// Runs every start-up step in order, up to the start position on the board; prints the banner and the settings.
/// Ends the process with code 1 when the tables find no memory.
void StartEngine();

/// Lists the tablebases of EGTBPath and keeps in TablebasePieces what the search may ask for.
void ListTablebases();

/// Replaces the transposition table, the pawn hash, by one of `megabytes`, clamped to 0..MAX_HASH_MEGABYTES; 0 gives
/// an empty table. Ends the process with code 1 when memory is short.
inline constexpr std::int32_t MAX_HASH_MEGABYTES = 1024;
void ResizeTransposition(std::int32_t megabytes);
void ResizePawnHash(std::int32_t megabytes);
