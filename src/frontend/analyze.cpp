#include "frontend/analyze.h"

#include <cstdio>

#include "frontend/commands.h"
#include "frontend/game.h"
#include "frontend/input.h"
#include "frontend/tokens.h"
#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "platform/clock.h"
#include "position/board.h"
#include "position/move_text.h"
#include "search/clock.h"
#include "search/front_end.h"
#include "search/think.h"

namespace {

constexpr int ANALYSIS_DEPTH = 100;  // beyond the last iteration that is ever started

/// Whether the loop searches on or is left.
enum class Analysis { GoOn, Leave };

void ClearRequests() {
    thread_board.SearchAborted = 0;
    NewRequested = 0;
    ExitRequested = 0;
    UndoRequested = 0;
    ReceivedMove = 0;
    PonderEnded = 0;
}

void SearchPosition() {
    ClearRequests();
    SearchStart = ClockCentiseconds();
    SetUnlimitedBudget();
    GenerateLegalMoves(INPUT_WINDOW);
    InputWindowEnd = MoveCount;
    MoveCount = 0;
    IterativeDeepening(ANALYSIS_DEPTH, false);
}

void PlayReceivedMove(Move move) {
    if (IsPlayableMove(move)) {
        PlayMove(move);
        return;
    }
    char text[MOVE_BUFFER];
    PrintIllegalMove(MoveToText(text, move));
}

// The search has ended by itself: nothing is left to think about until a line comes. `exit`, `new` and `undo` are
// dropped here with everything else that is unknown; q still ends the process, as it does everywhere.
Analysis ReadOneLine() {
    static LineBuffer buffer;
    if (!ReadLine(true, buffer)) {
        return Analysis::Leave;
    }
    const std::string_view line = buffer.View();
    if (line.starts_with('.')) {
        std::puts("stat01: 0 0 0 0 0");
    } else if (IsMoveText(line)) {
        const Move move = MoveFromText(line);
        if (IsPlayableMove(move)) {
            std::puts("move maked...");
            PlayMove(move);
        } else {
            PrintIllegalMove(line);
        }
    } else if (CommandIs("q", line)) {
        Quit();
    }
    std::fflush(stdout);
    return Analysis::GoOn;
}

Analysis ServeRequests() {
    if (ReceivedMove != 0) {
        PlayReceivedMove(ReceivedMove);
        return Analysis::GoOn;
    }
    if (NewRequested != 0) {
        SetupStartPosition();
        return Analysis::GoOn;
    }
    if (ExitRequested != 0 || InputClosed()) {
        return Analysis::Leave;
    }
    if (UndoRequested != 0 && TakeBackMove()) {
        return Analysis::GoOn;
    }
    return ReadOneLine();
}

}  // namespace

void Analyze() {
    // Moves that an earlier `go searchmoves` named belong to another search.
    SearchMoveCount = 0;
    Analysis next = Analysis::GoOn;
    while (next == Analysis::GoOn) {
        if (!PositionIsPlayable()) {
            std::puts(ILLEGAL_POSITION);
            std::fflush(stdout);
            break;
        }
        SearchPosition();
        next = ServeRequests();
    }
    // What the loop has served must not reach the next search.
    ClearRequests();
}
