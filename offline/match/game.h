// One game between two engines: the referee's loop, the clocks, and the score sheet.
#pragma once

#include "match/openings.h"
#include "match/uci_engine.h"

#include <array>
#include <string_view>

enum class Result : std::int32_t { WHITE_WINS, BLACK_WINS, DRAW };

/// As game files write it.
inline constexpr std::string_view RESULT_TEXT[] = {"1-0", "0-1", "1/2-1/2"};

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
    STALL,
    EARLY_ANSWER  // to a search that was to ponder
};
inline constexpr std::size_t REASONS = 12;

/// For tables; and the value of the PGN's Termination tag.
extern const std::array<std::string_view, REASONS> REASON_TEXT;
extern const std::array<std::string_view, REASONS> TERMINATION_TAG;

struct GameOutcome {
    bool stopped = false;  // the match was called off; there is no result
    Result result = Result::DRAW;
    Reason reason = Reason::STALEMATE;
    bool failed_to_start = false;  // the loser's program gave no first answer
    /// What each did when the game was over already and it was to stop pondering: OK, CRASHED, STALLED or EARLY.
    std::array<Answer, 2> afterwards{Answer::OK, Answer::OK};
    std::array<std::int32_t, 2> ponders{};      // by colour: searches in the opponent's time,
    std::array<std::int32_t, 2> ponder_hits{};  // and how many of them on the move that came
    std::string pgn;
};

/// Plays game `number` (from 0). `engines[colour]` plays that colour by `settings[colour]`.
GameOutcome PlayGame(const MatchSettings& match, int number, const Opening& opening,
                     const std::array<UciEngine*, 2>& engines, const std::array<const EngineSettings*, 2>& settings);
