// One game between two engines: the referee's loop, the clocks, and the score sheet.
#pragma once

#include "match/openings.h"
#include "match/uci_engine.h"

#include <array>
#include <string_view>

enum class Result : std::int32_t { WHITE_WINS, BLACK_WINS, DRAW };

/// Why the game ended. The first group wants nobody to blame, the second is the loser's fault.
enum class Reason : std::int32_t {
    CHECKMATE,
    STALEMATE,
    REPETITION,
    FIFTY_MOVES,
    DEAD_POSITION,
    DRAW_ADJUDICATED,
    WIN_ADJUDICATED,
    CRASH,
    ILLEGAL_MOVE,
    TIME,
    STALL
};
inline constexpr std::size_t REASONS = 11;

/// For tables; and the value of the PGN's Termination tag.
extern const std::array<std::string_view, REASONS> REASON_TEXT;
extern const std::array<std::string_view, REASONS> TERMINATION_TAG;

/// Which engine, 0 or 1 in the order of the command line, has White in game `number`: they take turns, and so a pair
/// of games with one opening has both.
constexpr int WhiteEngine(int number) {
    return number % 2;
}

struct GameOutcome {
    bool stopped = false;  // the match was called off; there is no result
    Result result = Result::DRAW;
    Reason reason = Reason::STALEMATE;
    bool failed_to_start = false;  // the loser's program gave no first answer
    std::string pgn;
};

/// Plays game `number` (from 0). `engines[colour]` plays that colour by `settings[colour]`.
GameOutcome PlayGame(const MatchSettings& match, int number, const Opening& opening,
                     const std::array<UciEngine*, 2>& engines, const std::array<const EngineSettings*, 2>& settings);
