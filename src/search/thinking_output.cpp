#include "search/thinking_output.h"

#include "movegen/search_records.h"
#include "position/board.h"
#include "position/move_text.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/transposition.h"

#include <cstdio>
#include <cstdlib>

namespace {

// Lines before these node counts would only flicker.
constexpr std::uint32_t UCI_QUIET_NODES = 30001;
constexpr std::uint64_t POST_QUIET_NODES = 100000;
constexpr std::uint64_t MULTI_PV_QUIET_NODES = 50001;
constexpr std::uint64_t NPS_QUIET_NODES = 200000;

// Iterations whose lines are held back.
constexpr std::int32_t QUIET_ITERATIONS = 2;

// What a mate score is raised by in post lines, so that it shows above 32000.
constexpr std::int32_t POST_MATE_OFFSET = 67;

constexpr int PV_MOVES = 20;

// Nodes at the last UCI line, modulo 2^32 and across searches: the distance from there is what counts.
std::uint32_t LastReportNodes;

unsigned long long NodesPerSecond(std::int32_t elapsed) {
    return elapsed >= 1 ? Nodes * 100ULL / static_cast<unsigned long long>(elapsed) : 0;
}

void RestartInfoCountdown() {
    InfoCountdown = NODES_PER_INFO / PollInterval;
}

void PrintUciScore(std::int32_t score) {
    if (score > MATE_BOUND) {
        std::printf("mate %d ", (MATE_SCORE + 1 - score) >> 1);
    } else if (score < -MATE_BOUND) {
        std::printf("mate -%d ", (score + MATE_SCORE + 1) >> 1);
    } else {
        std::printf("cp %d ", score);
    }
}

void PrintUciBound(int bound) {
    if (bound == 1) {
        std::fputs("upperbound ", stdout);
    } else if (bound == 2) {
        std::fputs("lowerbound ", stdout);
    }
}

void PrintUciStatistics() {
    const std::int32_t elapsed = ElapsedCentiseconds();
    std::printf("nodes %llu time %lld hashfull %d nps %llu tbhits %llu", static_cast<unsigned long long>(Nodes),
                elapsed * 10LL, HashFull(), NodesPerSecond(elapsed), static_cast<unsigned long long>(TbHits));
}

/// The score of the best line; under a mate limit only a mate of just that length shows.
std::int32_t ShownScore() {
    const std::int32_t score = RootScores[0];
    return MateDepth == 0 || (MATE_SCORE + 1 - score) >> 1 == MateDepth ? score : 0;
}

/// The root move in work. The head of the list cannot have moved while it is searched; a later one may stand at
/// another place already, but it was the last move made at the root.
Move RootMoveInWork() {
    return RootMoveIndex == 0 ? MoveList[0].Move : GameHistory[RootGamePly].move;
}

void PrintCurrentMove(Move move) {
    char text[MOVE_BUFFER];
    std::printf(" currmove %s currmovenumber %d", MoveToText(text, move), RootMoveIndex + 1);
}

void PrintPostLine() {
    std::int32_t score = RootScores[0];
    if (std::abs(score) > MATE_BOUND) {
        score += score > 0 ? POST_MATE_OFFSET : -POST_MATE_OFFSET;
    }
    std::printf("%d %d %d %llu", Iteration + 1, score, ElapsedCentiseconds(), static_cast<unsigned long long>(Nodes));
    PrintPv(0);
    std::putchar('\n');
    std::fflush(stdout);
}

}  // namespace

void ReportUci(bool force, int bound, bool withPv) {
    const std::uint32_t nodes = static_cast<std::uint32_t>(Nodes);
    if (!force && Nodes != 0 && nodes - LastReportNodes < UCI_QUIET_NODES && Iteration < QUIET_ITERATIONS) {
        return;
    }
    LastReportNodes = nodes;
    std::printf("info depth %d seldepth %d score ", Iteration + 1, SelDepth);
    PrintUciScore(ShownScore());
    PrintUciBound(bound);
    PrintUciStatistics();
    if (withPv) {
        std::fputs(" pv", stdout);
        PrintPv(0);
    } else {
        PrintCurrentMove(RootMoveInWork());
    }
    std::putchar('\n');
    RestartInfoCountdown();
    std::fflush(stdout);
}

void ReportMultiPv(int index, int bound) {
    if (Nodes != 0 && Nodes < MULTI_PV_QUIET_NODES) {
        return;
    }
    const Move current = RootMoveInWork();  // PrintPv overwrites the record that it comes from
    for (int line = 0; line < MultiPV && line < MoveCount; ++line) {
        std::printf("info multipv %d depth %d seldepth %d score ", line + 1, Iteration + 1, SelDepth);
        PrintUciScore(RootScores[line]);
        if (line == index) {
            PrintUciBound(bound);
        }
        PrintUciStatistics();
        PrintCurrentMove(current);
        std::fputs(" pv", stdout);
        PrintPv(line);
        std::putchar('\n');
    }
    RestartInfoCountdown();
    std::fflush(stdout);
}

void ReportNps() {
    if (Nodes == 0 || Nodes > NPS_QUIET_NODES) {
        std::printf("info nps %llu nodes %llu tbhits %llu hashfull %d\n", NodesPerSecond(ElapsedCentiseconds()),
                    static_cast<unsigned long long>(Nodes), static_cast<unsigned long long>(TbHits), HashFull());
        std::fflush(stdout);
    }
    RestartInfoCountdown();
}

void ReportPost(bool force) {
    if (PostThinking == 0) {
        return;
    }
    if (!force && Nodes != 0 && Nodes <= POST_QUIET_NODES && Iteration < QUIET_ITERATIONS) {
        return;
    }
    PrintPostLine();
}

void ReportFinalPost() {
    PrintPostLine();
}

void ReportRoot(int bound) {
    if (UciMode != 0) {
        ReportUci(false, bound, true);
    } else {
        ReportPost(false);
    }
}

void PrintPv(int index) {
    char text[MOVE_BUFFER];
    const Move first = MoveList[index].Move;
    std::printf(" %s", MoveToText(text, first));
    if (first == 0) {
        return;
    }
    const bool rootMoveMade = GamePly > RootGamePly;
    const Move rootMove = rootMoveMade ? GameHistory[RootGamePly].move : 0;
    if (rootMoveMade) {
        UnmakeMove();
    }
    MakeMove(first, 1);
    int made = 1;
    while (made < PV_MOVES) {
        const Move move = HashMoveOf();
        if (move == 0) {
            break;
        }
        if (made == 1) {
            PonderMove = move;
        }
        MakeMove(move, 1);
        std::printf(" %s", MoveToText(text, move));
        ++made;
    }
    while (made-- > 0) {
        UnmakeMove();
    }
    if (rootMoveMade) {
        MakeMove(rootMove, 1);
    }
}
