#include "frontend/interpreter.h"

#include <cstdio>
#include <string_view>

#include "eval/init.h"
#include "frontend/analyze.h"
#include "frontend/commands.h"
#include "frontend/demo.h"
#include "frontend/edit.h"
#include "frontend/tokens.h"
#include "frontend/uci.h"
#include "position/move_text.h"
#include "tools/diagnostics.h"

LineBuffer CommandLine;

namespace {

/// Stands in the table where a move is looked for; no text is ever compared with it.
constexpr std::string_view A_MOVE = "";

struct Command {
    std::string_view keyword;
    void (*run)();
    bool ends_the_line = true;
};

void Nothing() {}

// The order matters: an abbreviation belongs to the first keyword that it fits.
constexpr Command commands[] = {
    {"pgneval", EvaluatePgn},
    {"q", Quit},
    {"clean", Clean},
    {"reload", InitEvaluation},
    {A_MOVE, MoveTypedIn},
    {"help", Help},
    {"new", NewGame},
    {"post", Post},
    {"reset", Reset},
    {"level", Level},
    {"moves", ShowRootMoves},
    {"edit", EditPosition},
    {"loadfen", LoadFen},
    {"epdevl", EvaluateEpd},
    {"selftest", RunSelfTest},
    {"nopost", NoPost},
    {"perft", CountPerft},
    {"sd", SetDepth},
    {"stop", UciStop},
    {"st", SetMoveTime},
    {"go", UciGo},
    {"ponderhit", UciPonderHit},
    {"white", WhiteToMove},
    {"remove", Remove},
    {"analyze", Analyze},
    {"black", BlackToMove},
    {"force", Force},
    {"brd", PrintBoard},
    {"time", SetTime},
    {"otime", Nothing},
    {"easy", Easy},
    {"hard", Hard},
    {"evl", ShowEvaluation},
    {"undo", Undo},
    {"fritz", Fritz, false},
    {"xboard", Xboard},
    {"mvd", PrintCastlingFlags},
    {"demo", Demo},
    {"bkm", PrintBookMoves},
    {"uci", Uci},
    {"ucinewgame", UciNewGame},
    {"setoption", UciSetOption},
    {"isready", UciIsReady},
    {"egtbstat", PrintTablebaseStatus},
    {"position", UciPosition},
    {"debug", Nothing},
};

bool Matches(const Command& command, std::string_view line) {
    return command.keyword == A_MOVE ? IsMoveText(line) : CommandIs(command.keyword, line);
}

}  // namespace

void Interpret() {
    const std::string_view line = CommandLine.View();
    Tokenize(line, CommandIs("level", line) ? " :" : " ");
    for (const Command& command : commands) {
        if (Matches(command, line)) {
            command.run();
            if (command.ends_the_line) {
                break;
            }
        }
    }
    std::fflush(stdout);
}

void RunCommandLoop() {
    while (ReadLine(true, CommandLine)) {
        Interpret();
    }
    Quit();
}
