// Syzygy endgame tablebases: which tables there are. Their contents are loaded when a position first asks for them.
//
// Owner: tablebase/discovery.cpp. TablebasePieces, which the search asks, is the callers' copy of LargestTable.
#pragma once

#include <cstdint>
#include <string>

/// Most men of any listed table, 0 if there are none. Written by init_tablebases and FreeTablebases.
extern std::int32_t LargestTable;

/// Lists the tables found in `path`, directories separated by semicolons, and prints how many. An earlier listing is
/// given up first. The empty path and "<empty>" list nothing and print nothing.
void init_tablebases(const std::string& path);

/// Gives back everything that init_tablebases built; nothing is listed afterwards.
void FreeTablebases();
