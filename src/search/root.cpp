#include "search/root.h"

#include "eval/evaluation.h"
#include "position/board.h"
#include "position/settings.h"
#include "search/search.h"
#include "search/thinking_output.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

constexpr std::int32_t AspirationBase[32] = {907, 600, 472, 397, 348, 312, 285, 263, 245, 230, 218,
                                             207, 197, 189, 181, 174, 168, 162, 162, 162, 162, 162,
                                             162, 162, 162, 162, 162, 162, 162, 162, 162, 162};

constexpr std::int32_t AspirationScale[64] = {
    191, 204, 216, 228, 240, 252, 264, 276, 289, 301, 313, 325, 337, 349, 362, 374, 386, 398, 410, 422, 434, 447,
    459, 471, 483, 495, 507, 520, 532, 544, 556, 568, 580, 592, 605, 617, 629, 641, 653, 665, 678, 690, 702, 714,
    726, 738, 751, 763, 775, 787, 799, 811, 823, 836, 848, 860, 872, 884, 896, 909, 921, 933, 945, 957};

// What the window of the first move's second try is wider than the aspiration step.
constexpr std::int32_t FAIL_HIGH_ROOM = 100;

// Half the window of each line of the MultiPV pass.
constexpr std::int32_t MULTI_PV_STEP = 40;

// Beyond any score: an open side of a window.
constexpr std::int32_t OPEN_BOUND = MATE_SCORE + 1;

// Below this the currmove and statistics lines would only flicker.
constexpr std::uint64_t CURRMOVE_NODES = 200000;

/// A root move that stands on the board, as its children have to know it.
struct RootChild {
    std::int32_t depth;   // quarter plies
    std::int32_t safety;  // MoveSafetyVerdict
};

RootChild EnterRootMove(int index, std::int32_t alpha) {
    MoveEntry& entry = MoveList[index];
    Ply = 0;
    const std::int32_t extension = AnnotateMove(true, false, Iteration * 4, false, entry.Move, entry.Score, true,
                                                alpha - PlyState[0].StaticEval, entry.Safety);
    const RootChild child{Iteration * 4 + extension + 6, entry.Safety};
    Ply = 1;
    MakeMove(entry.Move, 1);
    PlyState[1].InCheck = RootGivesCheck[index];
    return child;
}

void LeaveRootMove() {
    UnmakeMove();
    Ply = 0;
}

bool Aborted() {
    return thread_board.SearchAborted != 0;
}

/// The root's view of a child searched with the root's window.
std::int32_t SearchRootChild(std::int32_t alpha, std::int32_t beta, const RootChild& child) {
    return -RootChildSearch(-beta, -alpha, child.depth, child.safety);
}

void SetRootScore(std::int32_t score, int bound) {
    RootScores[0] = score;
    RefreshLazyWindow(score);
    ReportRoot(bound);
}

/// The head of the list has failed high with RootScores[0]: settles its score by up to two wider searches.
void ResolveFailHigh(std::int32_t step, const RootChild& child) {
    const std::int32_t low = RootScores[0];
    const std::int32_t high = low + step;
    std::int32_t score = SearchRootChild(low, std::min(high, MATE_SCORE), child);
    if (Aborted()) {
        return;
    }
    if (high < MATE_SCORE && score >= high) {
        SetRootScore(score, 2);
        score = SearchRootChild(score, MATE_SCORE, child);
        if (Aborted()) {
            return;
        }
    }
    SetRootScore(score, 3);
}

/// The first move of a pass, inside the aspiration window. After a fail low the failed score is the upper bound.
void SearchFirstMove(AspirationWindow& window, const RootChild& child) {
    const std::int32_t score = RootScores[0];
    const std::int32_t above = window.step == window.first ? score + window.step : score;
    const std::int32_t low = std::max(score - window.step, -MATE_SCORE);
    const std::int32_t high = std::min(above, MATE_SCORE);
    const std::int32_t result = SearchRootChild(low, high, child);
    if (Aborted()) {
        return;
    }
    if (result >= high) {
        window.failed_low = false;
        SetRootScore(result, 2);
        ResolveFailHigh(window.first + FAIL_HIGH_ROOM, child);
    } else if (result <= low) {
        window.failed_low = true;
        window.step *= 2;
        SetRootScore(result, 1);
    } else {
        SetRootScore(result, 3);
    }
}

/// A later move of a pass: a zero-window test, and the head of the list if it passes.
void SearchLaterMove(int index, AspirationWindow& window, const RootChild& child) {
    const std::int32_t best = RootScores[0];
    const std::int32_t score = SearchRootChild(best, best + 1, child);
    if (Aborted()) {
        return;
    }
    RootScores[index] = score;
    if (score <= best) {
        if (index == RootMoveCount - 1 && UciMode != 0) {
            ReportNps();
        }
        return;
    }
    MoveRootEntry(index, 0);
    SetRootScore(score, 2);
    window.failed_low = false;
    window.step = window.first = AspirationStep(Iteration, score);
    ResolveFailHigh(window.step, child);
}

/// The score of line `index`, one of the first MultiPV: its own small window, one open search if it falls outside.
std::int32_t SearchLine(int index, const RootChild& child) {
    const std::int32_t low = RootScores[index] - MULTI_PV_STEP;
    const std::int32_t high = RootScores[index] + MULTI_PV_STEP;
    const std::int32_t score = SearchRootChild(low, high, child);
    if (Aborted()) {
        return 0;
    }
    if (score >= high) {
        ReportMultiPv(index, 2);
        return SearchRootChild(score, OPEN_BOUND, child);
    }
    if (score <= low) {
        ReportMultiPv(index, 1);
        return SearchRootChild(-OPEN_BOUND, score, child);
    }
    return score;
}

/// The score of a move behind the lines: tested against the worst of them.
std::int32_t SearchBehindLines(int index, std::int32_t worst, const RootChild& child) {
    const std::int32_t score = SearchRootChild(worst, worst + 1, child);
    if (Aborted() || score <= worst) {
        return score;
    }
    ReportMultiPv(index, 2);
    return SearchRootChild(score, OPEN_BOUND, child);
}

void SwapRootEntries(int a, int b) {
    std::swap(MoveList[a], MoveList[b]);
    std::swap(RootScores[a], RootScores[b]);
    std::swap(RootGivesCheck[a], RootGivesCheck[b]);
}

}  // namespace

std::int32_t RootChildSearch(std::int32_t alpha, std::int32_t beta, std::int32_t depth, std::int32_t safety) {
    const int place = beta <= alpha + 1 && depth >= 20 ? RootMoveIndex : 0;

    // A mate limit leaves a window one point wide around the score of that mate.
    if (MateDepth > 0) {
        const std::int32_t mated = 2 * std::min(MateDepth, MATE_SCORE / 2) - MATE_SCORE;
        alpha = std::max(alpha, mated);
        beta = std::min(beta, mated + 1);
    } else {
        alpha = std::max(alpha, -OPEN_BOUND);
        beta = std::min(beta, OPEN_BOUND);
    }
    if (alpha >= beta) {
        return alpha;
    }

    const bool zeroWindow = beta == alpha + 1;
    if (depth < 4) {
        return Quiescence(alpha, beta, 0, zeroWindow ? -1 : 0);
    }
    if (!zeroWindow) {
        return Search(alpha, beta, depth, 1, 0);
    }

    // A late root move that is plain, or interesting but unsafe, is dismissed when the child stands well above the
    // window even at reduced depth.
    const std::uint32_t flags = PlyState[0].MoveFlags;
    if (place != 0 && flags <= FLAG_CREATES_THREAT && (flags == 0 || safety == LOSING)) {
        const std::int32_t margin = ScoutMargin[std::min(depth / 4, 15)] + ScoutIndexMargin[std::min(place, 7)];
        const std::int32_t reduced = depth - depth / 6 / 4 * 4 - 12;
        const std::int32_t score = reduced < 4 ? Quiescence(alpha + margin, beta + margin, 0, -1)
                                               : Search(alpha + margin, beta + margin, reduced, 1, -1);
        if (Aborted()) {
            return 0;
        }
        if (score >= beta + margin) {
            return score;
        }
    }
    return Search(alpha, beta, depth, 1, -1);
}

void MoveRootEntry(int from, int to) {
    std::rotate(MoveList + to, MoveList + from, MoveList + from + 1);
    std::rotate(RootScores + to, RootScores + from, RootScores + from + 1);
    std::rotate(RootGivesCheck + to, RootGivesCheck + from, RootGivesCheck + from + 1);
}

void SortRootEntries(int first) {
    for (int place = first; place < RootMoveCount; ++place) {
        for (int later = place + 1; later < RootMoveCount; ++later) {
            if (RootScores[later] > RootScores[place]) {
                SwapRootEntries(place, later);
            }
        }
    }
}

void RefreshLazyWindow(std::int32_t score) {
    const std::int32_t balance = thread_board.Material[EngineSide] - thread_board.Material[ChangeSide(EngineSide)];
    const std::int32_t tilt = std::clamp(score / 5, -150, 150);
    const std::int32_t width = 200 + 5 * Iteration;
    LazyLow = std::min(score, balance) + tilt - width;
    LazyHigh = std::max(score, balance) + tilt + width;
}

std::int32_t AspirationStep(std::int32_t iteration, std::int32_t score) {
    return AspirationBase[std::min(iteration, 31)] * 16 * AspirationScale[std::min(std::abs(score) / 10, 63)] / 65536;
}

void SearchRootPass(AspirationWindow& window) {
    RootMoveIndex = 0;
    RefreshLazyWindow(RootScores[0]);
    window.failed_low = false;
    FirstMoveDone = 0;
    if (UciMode != 0 && Nodes > CURRMOVE_NODES) {
        ReportUci(false, 3, false);
    }
    for (int i = 0; i < RootMoveCount; ++i) {
        const RootChild child = EnterRootMove(i, RootScores[0]);
        if (i == 0) {
            SearchFirstMove(window, child);
        } else {
            SearchLaterMove(i, window, child);
        }
        LeaveRootMove();
        if (Aborted()) {
            return;
        }
        if (i == 0 && RootMoveCount >= 3) {
            SortRootEntries(1);
        }
        RootMoveIndex = i + 1;
        FirstMoveDone = 1;
    }
}

void SearchRootPassMultiPv() {
    RefreshLazyWindow(RootScores[0]);
    RootMoveIndex = 0;
    std::int32_t worst = OPEN_BOUND;  // of the lines searched so far
    for (int i = 0; i < RootMoveCount; ++i) {
        FirstMoveDone = 0;
        const RootChild child = EnterRootMove(i, RootScores[i] - MULTI_PV_STEP);
        const std::int32_t score = i < MultiPV ? SearchLine(i, child) : SearchBehindLines(i, worst, child);
        LeaveRootMove();
        if (Aborted()) {
            return;
        }
        RootScores[i] = score;
        if (i < MultiPV) {
            worst = std::min(worst, score);
        }
        for (int place = i; place > 0 && RootScores[place - 1] < RootScores[place]; --place) {
            SwapRootEntries(place - 1, place);
        }
        ReportMultiPv(i, 3);
        RootMoveIndex = i + 1;
    }
}
