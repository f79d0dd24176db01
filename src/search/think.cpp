#include "search/think.h"

#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "platform/clock.h"
#include "position/board.h"
#include "position/move_text.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/front_end.h"
#include "search/root.h"
#include "search/thinking_output.h"
#include "search/transposition.h"

#include <cstdio>

namespace {

void MakeGameMove(Move move) {
    MakeRoomInHistory();
    MakeMove(move, 1);
}

void StartClock() {
    SearchStart = ClockCentiseconds();
    thread_board.SearchAborted = 0;
    ReceivedMove = 0;
}

/// After an infinite search that stands alone the clock is what it was before. A time that came in meanwhile stays.
void RestoreClock() {
    if (TimeLeft == INFINITE_TIME) {
        TimeLeft = TimeLeftAfterInfinite;
    }
    TimeLeftAfterInfinite = INFINITE_TIME;
}

/// The driver's answer: 1 when the game is over.
int RunSearch() {
    StartClock();
    if (TimeLeft != NO_CLOCK) {
        ComputeBudget();
        return IterativeDeepening(TIMED_SEARCH, true);
    }
    SetUnlimitedBudget();
    return IterativeDeepening(MaxDepth, true);
}

void ReportFinal() {
    if (BookMovePlayed != 0) {
        return;
    }
    if (UciMode == 0) {
        ReportFinalPost();
    } else if (MultiPV < 2) {
        ReportUci(true, 3, true);
    }
}

/// After pondering, with the assumed move taken back: makes the move that the opponent has played instead. True
/// when the engine has to answer it.
bool PlayReceivedMove() {
    PonderSearch = 0;
    if (ReceivedMove == 0) {
        return false;
    }
    MakeGameMove(ReceivedMove);
    return ForceMode == 0;
}

/// Lists the opponent's legal moves where HandleInput looks an incoming move up.
void ListOpponentMoves() {
    GenerateLegalMoves(INPUT_WINDOW);
    InputWindowEnd = MoveCount;
    MoveCount = 0;
}

/// A second's search for the move to assume. Its lines would be those of the other side, so they are not shown.
/// True when the second ended it; the move then stands at MoveList[0].
bool SearchForHint() {
    HintSearch = 1;
    HintMove = 0;
    const std::int32_t postThinking = PostThinking;
    PostThinking = 0;
    StartClock();
    const int over = IterativeDeepening(TIMED_SEARCH, true);
    PostThinking = postThinking;
    const bool endedByClock = HintSearch == 0 && over == 0 && PonderEnded == 0;
    HintSearch = 0;
    return endedByClock;
}

/// Assumes a reply of the opponent and makes it, so that the next search runs on the opponent's time. When the true
/// move arrives before one is found, that is made. False when there is nothing to think about.
bool StartPondering() {
    if (InputClosed()) {
        return false;  // no move can arrive
    }
    ListOpponentMoves();
    PonderSearch = 1;
    PonderEnded = 0;
    HintMove = HashMoveOf();
    if (!IsLegalMove(HintMove)) {
        if (!SearchForHint()) {
            return PlayReceivedMove();
        }
        HintMove = MoveList[0].Move;
    }
    char text[MOVE_BUFFER];
    std::printf("Hint: %s\n", MoveToPlainText(text, HintMove));
    std::fflush(stdout);
    MakeGameMove(HintMove);
    return true;
}

/// What the head of the search has kept back, because the position was only assumed then.
void AnnounceAfterPonderHit(bool over) {
    AnnounceDraws();
    if (over) {
        AnnounceNoMoves(PlyState[0].InCheck != 0);
    }
}

/// Search and delivery, and in xboard play pondering and the next search, until nothing is left to do.
void RunThinkingCycle() {
    InputWindowEnd = INPUT_WINDOW;  // no move can come in before pondering begins
    for (;;) {
        const bool assumed = PonderSearch != 0;
        const int over = RunSearch();
        RestoreClock();
        if (assumed && PonderSearch == 0 && BookMovePlayed == 0) {
            AnnounceAfterPonderHit(over != 0);
        }
        if (PonderSearch != 0) {
            // The assumed move goes whatever ended the pondering: no command leaves a move on the board that was
            // never played.
            UnmakeMove();
            if (PonderEnded == 0 || !PlayReceivedMove()) {
                return;
            }
            continue;
        }
        if (over != 0) {
            if (SearchMoveCount != 0 && HasLegalMove()) {
                RefuseSearchMoves();
            }
            return;
        }
        PrevRootScore = RootScores[0];
        PrevRootSide = EngineSide;
        ReportFinal();
        if (!DeliverMove() || PonderOn == 0 || !StartPondering()) {
            return;
        }
    }
}

}  // namespace

void Think() {
    NewRequested = 0;
    ExitRequested = 0;
    UndoRequested = 0;
    PonderMove = 0;
    HintSearch = 0;
    PonderSearch = 0;
    if (PositionIsPlayable()) {
        RunThinkingCycle();
    } else {
        RestoreClock();
        RefusePosition();
    }
    PonderSearch = 0;
    if (NewRequested != 0) {
        NewRequested = 0;
        SetupStartPosition();
    }
}
