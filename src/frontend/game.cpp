#include "frontend/game.h"

#include "book/book.h"
#include "eval/evaluation.h"
#include "movegen/legal_moves.h"
#include "movegen/ordering.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/fen.h"
#include "position/settings.h"
#include "search/front_end.h"
#include "search/transposition.h"

namespace {

void ForgetPreviousScore() {
    PrevRootScore = 0;
    PrevRootSide = WHITE;
}

// Whoever's piece stands on the target made the last move: the commands that change the side to move without a move
// leave the history as it is.
Colour ColourOf(int square) {
    return (thread_board.ColourPieces[WHITE] & Bit(square)) != 0 ? WHITE : BLACK;
}

// A history that begins with a double push may owe it to the en-passant field of a FEN. Such a record holds the move
// and nothing else, and its pawn may come from a square that is taken.
bool TakeBackFirstPush(Move move) {
    ClearHistory();
    if (thread_board.Board[MoveFrom(move)] != NO_PIECE) {
        return false;
    }
    const Colour pusher = ColourOf(MoveTo(move));
    RemovePiece(MoveTo(move));
    PlacePiece(MoveFrom(move), pusher, PAWN);
    thread_board.FiftyCounter = 0;
    thread_board.SideToMove = pusher;
    return true;
}

}  // namespace

void SetupStartPosition() {
    // Front ends of these two kinds send `new` within a game as well, and clear with commands of their own.
    const bool forget = FritzMode == 0 && UciMode == 0;
    PlaceStartPosition();
    MaxDepth = NO_DEPTH_LIMIT;
    ClockedDepth = NO_DEPTH_LIMIT;
    MoveTime = 0;
    MateDepth = 0;
    ForceMode = 0;
    if (forget) {
        ForgetGame();
    }
}

void SetupPosition(std::string_view fen) {
    ForgetPreviousScore();
    SetupFen(fen);
}

bool IsPlayableMove(Move move) {
    return PositionIsPlayable() && IsLegalMove(move);
}

void PlayMove(Move move) {
    MakeRoomInHistory();
    MakeMove(move, 1);
}

bool TakeBackMove() {
    if (GamePly <= 0) {
        return false;
    }
    const Move move = GameHistory[GamePly - 1].move;
    if (GamePly == 1 && DroppedPlies == 0 && IsDoublePush(move)) {
        return TakeBackFirstPush(move);
    }
    thread_board.SideToMove = ChangeSide(ColourOf(MoveTo(move)));
    UnmakeMove();
    return true;
}

void LearnDrawBehindOwnMove() {
    if (!BookLearningPending() || !CanTakeBack()) {
        return;
    }
    const Move last = GameHistory[GamePly - 1].move;
    UnmakeMove();
    BookLearn(BOOK_DRAW);
    MakeMove(last, 1);
}

void LearnAbandonedGame() {
    if (thread_board.SideToMove != EngineSide) {
        LearnDrawBehindOwnMove();
    }
}

void ForgetGame() {
    ClearQuietHistory();
    ClearKillers();
    ForgetPreviousScore();
    SearchesDone = 0;
    BookLearnDone = 0;
}

void CleanTables() {
    ClearTransposition();
    ClearPawnHash();
    ClearEvalHash();
    ClearKillers();
    ClearMoveStats();
    ForgetPreviousScore();
}
