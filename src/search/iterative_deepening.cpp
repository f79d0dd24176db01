// The single-PV driver, and what it shares with the MultiPV one.
#include "book/book.h"
#include "eval/evaluation.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/driver.h"
#include "search/front_end.h"
#include "search/root.h"
#include "search/think.h"
#include "search/transposition.h"
#include "tablebase/probe.h"

#include <cstdlib>

namespace {

// Plies whose killers are taken over from two plies deeper.
constexpr int KILLER_PLIES = 192;
static_assert(KILLER_PLIES + 2 <= PLY_RECORDS);

// The first iteration that the clock may keep from starting; sooner when the tablebases have chosen the moves.
constexpr int FIRST_TIMED_ITERATION = 4;
constexpr int FIRST_TIMED_ITERATION_TABLEBASE = 2;

/// A killer found at ply p + 2 serves at ply p after both sides have moved.
void ShiftKillers() {
    for (int ply = 0; ply < KILLER_PLIES; ++ply) {
        for (const Colour colour : {WHITE, BLACK}) {
            PlyState[ply].Killer1[colour] = PlyState[ply + 2].Killer1[colour];
            PlyState[ply].Killer2[colour] = PlyState[ply + 2].Killer2[colour];
        }
    }
}

/// One iteration: passes until the first move's fail low is answered. The root goes into the table afterwards.
void RunIteration() {
    const std::int32_t step = AspirationStep(Iteration, RootScores[0]);
    AspirationWindow window{step, step, false};
    ++Nodes;
    do {
        SearchRootPass(window);
        if (thread_board.SearchAborted != 0) {
            return;
        }
    } while (window.failed_low);
    TTStore(Iteration * 4 + 6, MoveList[0].Move, RootScores[0], BOUND_EXACT, false, 0, RootMoveIndex);
}

/// A mate that a deeper iteration cannot shorten any more. A mate limit searches on.
bool MateIsSettled() {
    return MateDepth == 0 && std::abs(RootScores[0]) > MATE_SCORE + 1 - Iteration;
}

void RunIterations(int maxDepth) {
    const int firstTimed = RootInTablebase != 0 ? FIRST_TIMED_ITERATION_TABLEBASE : FIRST_TIMED_ITERATION;
    for (Iteration = 0;; ++Iteration) {
        SelDepth = Iteration + 1;
        if (Iteration >= ITERATION_END) {
            return;
        }
        if (Iteration >= firstTimed && PollInput(true)) {
            thread_board.SearchAborted = 1;
            return;
        }
        RunIteration();
        if (thread_board.SearchAborted != 0) {
            return;
        }
        if (MateIsSettled() || Iteration + 1 >= maxDepth) {
            return;
        }
    }
}

/// Leaves in the root list only moves that keep the tablebases' result, where the position is theirs. The search then
/// probes no more, unless nothing but win, draw and loss is known and there is no win: it may still find the best try.
/// (It would not help a win along, because every zeroing move that wins has the same score then.) RootScores then hold
/// distances or WDL values, small numbers around which the first window opens as around any guess.
void FilterRootByTablebase() {
    RootInTablebase = 0;
    NoTablebaseProbe = TablebasePieces == 0 ? 1 : 0;
    if (thread_board.TotalPieces > TablebasePieces || thread_board.CastlingFlags != 0) {
        return;
    }
    std::int32_t score = 0;
    bool filtered = RootProbeDtz(score) != 0;
    bool settled = filtered;
    Ply = 0;  // the filters leave it at 1, one that fails half-way as well
    if (!filtered) {
        filtered = RootProbeWdl(score) != 0;
        settled = filtered && score >= 1;
        Ply = 0;
    }
    NoTablebaseProbe = RootInTablebase = settled ? 1 : 0;
    if (filtered) {
        TbHits = static_cast<std::uint64_t>(MoveCount);
    }
}

/// Plays from the book where it has a move. An analysis without end and a search of given moves do not ask it.
bool TakeBookMove() {
    if (OwnBook == 0 || !BookLoaded || SearchMoveCount != 0 || TimeLeft == INFINITE_TIME) {
        return false;
    }
    const Move move = ChooseBookMove();
    if (move == 0) {
        return false;
    }
    if (PonderSearch != 0) {
        PonderEnded = 1;
        ReceivedMove = 0;
    }
    MoveCount = 2;  // not a forced move
    MoveList[0].Move = PromotedToQueen(move);
    RootScores[0] = 0;
    BookMovePlayed = 1;
    Iteration = 1;
    SearchesDone = 0;
    WaitForRelease();
    return true;
}

}  // namespace

void ResetForSearch(int maxDepth) {
    PlyState[0].ThreatMove = 0;
    PendingBestMove = 0;
    ShiftKillers();
    ++TTGeneration;
    HashFullCount = 0;
    TbHits = 0;
    Nodes = 0;
    FirstMoveDone = 0;
    MoveCount = 0;
    BookMovePlayed = 0;
    EngineSide = thread_board.SideToMove;
    RootGamePly = GamePly;
    IterationLimit = maxDepth;
    RestartPollCountdown();
    InfoCountdown = NODES_PER_INFO / PollInterval;
}

int PliesOf(int maxDepth) {
    return maxDepth == TIMED_SEARCH ? ClockedDepth : maxDepth;
}

RootState PrepareRoot() {
    PlyState[0].MoveFlags = 0;
    PlyState[0].CreatedThreat = 0;
    if (PrepareRootMoves() != 0) {
        // While pondering the position is only assumed, and the true move may still come. A search for a hint stands
        // in the game's own position and is over with it.
        if (HintSearch == 0) {
            WaitForRelease();
        }
        return ROOT_OVER;
    }
    FilterRootByTablebase();
    RootMoveCount = MoveCount;
    if (MoveCount < 2 && SearchMoveCount != 1) {
        // Set before the caller waits, because the wait may bring the opponent's true move.
        if (PonderSearch != 0 || UciPonder != 0) {
            PonderEnded = 1;
            ReceivedMove = 0;
        }
        return ROOT_FORCED;
    }
    PlyState[0].StaticEval = Evaluate();
    PlyState[0].AttackMap[WHITE] = thread_eval_info.attacks[WHITE];
    PlyState[0].AttackMap[BLACK] = thread_eval_info.attacks[BLACK];
    return ROOT_OPEN;
}

void WaitForRelease() {
    while ((PonderSearch != 0 || UciPonder != 0) && thread_board.SearchAborted == 0) {
        WaitForInput();
        HandleInput();
        StopIfInputClosed();
    }
}

int IterativeDeepening(int maxDepth, bool useBook) {
    if (MultiPV > 1) {
        return IterativeDeepeningMultiPV(maxDepth);
    }
    ResetForSearch(maxDepth);
    if (useBook && TakeBookMove()) {
        return 0;
    }
    const RootState root = PrepareRoot();
    if (root == ROOT_OVER) {
        return 1;
    }
    const int plies = PliesOf(maxDepth);
    if (root == ROOT_OPEN && plies >= 1) {
        RunIterations(plies);
    }
    WaitForRelease();
    ++SearchesDone;
    return 0;
}
