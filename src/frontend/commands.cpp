#include "frontend/commands.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "book/book.h"
#include "frontend/game.h"
#include "frontend/input.h"
#include "frontend/interpreter.h"
#include "frontend/tokens.h"
#include "movegen/search_records.h"
#include "platform/process.h"
#include "position/board.h"
#include "position/move_text.h"
#include "position/settings.h"
#include "search/front_end.h"
#include "search/think.h"
#include "tools/epd_evaluation.h"
#include "tools/perft.h"
#include "tools/pgn_eval.h"
#include "tools/self_test.h"

namespace {

constexpr const char* help_page_one[] = {
    "Quorvanth commands:\n------------------------------------------------------------------------------\n",
    "analyze ................... Enters analyze mode",
    "black ..................... Sets black to move and engine side to white",
    "brd ....................... Prints a board",
    "bkm ....................... Prints book moves for current position",
    "easy ...................... Toggles pondering off",
    "edit ...................... Edit board position",
    "egtbstat .................. Displays current EGTB status",
    "epdevl <f> ................ Produces static evaluations for EPD-file <f>",
    "evl ....................... Shows static evaluation for current position",
    "force ..................... Toggles autoplay off",
    "go ........................ Starts search",
    "hard ...................... Toggles pondering on",
    "help ...................... Displays this help",
    "level <m> <t> <i> ......... Sets ICS time controls",
    "loadfen <e> ............... Sets FEN-position <e>",
    "moves ..................... Displays all legal moves with ranking priorities",
    "mvd ....................... Shows position flags",
    "new ....................... Starts a new game",
    "nopost .................... Toggles silent mode on",
};

constexpr const char* help_page_two[] = {
    "perft <d> ................. Tests the move generator/make_move with depth <d>",
    "post ...................... Toggles silent mode off",
    "q[uit] .................... Exits Quorvanth",
    "remove .................... Un-makes last moves of each side",
    "sd <d> .................... Sets max search depth to <d>",
    "st <t> .................... Sets max search time to <t>",
    "time <t> .................. Sets remaining game time in milliseconds to <t>",
    "uci ....................... UCI mode",
    "undo ...................... Un-makes last move of one side",
    "white ..................... Sets white to move and engine side to black\n",
};

constexpr std::size_t LOADFEN_TEXT = 8;  // "loadfen " goes before the position

std::int32_t CentisecondsOf(std::string_view seconds) {
    return SaturatingProduct(TextToInteger(seconds), 100);
}

bool BothKingsStand() {
    return PopCount(thread_board.Pieces[KING][WHITE]) == 1 && PopCount(thread_board.Pieces[KING][BLACK]) == 1;
}

}  // namespace

void Quit() {
    ExitEngine(0);
}

void Clean() {
    CleanTables();
}

void Help() {
    static LineBuffer pause;
    for (const char* line : help_page_one) {
        std::puts(line);
    }
    std::fputs("\nPress <enter> to continue....", stdout);
    std::fflush(stdout);
    ReadLine(true, pause);
    std::puts("");
    for (const char* line : help_page_two) {
        std::puts(line);
    }
}

void PrintIllegalMove(std::string_view line) {
    std::printf("Illegal move: %.*s\n", static_cast<int>(line.size()), line.data());
    std::fflush(stdout);
}

void MoveTypedIn() {
    const std::string_view line = CommandLine.View();
    const Move move = MoveFromText(line);
    if (!IsPlayableMove(move)) {
        PrintIllegalMove(line);
        return;
    }
    PlayMove(move);
    if (ForceMode == 0) {
        UciPonder = 0;
        SearchMoveCount = 0;
        Think();
    }
}

void NewGame() {
    SetupStartPosition();
}

void Reset() {
    if (RootScores[0] == 0) {
        LearnAbandonedGame();
    }
    ForgetGame();
}

void LoadFen() {
    const std::string_view line = CommandLine.View();
    SetupPosition(line.substr(std::min(LOADFEN_TEXT, line.size())));
}

void WhiteToMove() {
    thread_board.SideToMove = WHITE;
}

void BlackToMove() {
    thread_board.SideToMove = BLACK;
}

void Remove() {
    TakeBackMove();
    TakeBackMove();
}

void Undo() {
    TakeBackMove();
}

void Post() {
    PostThinking = 1;
}

void NoPost() {
    PostThinking = 0;
}

void Easy() {
    PonderOn = 0;
}

void Hard() {
    if (Pondering != 0) {
        PonderOn = 1;
    }
}

void Force() {
    ForceMode = 1;
}

void Fritz() {
    FritzMode = 1;
}

void Xboard() {
    NodeLimit = 0;
    MaxDepth = NO_DEPTH_LIMIT;
    ClockedDepth = NO_DEPTH_LIMIT;
    MovesPerPeriod = 0;
    MoveTime = 0;
    MateDepth = 0;
    UciMode = 0;
    PonderOn = Pondering;
    IgnoreInterrupts();
}

// The base time is not kept: the clock comes with `time` before each move. Minutes written as 5:30 make two tokens.
void Level() {
    if (TokenCount >= 2) {
        MovesPerPeriod = TextToInteger(Tokens[1]);
    }
    if (TokenCount >= 5) {
        TimeIncrement = CentisecondsOf(Tokens[4]);
    } else if (TokenCount == 4) {
        TimeIncrement = CentisecondsOf(Tokens[3]);
    }
}

void SetDepth() {
    if (TokenCount >= 2) {
        MaxDepth = TextToInteger(Tokens[1]);
    }
}

void SetMoveTime() {
    if (TokenCount >= 2) {
        MoveTime = CentisecondsOf(Tokens[1]);
    }
}

void SetTime() {
    if (TokenCount >= 2) {
        TimeLeft = TextToInteger(Tokens[1]);
    }
}

void PrintBoard() {
    for (int rank = 7; rank >= 0; --rank) {
        for (int file = 0; file < 8; ++file) {
            const int square = rank * 8 + file;
            const bool black = (thread_board.ColourPieces[BLACK] & Bit(square)) != 0;
            std::printf(black ? "*%c" : " %c", BOARD_LETTERS[thread_board.Board[square]]);
        }
        std::puts("");
    }
}

void PrintCastlingFlags() {
    std::printf("castling flags = %d\n", static_cast<int>(thread_board.CastlingFlags));
}

void PrintBookMoves() {
    std::printf("Current nhash1 = %d, nhash2 = %d\n", static_cast<std::int32_t>(thread_board.PositionKey),
                static_cast<std::int32_t>(thread_board.PositionKey >> 16));
    if (BookLoaded) {
        ListBookMoves();
    } else {
        std::puts("No book loaded...");
    }
}

void PrintTablebaseStatus() {
    std::printf("UseEGTB = %s", UseEGTB != 0 ? "TRUE" : "FALSE");
    std::printf("\ntb_path = %s\n", EGTBPath.c_str());
    if (TablebasePieces != 0) {
        std::printf("%d piece EGTB files found\n", TablebasePieces);
    } else {
        std::puts("EGTB files not found");
    }
}

void EvaluateEpd() {
    if (TokenCount >= 2) {
        EpdEval(std::string(Tokens[1]).c_str());
    }
}

void EvaluatePgn() {
    PgnEval("c:\\work\\source.pgn");
}

void RunSelfTest() {
    SelfTest("c:\\work\\chess\\quorvanth\\release\\source.pgn");
}

void CountPerft() {
    if (TokenCount < 2) {
        return;
    }
    if (BothKingsStand()) {
        Perft(TextToInteger(Tokens[1]));
    } else {
        std::puts(ILLEGAL_POSITION);
    }
}
