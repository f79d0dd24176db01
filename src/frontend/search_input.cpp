// Commands that arrive while the engine thinks, ponders or analyses: HandleInput of search/front_end.h.
//
// It runs on the search's own stack and the search may go on after it, so it never touches the board or the moves
// that the search stands on. A command that needs them ends the search and leaves a request behind.

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "frontend/commands.h"
#include "frontend/input.h"
#include "frontend/tokens.h"
#include "frontend/uci.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/move_text.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/front_end.h"

namespace {

LineBuffer SearchLine;

/// What a command asks of the loop that took its line.
enum class Then { TakeNextLine, Return };

constexpr std::size_t TIME_TEXT = 5;  // "time " goes before the number
constexpr Move FROM_TO_PROMOTION = 0x1c0fff;

Then AbortSearch() {
    thread_board.SearchAborted = 1;
    return Then::Return;
}

// A ponder search ends without a move received: the assumed move is taken back and the prompt returns.
void AbandonPondering() {
    if (PonderSearch != 0) {
        ReceivedMove = 0;
        PonderEnded = 1;
    }
}

Then StopSearch(std::string_view) {
    AbandonPondering();
    UciPonder = 0;
    return AbortSearch();
}

Then AnswerReady(std::string_view) {
    UciIsReady();
    return Then::TakeNextLine;
}

Then TurnPonderIntoSearch(std::string_view) {
    UciPonder = 0;
    return Then::TakeNextLine;
}

Then RequestUndo(std::string_view) {
    UndoRequested = 1;
    return AbortSearch();
}

Then RequestExit(std::string_view) {
    ExitRequested = 1;
    return AbortSearch();
}

Then RequestNew(std::string_view) {
    AbandonPondering();
    NewRequested = 1;
    return AbortSearch();
}

Then EndSearch(std::string_view) {
    AbandonPondering();
    return AbortSearch();
}

Then SwitchPost(std::string_view) {
    PostThinking = 1;
    return EndSearch({});
}

Then SwitchNoPost(std::string_view) {
    PostThinking = 0;
    return EndSearch({});
}

Then EndProcess(std::string_view) {
    Quit();
}

Then SwitchForce(std::string_view) {
    ForceMode = 1;
    return EndSearch({});
}

Then SwitchHard(std::string_view) {
    Hard();
    return EndSearch({});
}

Then SwitchEasy(std::string_view) {
    Easy();
    return EndSearch({});
}

Then ReceiveTime(std::string_view line) {
    TimeLeft = TextToInteger(line.substr(std::min(TIME_TEXT, line.size())));
    return PonderSearch != 0 ? Then::TakeNextLine : AbortSearch();
}

Then Ignore(std::string_view) {
    return Then::TakeNextLine;
}

// The answer to the dot of the xboard analysis protocol.
Then PrintStatus(std::string_view) {
    const Move in_work = GamePly > RootGamePly ? GameHistory[RootGamePly].move : 0;
    char text[MOVE_BUFFER];
    std::printf("stat01: %d %llu %d %d %d %s\n", ElapsedCentiseconds(), static_cast<unsigned long long>(Nodes),
                Iteration + 1, RootMoveCount - RootMoveIndex, RootMoveCount + 1, MoveToText(text, in_work));
    std::fflush(stdout);
    return Then::Return;
}

// The legal move with the squares and the promotion of `line`; 0 if there is none. The board is in the middle of the
// search, so only the list made before it can tell.
Move FindExpectedMove(std::string_view line) {
    // A fifth character below 'a' is the blank before something else.
    const bool promotes = line.size() > 4 && line[4] >= 'a';
    const Move wanted = MoveFromText(line.substr(0, promotes ? 5 : 4)) & FROM_TO_PROMOTION;
    for (std::int32_t i = INPUT_WINDOW; i < InputWindowEnd; ++i) {
        if ((MoveList[i].Move & FROM_TO_PROMOTION) == wanted) {
            return MoveList[i].Move;
        }
    }
    return 0;
}

Then ReceiveMove(std::string_view line) {
    ReceivedMove = FindExpectedMove(line);
    if (ReceivedMove == 0) {
        PrintIllegalMove(line);
        PonderEnded = 1;
        return AbortSearch();
    }
    if (PonderSearch == 0) {
        return AbortSearch();
    }
    if (ReceivedMove != HintMove) {
        PonderEnded = 1;
        return AbortSearch();
    }
    // The opponent has played the move assumed: the search goes on as the engine's own.
    PonderSearch = 0;
    return Then::Return;
}

// The three tests that are no keywords look at the line's first characters.
bool IsStop(std::string_view line) {
    return line.starts_with('?') || CommandIs("stop", line);
}
bool IsDot(std::string_view line) {
    return line.starts_with('.');
}
bool IsQuit(std::string_view line) {
    return line.starts_with('q') || line.starts_with('Q');
}

struct SearchCommand {
    std::string_view keyword;
    bool (*matches)(std::string_view line);  // in place of the keyword, where there is one
    Then (*run)(std::string_view line);
};

// The order matters, as in the interpreter's table.
constexpr SearchCommand search_commands[] = {
    {"", IsStop, StopSearch},          {"", IsDot, PrintStatus},
    {"isready", nullptr, AnswerReady}, {"ponderhit", nullptr, TurnPonderIntoSearch},
    {"undo", nullptr, RequestUndo},    {"exit", nullptr, RequestExit},
    {"new", nullptr, RequestNew},      {"result", nullptr, EndSearch},
    {"post", nullptr, SwitchPost},     {"nopost", nullptr, SwitchNoPost},
    {"", IsQuit, EndProcess},          {"force", nullptr, SwitchForce},
    {"hard", nullptr, SwitchHard},     {"easy", nullptr, SwitchEasy},
    {"time", nullptr, ReceiveTime},    {"otim", nullptr, Ignore},
    {"", IsMoveText, ReceiveMove},
};

Then HandleLine(std::string_view line) {
    for (const SearchCommand& command : search_commands) {
        if (command.matches != nullptr ? command.matches(line) : CommandIs(command.keyword, line)) {
            return command.run(line);
        }
    }
    return Then::TakeNextLine;
}

}  // namespace

void HandleInput() {
    while (ReadLine(false, SearchLine)) {
        if (HandleLine(SearchLine.View()) == Then::Return) {
            return;
        }
    }
}
