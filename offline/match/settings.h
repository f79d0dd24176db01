// What the command line asks for.
#pragma once

#include "match/openings.h"
#include "match/statistics.h"

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using Milliseconds = std::chrono::milliseconds;

/// What one engine may spend on its moves. Any of them together; at least one.
struct Limits {
    bool clock = false;
    Milliseconds base{0};
    Milliseconds increment{0};
    int period = 0;  // moves after which `base` is added again, 0 for the whole game
    std::int64_t nodes = 0;
    int depth = 0;
};

/// An option that changes from game to game, within one run of the engine's program.
struct VariedOption {
    std::string name;
    std::vector<std::string> values;  // in turn; at least one
};

struct EngineSettings {
    std::string name;
    std::string command;    // a path, absolute, or a name that the shell's search path knows
    std::string directory;  // empty for the current one
    std::vector<std::string> arguments;
    std::vector<std::pair<std::string, std::string>> options;  // in the order given
    std::vector<VariedOption> varied;
    Limits limits;
    bool ponder = false;
    bool restart = false;  // ended after every game and started anew
};

/// The game is drawn when both engines have kept within `score` centipawns of 0 for `moves` moves each, from move
/// number `from` on.
struct DrawRule {
    int from = 40;
    int moves = 8;
    int score = 10;
};

/// The game is lost for an engine that has seen itself at -`score` centipawns or worse for `moves` moves while the
/// other agreed.
struct ResignRule {
    int moves = 3;
    int score = 900;
};

/// Who meets whom: everybody everybody, or the first engine each of the others.
enum class Tournament { ROUND_ROBIN, GAUNTLET };

struct MatchSettings {
    std::vector<EngineSettings> engines;  // two or more
    Tournament tournament = Tournament::ROUND_ROBIN;
    std::string openings;  // a file; empty for the start position only
    OpeningFormat opening_format = OpeningFormat::BY_NAME;
    bool random_order = true;
    int opening_plies = std::numeric_limits<int>::max();
    bool repeat = true;
    std::uint64_t seed = 1;
    int games = 100;  // of each pairing
    int concurrency = 1;
    Milliseconds margin{10};       // that a clock may be overstepped
    Milliseconds patience{30000};  // for every answer that no clock bounds
    std::string pgn;               // appended to; empty for none
    std::string event = "Engine match";
    std::optional<SprtSettings> sprt;
    std::optional<DrawRule> draw;
    std::optional<ResignRule> resign;
};
