// Positions that games begin from, read from PGN or EPD.
#pragma once

#include "position/types.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class OpeningFormat { BY_NAME, PGN, EPD };

struct Opening {
    std::string fen;          // six tidy fields
    std::vector<Move> moves;  // played from there before the engines take over
};

/// One position a line, EPD or FEN; empty lines and lines that begin with '#' do not count.
/// On a bad line, or when there is no position at all, answers an empty list and says in `error` what is wrong.
std::vector<Opening> ReadEpdOpenings(std::string_view text, std::string& error);

/// One opening a game, its moves cut after `plies` half-moves. Comments, variations and results are passed over.
/// Fails like ReadEpdOpenings.
std::vector<Opening> ReadPgnOpenings(std::string_view text, int plies, std::string& error);

/// The openings of a file. By its name, PGN ends in ".pgn" in letters of any size, and everything else is EPD, which
/// has no moves to cut. Fails like ReadEpdOpenings, also when there is no such file.
std::vector<Opening> ReadOpenings(const std::string& path, int plies, std::string& error,
                                  OpeningFormat format = OpeningFormat::BY_NAME);

/// An order of 0..count-1 that depends on the seed alone, not on the machine.
std::vector<std::size_t> ShuffledOrder(std::size_t count, std::uint64_t seed);
