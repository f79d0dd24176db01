#include "search/clock.h"

#include "eval/material_table.h"
#include "movegen/search_records.h"
#include "platform/clock.h"
#include "position/board.h"
#include "position/settings.h"
#include "search/front_end.h"
#include "search/thinking_output.h"

#include <algorithm>
#include <cmath>
#include <limits>

std::int32_t SoftLimit = UNLIMITED_TIME;
std::int32_t HardLimit = UNLIMITED_TIME;
std::int32_t SearchStart;
std::int32_t PollInterval = 50000;
std::int32_t PollCountdown;
std::int32_t OverduePoll = OVERDUE_POLL;
std::int32_t InfoCountdown;
Move EasyMove;

namespace {

// What a search for a hint may take.
constexpr std::int32_t HINT_TIME = 100;

// A search to this depth has no limit of its own: the drivers start no iteration beyond it.
constexpr std::int32_t ENDLESS_DEPTH = 100;

std::int32_t ClampToInt32(std::int64_t value) {
    constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(value, least, most));
}

/// Half-moves of the game, those that have left the history included.
std::int64_t GameLength() {
    return std::int64_t{GamePly} + DroppedPlies;
}

/// Moves to plan for under a control of MovesPerPeriod moves, at most 30. UCI tells the moves that are left,
/// xboard the length of a period.
std::int64_t MovesInPeriod() {
    std::int64_t moves = MovesPerPeriod;
    if (UciMode != 0) {
        return std::min<std::int64_t>(moves, 30);
    }
    const std::int64_t current = GameLength() / 2 + 1;
    if (moves < current) {
        moves *= (current - 1) / moves + 1;
    }
    return std::min<std::int64_t>(moves - current + 1, 30);
}

/// Moves to plan for when the clock has to last for the game: 45 at its start, 30 after 40 half-moves.
std::int64_t MovesInGame() {
    const double length = static_cast<double>(GameLength() + 1);
    const double estimate = ((72830.0 - 2330.0 * length) / (length * (10.0 + length) + 2644.0) + 59.3) * 0.5;
    return std::max<std::int64_t>(std::llround(estimate + 2.0), 3);
}

// Nodes cut by mate distance are counted but take nothing off the countdown: polls this often keep a node limit to
// within a few hundred nodes all the same.
constexpr std::int32_t NODE_LIMIT_INTERVAL = 1000;

/// With ObeyEachGo the search ends where the limit is reached; without, at the poll that follows.
bool KeepsNodeLimit() {
    return ObeyEachGo != 0 && NodeLimit != 0;
}

std::int32_t PollIntervalFor(std::int32_t target) {
    if (KeepsNodeLimit()) {
        return NODE_LIMIT_INTERVAL;
    }
    if (target > 300) {
        return 50000;
    }
    return target > 100 ? 20000 : 5000;
}

/// The time a running move may take, from the way the score has gone since the last search.
std::int64_t TrendTarget(bool easy) {
    const std::int64_t base = easy ? SoftLimit / 3 : SoftLimit;
    const std::int32_t previous = EngineSide == PrevRootSide ? PrevRootScore : -PrevRootScore;
    const std::int32_t drop = previous - RootScores[0];
    if (drop > 60) {
        return base * (SearchesDone == 0 ? 4 : 7);
    }
    if (drop > 20) {
        return 2 * base + base / 2;
    }
    if (drop < -25 && previous >= -9 && previous <= 119) {
        return 2 * base;  // out of balance for the better: make sure of it
    }
    return base;
}

/// The clock's part of the poll.
bool TimeIsUp(bool atIterationStart) {
    const bool easy = MoveList[0].Move == EasyMove;
    if (!easy) {
        EasyMove = 0;  // once another move leads the recapture is easy no more
    }
    const std::int64_t elapsed = ElapsedCentiseconds();
    if (atIterationStart && elapsed > std::int64_t{SoftLimit} * 3 / 5) {
        return true;
    }
    if (FirstMoveDone != 0 && !easy && RootInTablebase == 0) {
        const std::int64_t patience = std::min<std::int64_t>(std::int64_t{SoftLimit} * 5 / 3, HardLimit);
        if (elapsed <= patience) {
            return false;
        }
    }
    return elapsed >= std::min<std::int64_t>(TrendTarget(easy), HardLimit);
}

bool MustStop(bool atIterationStart) {
    if (InputAvailable()) {
        PollCountdown = PollInterval;
        HandleInput();
        if (thread_board.SearchAborted != 0 || StopIfInputClosed()) {
            return true;
        }
    }
    if (NodeLimit != 0 && static_cast<std::int64_t>(Nodes) >= NodeLimit) {
        return true;
    }
    if (PonderSearch != 0) {
        if (HintSearch == 1 && ElapsedCentiseconds() > HINT_TIME) {
            HintSearch = 0;
            return true;
        }
        if (UciMode == 0) {
            return false;
        }
    }
    if (UciMode != 0 && --InfoCountdown < 0) {
        ReportNps();
    }
    if (IterationLimit != TIMED_SEARCH || PonderSearch != 0 || UciPonder != 0) {
        return false;
    }
    return TimeIsUp(atIterationStart);
}

/// Whether a limit will end the running search without another command. A mate limit is none: a mate of that length
/// may not exist.
bool SearchEndsByItself() {
    if (PonderSearch != 0 || UciPonder != 0) {
        return false;
    }
    if (NodeLimit != 0) {
        return true;
    }
    if (IterationLimit == TIMED_SEARCH) {
        return TimeLeft != NO_CLOCK && (TimeLeft != INFINITE_TIME || MoveTime != 0 || ClockedDepth < ENDLESS_DEPTH);
    }
    return IterationLimit < ENDLESS_DEPTH;
}

}  // namespace

void ComputeBudget() {
    if (MoveTime != 0) {
        SoftLimit = HardLimit = MoveTime;
        PollInterval = PollIntervalFor(SoftLimit);
        return;
    }
    // In 64 bits: the mark of an infinite search times 95 outgrows 32.
    const std::int64_t usable = std::int64_t{TimeLeft} * 95 / 100 - 1;
    const std::int64_t increment = TimeIncrement;
    const bool suddenDeath = MovesPerPeriod <= 0;  // below 0 is nobody's period
    const std::int64_t moves = suddenDeath ? MovesInGame() : MovesInPeriod();
    std::int64_t perMove = (usable - increment + increment * moves) / moves;
    if (suddenDeath) {
        if (const MaterialEntry* entry = CurrentMaterial()) {
            perMove = perMove / 2 + entry->time_factor * perMove / 256 / 2;
        }
    }
    SoftLimit = ClampToInt32(std::max<std::int64_t>(perMove, 1));
    HardLimit = ClampToInt32(std::min<std::int64_t>(7 * perMove, usable / 3));
    PollInterval = PollIntervalFor(SoftLimit);
}

void SetUnlimitedBudget() {
    SoftLimit = HardLimit = UNLIMITED_TIME;
    PollInterval = PollIntervalFor(SoftLimit);
}

void RestartPollCountdown() {
    PollCountdown = PollInterval;
    OverduePoll = OVERDUE_POLL;
    if (KeepsNodeLimit()) {
        // The countdown's own node is polled at as well.
        const std::int64_t left = std::max<std::int64_t>(NodeLimit, 0) - static_cast<std::int64_t>(Nodes) - 1;
        PollCountdown = static_cast<std::int32_t>(std::clamp<std::int64_t>(left, 0, PollInterval));
        OverduePoll = 0;
    }
}

bool PollInput(bool atIterationStart) {
    const bool stop = MustStop(atIterationStart);
    if (!stop) {
        RestartPollCountdown();
    }
    return stop;
}

bool StopIfInputClosed() {
    if (!InputClosed() || SearchEndsByItself()) {
        return false;
    }
    if (PonderSearch != 0) {
        ReceivedMove = 0;
        PonderEnded = 1;
    }
    UciPonder = 0;
    thread_board.SearchAborted = 1;
    return true;
}

std::int32_t ElapsedCentiseconds() {
    return ClockCentiseconds() - SearchStart;
}
