// The filter of the root moves: what is left of them keeps the tablebases' result, so that the search cannot throw it
// away.
#include "movegen/generators.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "tablebase/probe.h"

#include <algorithm>

namespace {

// Centipawns by WDL value: a win is one less than any win that the search itself finds in the tables.
constexpr std::int32_t WdlToValue[5] = {-31699, -2, 0, 2, 31699};

/// Half-moves without capture or pawn move that make a draw.
constexpr std::int32_t FIFTY_MOVES = 100;

/// What `probe` says of the position after root move `index`; Ply is 1 already.
template <typename Probe>
std::int32_t TryRootMove(int index, Probe probe) {
    MakeMove(MoveList[index].Move, 1);
    PlyState[1].InCheck = RootGivesCheck[index];
    const std::int32_t value = probe();
    UnmakeMove();
    return value;
}

/// The distance to zeroing by the move that has just been made, from the mover's side, 1 for mate. `dtz` is the root's.
std::int32_t DistanceByMove(std::int32_t dtz, std::int32_t& success) {
    if (PlyState[1].InCheck != 0 && dtz >= 1 && IsCheckmated()) {
        return 1;
    }
    if (thread_board.FiftyCounter == 0) {
        const std::int32_t wdl = ProbeWdl(success);
        return success != PROBE_FAILED ? WdlToDtz[-wdl + 2] : 0;
    }
    const std::int32_t distance = -ProbeDtz(success);
    return distance + (distance > 0) - (distance < 0);
}

/// Whether the position has been on the board before, since the last move that cannot be undone.
bool HasOccurred() {
    for (int j = GamePly - 3; j - 1 >= 0; j -= 2) {
        const HistoryRecord& earlier = GameHistory[j - 1];
        if (!IsReversible(earlier.move)) {
            return false;
        }
        if (earlier.key == thread_board.PositionKey) {
            return true;
        }
        if (j < 2 || !IsReversible(GameHistory[j - 2].move)) {
            return false;
        }
    }
    return false;
}

/// The result with the moves that have been made without zeroing counted in.
std::int32_t RootWdl(std::int32_t dtz) {
    if (dtz == 0) {
        return 0;
    }
    const bool inTime = thread_board.FiftyCounter + (dtz > 0 ? dtz : -dtz) <= FIFTY_MOVES;
    return dtz > 0 ? (inTime ? 2 : 1) : (inTime ? -2 : -1);
}

/// A cursed win or blessed loss is worth more the less it misses the fifty moves by, where the count alone spoils it.
std::int32_t RootValue(std::int32_t wdl, std::int32_t dtz) {
    const std::int32_t fifty = thread_board.FiftyCounter;
    if (wdl == 1 && dtz <= FIFTY_MOVES) {
        return (2 * FIFTY_MOVES - fifty - dtz) / 2;
    }
    if (wdl == -1 && dtz >= -FIFTY_MOVES) {
        return -((2 * FIFTY_MOVES + dtz - fifty) / 2);
    }
    return WdlToValue[wdl + 2];
}

struct Range {
    std::int32_t low;
    std::int32_t high;
};

/// The distances that keep the result. A win may take its time within the fifty moves as long as it does not turn in
/// circles; then only the quickest way will do.
Range RangeToKeep(std::int32_t dtz) {
    const std::int32_t fifty = thread_board.FiftyCounter;
    if (dtz == 0) {
        return {0, 0};
    }
    if (dtz > 0) {
        std::int32_t best = NO_DTZ;
        for (int i = 0; i < MoveCount; ++i) {
            if (RootScores[i] > 0) {
                best = std::min(best, RootScores[i]);
            }
        }
        const bool inTime = fifty < FIFTY_MOVES && fifty + best < FIFTY_MOVES;
        return {1, inTime && !HasOccurred() ? FIFTY_MOVES - 1 - fifty : best};
    }
    const std::int32_t best = std::min(*std::min_element(RootScores, RootScores + MoveCount), 0);
    if (fifty - 2 * best < FIFTY_MOVES) {
        return {-NO_DTZ, NO_DTZ};
    }
    return {best, best};
}

/// False, and the list as it was, when no move would be left: so it is when the search has been asked for moves that
/// throw a win away, or when the tables contradict each other.
bool KeepRootMoves(Range range) {
    int kept = 0;
    for (int i = 0; i < MoveCount; ++i) {
        if (RootScores[i] >= range.low && RootScores[i] <= range.high) {
            MoveList[kept] = MoveList[i];
            RootGivesCheck[kept] = RootGivesCheck[i];
            RootScores[kept++] = RootScores[i];
        }
    }
    if (kept == 0) {
        return false;
    }
    MoveCount = kept;
    return true;
}

}  // namespace

std::int32_t RootProbeDtz(std::int32_t& score) {
    std::int32_t success = PROBE_DONE;
    const std::int32_t dtz = ProbeDtz(success);
    if (success == PROBE_FAILED) {
        return 0;
    }
    Ply = 1;
    for (int i = 0; i < MoveCount; ++i) {
        const std::int32_t distance = TryRootMove(i, [&] { return DistanceByMove(dtz, success); });
        if (success == PROBE_FAILED) {
            return 0;
        }
        RootScores[i] = distance;
    }
    score = RootValue(RootWdl(dtz), dtz);
    return KeepRootMoves(RangeToKeep(dtz)) ? 1 : 0;
}

std::int32_t RootProbeWdl(std::int32_t& score) {
    std::int32_t success = PROBE_DONE;
    const std::int32_t wdl = ProbeWdl(success);
    if (success == PROBE_FAILED) {
        return 0;
    }
    Ply = 1;
    score = WdlToValue[wdl + 2];
    std::int32_t best = -2;
    for (int i = 0; i < MoveCount; ++i) {
        const std::int32_t value = -TryRootMove(i, [&] { return ProbeWdl(success); });
        if (success == PROBE_FAILED) {
            return 0;
        }
        RootScores[i] = value;
        best = std::max(best, value);
    }
    return KeepRootMoves({best, best}) ? 1 : 0;
}
