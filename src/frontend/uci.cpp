#include "frontend/uci.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "book/book.h"
#include "frontend/game.h"
#include "frontend/interpreter.h"
#include "frontend/startup.h"
#include "frontend/tokens.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/move_text.h"
#include "position/settings.h"
#include "search/front_end.h"
#include "search/think.h"
#include "search/transposition.h"

namespace {

constexpr std::int32_t MAX_MULTI_PV = 1024;

/// The evaluation reads no rate beyond this, though the setting is shown as given: its products stay in 32 bits and
/// its scores far from those of mates.
constexpr std::int32_t MAX_STYLE_RATE = 1000;

std::int32_t StyleRate(std::int32_t percent) {
    return std::clamp(percent / 2, -MAX_STYLE_RATE, MAX_STYLE_RATE);
}

void SetStyle(std::int32_t& shown, std::int32_t& rate) {
    shown = TextToInteger(Tokens[4]);
    rate = StyleRate(shown);
}

void SetAggressivity() {
    SetStyle(Aggressivity, AggressivityRate);
}

void SetDefensivity() {
    SetStyle(Cowardice, CowardiceRate);
}

void SetMultiPV() {
    MultiPV = std::clamp(TextToInteger(Tokens[4]), 1, MAX_MULTI_PV);
}

void SetHash() {
    ResizeTransposition(TextToInteger(Tokens[4]));
}

void SetPawnHash() {
    ResizePawnHash(TextToInteger(Tokens[4]));
}

void SetOwnBook() {
    if (CommandIs("false", Tokens[4])) {
        OwnBook = 0;
    } else if (CommandIs("true", Tokens[4])) {
        OwnBook = 1;
    }
}

// A path is taken from the line, because it may hold blanks. Those at its end are a carriage return's or nobody's.
std::string PathValue() {
    const std::string_view text = TextFromToken(CommandLine.View(), 4);
    return std::string(text.substr(0, text.find_last_not_of(' ') + 1));
}

void SetSyzygyPath() {
    if (UseEGTB != 0) {
        EGTBPath = PathValue();
        ListTablebases();
    }
}

void SetOpeningsBook() {
    OpenBook(PathValue());
}

struct Option {
    std::string_view name;
    std::string_view third_token;
    void (*set)();
};

constexpr Option options[] = {
    {"Aggressivity", "value", SetAggressivity}, {"Defensivity", "value", SetDefensivity},
    {"MultiPV", "value", SetMultiPV},           {"Hash", "value", SetHash},
    {"PawnHash", "value", SetPawnHash},         {"Clear", "Hash", ClearTransposition},
    {"OwnBook", "value", SetOwnBook},           {"SyzygyPath", "value", SetSyzygyPath},
    {"OpeningsBook", "value", SetOpeningsBook},
};

// The arguments of `go` that take a value. Those of a clock count only for the side to move.
void SetClock(Colour side, std::string_view value) {
    if (thread_board.SideToMove == side) {
        // An overdrawn clock counts as empty: below 0 it could read as NO_CLOCK.
        TimeLeft = std::max(TextToInteger(value), 0) / 10;
    }
}

void SetIncrement(Colour side, std::string_view value) {
    if (thread_board.SideToMove == side) {
        TimeIncrement = TextToInteger(value) / 10;
    }
}

void SetMoveTimeOfGo(std::string_view value) {
    MoveTime = TextToInteger(value) / 10;
    if (ObeyEachGo != 0) {
        MoveTime = std::max(MoveTime, 1);  // 0 would be no limit
    }
}

struct GoArgument {
    std::string_view name;
    void (*set)(std::string_view value);
};

constexpr GoArgument go_arguments[] = {
    {"wtime", [](std::string_view value) { SetClock(WHITE, value); }},
    {"btime", [](std::string_view value) { SetClock(BLACK, value); }},
    {"winc", [](std::string_view value) { SetIncrement(WHITE, value); }},
    {"binc", [](std::string_view value) { SetIncrement(BLACK, value); }},
    {"movestogo", [](std::string_view value) { MovesPerPeriod = TextToInteger(value); }},
    {"depth", [](std::string_view value) { MaxDepth = TextToInteger(value); }},
    {"nodes", [](std::string_view value) { NodeLimit = TextToInteger64(value); }},
    {"movetime", SetMoveTimeOfGo},
    {"mate", [](std::string_view value) { MateDepth = TextToInteger(value); }},
};

// Moves behind `searchmoves`, as far as there is room for them.
void ReadSearchMoves(std::string_view rest) {
    while (!rest.empty() && SearchMoveCount < MAX_SEARCH_MOVES) {
        const std::string_view token = TakeToken(rest, " ");
        if (IsMoveText(token)) {
            SearchMoves[SearchMoveCount++] = MoveFromText(token);
        }
    }
}

void ReadGoArguments() {
    for (int i = 1; i < TokenCount; ++i) {
        const std::string_view token = Tokens[i];
        const auto argument =
            std::ranges::find_if(go_arguments, [token](const GoArgument& each) { return CommandIs(each.name, token); });
        if (argument != std::end(go_arguments)) {
            // As the last token it reads the empty one, which counts as 0.
            ++i;
            argument->set(i < TokenCount ? Tokens[i] : std::string_view{});
        } else if (CommandIs("infinite", token)) {
            TimeLeft = INFINITE_TIME;
        } else if (CommandIs("ponder", token)) {
            UciPonder = 1;
        } else if (CommandIs("searchmoves", token)) {
            ReadSearchMoves(TextFromToken(CommandLine.View(), i + 1));
            return;
        }
    }
}

// What holds before and after the arguments of a go that stands alone. A move time without a clock is a clock with
// just that much left.
void ForgetLastGo() {
    TimeLeft = NO_CLOCK;
    MateDepth = 0;
}

void CompleteGo(std::int32_t timeLeftBefore) {
    if (MoveTime != 0 && TimeLeft == NO_CLOCK) {
        TimeLeft = MoveTime;
    }
    ClockedDepth = TimeLeft != NO_CLOCK ? MaxDepth : NO_DEPTH_LIMIT;
    TimeLeftAfterInfinite = timeLeftBefore;
}

void ReadLimits() {
    const std::int32_t timeLeftBefore = TimeLeft;
    if (ObeyEachGo != 0) {
        ForgetLastGo();
    }
    MovesPerPeriod = 0;
    MoveTime = 0;
    TimeIncrement = 0;
    NodeLimit = 0;
    MaxDepth = NO_DEPTH_LIMIT;
    ReadGoArguments();
    if (ObeyEachGo != 0) {
        CompleteGo(timeLeftBefore);
    }
}

void SetupSentPosition() {
    const std::string_view line = CommandLine.View();
    if (CommandIs("startpos", Tokens[1])) {
        SetupStartPosition();
    } else if (CommandIs("fen", Tokens[1])) {
        const std::size_t text = line.find(Tokens[1].substr(0, 3)) + 4;
        SetupPosition(line.substr(std::min(text, line.size())));
    }
}

// A game may have more moves than Tokens holds, so the line itself is walked.
void PlaySentMoves() {
    std::string_view rest = TextFromToken(CommandLine.View(), 2);
    while (!rest.empty() && !CommandIs("moves", TakeToken(rest, " "))) {
    }
    while (!rest.empty()) {
        const std::string_view token = TakeToken(rest, " ");
        if (IsMoveText(token)) {
            const Move move = MoveFromText(token);
            if (IsPlayableMove(move)) {
                PlayMove(move);
            }
        }
    }
}

void PrintBestMove(Move best, Move ponder) {
    char text[MOVE_BUFFER];
    std::printf("bestmove %s", MoveToText(text, best));
    if (ponder != 0) {
        std::printf(" ponder %s", MoveToText(text, ponder));
    }
    std::puts("");
    std::fflush(stdout);
}

}  // namespace

void Uci() {
    std::puts("id name Quorvanth 1.97");
    std::puts("id author Orvikan");
    std::puts("option name Hash type spin min 0 max 1024 default 10");
    std::puts("option name PawnHash type spin min 0 max 1024 default 7");
    std::puts("option name SyzygyPath type string default c:\\tablebases\\");
    std::puts("option name OpeningsBook type string default .\\book.qvn");
    std::puts("option name OwnBook type check default true");
    std::puts("option name MultiPV type spin min 1 max 1024 default 1");
    std::printf("option name Aggressivity type spin min 0 max 300 default %d\n", Aggressivity);
    std::printf("option name Defensivity type spin min 0 max 300 default %d\n", Cowardice);
    std::puts("option name Clear Hash type button");
    std::puts("uciok");
    std::fflush(stdout);
    UciMode = 1;
    PonderOn = 0;
}

void UciNewGame() {
    PendingBestMove = 0;
    LearnAbandonedGame();
    ForgetGame();
}

void UciSetOption() {
    if (!CommandIs("name", Tokens[1])) {
        return;
    }
    for (const Option& option : options) {
        if (CommandIs(option.name, Tokens[2])) {
            if (CommandIs(option.third_token, Tokens[3])) {
                option.set();
            }
            return;
        }
    }
}

void UciIsReady() {
    std::puts("readyok");
    std::fflush(stdout);
}

void UciPosition() {
    if (TokenCount < 2) {
        return;
    }
    PendingBestMove = 0;
    SetupSentPosition();
    if (TokenCount >= 4) {
        PlaySentMoves();
    }
}

void UciGo() {
    ForceMode = 0;
    UciPonder = 0;
    SearchMoveCount = 0;
    // A blank at the end of the line, as a carriage return leaves one, is no argument.
    if (TokenCount >= 2 && !Tokens[1].empty()) {
        ReadLimits();
    }
    Think();
}

void UciStop() {
    if (PendingBestMove != 0) {
        PrintBestMove(PendingBestMove, 0);
    }
}

void UciPonderHit() {
    if (UciPonder == 0) {
        return;
    }
    UciPonder = 0;
    const Move best = MoveList[0].Move;
    // The board or the list may have changed since that search, by commands that have no business in between.
    if (!IsPlayableMove(best)) {
        return;
    }
    PlayMove(best);
    PendingBestMove = best;
    PrintBestMove(best, PonderMove != 0 && IsPlayableMove(PonderMove) ? PonderMove : 0);
}
