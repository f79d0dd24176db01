// How long a move may take, and when a running search stops. Centiseconds.
// Owner: search/clock.cpp.
#pragma once

#include "position/types.h"

extern std::int32_t SoftLimit;      // target of this move, at least 1
extern std::int32_t HardLimit;      // upper limit; may be 0 or below when the clock is nearly gone
extern std::int32_t SearchStart;    // ClockCentiseconds when thinking began
extern std::int32_t PollInterval;   // nodes between polls
extern std::int32_t PollCountdown;  // nodes left to the next poll, which a node of Search makes
extern std::int32_t OverduePoll;    // PollCountdown below which a node of Quiescence polls as well
extern std::int32_t InfoCountdown;  // polls left to the next statistics line
extern Move EasyMove;               // the single recapture, 0 if none

/// Limits that no search reaches: no clock runs.
inline constexpr std::int32_t UNLIMITED_TIME = 9999999;

/// Nodes that pass between two statistics lines, whatever the poll interval.
inline constexpr std::int32_t NODES_PER_INFO = 100000;

/// PollCountdown at which a poll has waited too long for a node of Search: below a second, and out of reach of the
/// captures of a real position.
inline constexpr std::int32_t OVERDUE_POLL = -500'000;

/// Sets SoftLimit, HardLimit and PollInterval from the clock settings. TimeLeft must not be NO_CLOCK.
void ComputeBudget();

/// Sets the three for a search without a clock.
void SetUnlimitedBudget();

/// Sets the countdown to the next poll: a PollInterval, or less where a node limit that is kept comes before.
void RestartPollCountdown();

/// True when the search must stop now. Reads the clock and, when input waits, runs HandleInput.
bool PollInput(bool atIterationStart);

/// What `stop` does, for a search that only a command could end after standard input has closed. Does nothing
/// while the input is open, and leaves a search alone that has a limit of its own. True when it stopped the search.
bool StopIfInputClosed();

/// Centiseconds since SearchStart.
std::int32_t ElapsedCentiseconds();
