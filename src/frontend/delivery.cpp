#include "frontend/delivery.h"

#include <cstdio>
#include <cstdlib>

#include "book/book.h"
#include "book/learning.h"
#include "frontend/game.h"
#include "movegen/legal_moves.h"
#include "movegen/score_history.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/move_text.h"
#include "position/repetition.h"
#include "position/settings.h"
#include "search/front_end.h"

namespace {

constexpr int NEWEST = PLAYED_MOVES - 1;

void Learn(BookResult result) {
    if (BookLearningPending()) {
        BookLearn(result);
    }
}

/// A result seen by the engine. The book counts every one as a draw: what the engine itself lost or won, a score has
/// told before.
void Announce(const char* text) {
    if (HintSearch != 0) {
        LearnDrawBehindOwnMove();  // the opponent is to move there
    } else {
        Learn(BOOK_DRAW);
    }
    if (UciMode == 0) {
        std::puts(text);
        std::fflush(stdout);
    }
}

bool HasBareKingAgainst(Colour bare) {
    const Colour other = ChangeSide(bare);
    return thread_board.Material[bare] == 0 && thread_board.Pieces[PAWN][other] == 0 &&
           thread_board.Material[other] <= PieceValue[BISHOP];
}

/// Out of the book, a score beyond the bound decides the game for the book.
void LearnFromScore() {
    const std::int64_t score = RootScores[0];
    if (BookMovePlayed == 0 && std::abs(score) > BookLearningBound) {
        Learn(score >= 0 ? BOOK_WIN : BOOK_LOSS);
    }
}

/// The position after the engine's own move `back` moves ago.
Key KeyAfterOwnMove(int back) {
    return back == 0 ? thread_board.PositionKey : GameHistory[GamePly - 2 * back].key;
}

/// Own moves in a row, from the newest back, that belong to this game and scored below the resign mark.
int LostMovesInARow() {
    const std::int64_t mark = -std::int64_t{ResignValue};
    int count = 0;
    while (count < PLAYED_MOVES && GamePly - 2 * count >= 0 && PlayedKeys[NEWEST - count] == KeyAfterOwnMove(count) &&
           PlayedScores[NEWEST - count] < mark) {
        ++count;
    }
    return count;
}

void PrintUciMove(Move move) {
    char text[MOVE_BUFFER];
    std::printf("bestmove %s", MoveToText(text, move));
    if (PonderMove != 0 && IsLegalMove(PonderMove)) {
        std::printf(" ponder %s", MoveToText(text, PonderMove));
    }
    std::putchar('\n');
}

void PrintXboardMove(Move move) {
    if (LostMovesInARow() >= ResignTimes) {
        std::puts("resign");
    }
    char text[MOVE_BUFFER];
    std::printf("move %s\n", MoveToText(text, move));
}

/// A search that cannot be made. A front end that waits for a move gets one that is none.
void Refuse(const char* reason) {
    UciPonder = 0;
    PendingBestMove = 0;
    if (UciMode != 0) {
        std::printf("info string %s\nbestmove 0000\n", reason);
    } else {
        std::puts(reason);
    }
    std::fflush(stdout);
}

}  // namespace

bool IsInsufficientMaterial() {
    return HasBareKingAgainst(WHITE) || HasBareKingAgainst(BLACK);
}

void AnnounceDraws() {
    if (IsInsufficientMaterial()) {
        Announce("1/2-1/2 {Draw by insufficient material}");
    }
    if (IsRepetition()) {
        Announce("1/2-1/2 {Draw by repetition}");
    }
    // The counter before the last move: the text comes one half-move after it has reached 100.
    if (GamePly > 0 && GameHistory[GamePly - 1].fifty >= 100) {
        Announce("1/2-1/2 {Draw by the 50-moves rule}");
    }
}

void AnnounceNoMoves(bool inCheck) {
    if (!inCheck) {
        Announce("1/2-1/2 {Stalemate}");
    } else {
        Announce(thread_board.SideToMove == BLACK ? "1-0 {White mates}" : "0-1 {Black mates}");
    }
}

bool DeliverMove() {
    if (NewRequested != 0) {
        NewRequested = 0;
        SetupStartPosition();
        return false;
    }
    LearnFromScore();
    const Move move = MoveList[0].Move;
    if (UciMode != 0) {
        PendingBestMove = move;
    }
    if (UciPonder == 0) {
        if (move != 0) {
            MakeRoomInHistory();
            MakeMove(move, 1);
            RecordPlayedMove(MoveCount == 1);
        }
        if (UciMode != 0) {
            PrintUciMove(move);
        } else {
            PrintXboardMove(move);
        }
    }
    if (UseLearning != 0) {
        LearnAfterMove();
    }
    std::fflush(stdout);
    return true;
}

void RefusePosition() {
    Refuse(ILLEGAL_POSITION);
}

void RefuseSearchMoves() {
    Refuse("None of the moves to search is legal");
}
