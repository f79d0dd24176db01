#include "position/board.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "position/piece_square.h"

ThreadBoard thread_board;
HistoryRecord GameHistory[HISTORY_RECORDS];
std::int32_t GamePly;
std::int32_t DroppedPlies;

namespace {

std::int32_t MaterialIndexOfCounts() {
    std::int32_t index = 0;
    for (const int code : {QUEEN, ROOK, BISHOP, KNIGHT, PAWN}) {
        for (const Colour colour : {WHITE, BLACK}) {
            const std::int32_t count = thread_board.PieceCount[code][colour];
            if (code != PAWN && count > 2) {
                return MATERIAL_OVERFLOW;
            }
            index += count * MaterialIndexWeight[code][colour];
        }
    }
    return index;
}

/// The piece's share of PieceSquareSum. Unsigned, because the sum wraps modulo 2^32.
std::uint32_t PieceSquareShare(int square, Colour colour, int code) {
    const auto word = static_cast<std::uint32_t>(PieceSquareTable[PieceSquareIndex(code, colour, square)]);
    return colour == BLACK ? word : 0 - word;
}

void TogglePieceBits(int square, Colour colour, int code) {
    const Bitboard bit = Bit(square);
    thread_board.ColourPieces[colour] ^= bit;
    thread_board.Pieces[code][colour] ^= bit;
    thread_board.AllPieces ^= bit;
    if (MovesOnLines(code)) {
        thread_board.RooksQueens ^= bit;
    }
    if (MovesOnDiagonals(code)) {
        thread_board.BishopsQueens ^= bit;
    }
    thread_board.PositionKey ^= PieceKeys[colour][code][square];
    if (code == PAWN) {
        thread_board.PawnKey ^= PieceKeys[colour][code][square];
    }
}

/// `number` is 1 for a piece that comes and -1 for one that goes. The index is taken from the counts afresh and
/// without a message: a position is built piece by piece, and what it passes through need not be possible.
void CountPiece(int square, Colour colour, int code, int number) {
    thread_board.TotalPieces += number;
    if (code != KING) {
        thread_board.PieceCount[code][colour] += number;
        thread_board.Material[colour] += number * PieceValue[code];
        thread_board.PieceWeight[colour] += number * PieceUnits[code];
        thread_board.MaterialIndex = MaterialIndexOfCounts();
    }
    const std::uint32_t share = PieceSquareShare(square, colour, code);
    const auto sum = static_cast<std::uint32_t>(thread_board.PieceSquareSum);
    thread_board.PieceSquareSum = static_cast<std::int32_t>(number > 0 ? sum + share : sum - share);
}

/// True when `record`, of a double push that stands on the board, tells of the board before it.
bool TellsOfBoardBefore(const HistoryRecord& record) {
    const int from = MoveFrom(record.move);
    const int to = MoveTo(record.move);
    const Colour us = ChangeSide(thread_board.SideToMove);
    const std::uint32_t sum = static_cast<std::uint32_t>(thread_board.PieceSquareSum) - PieceSquareShare(to, us, PAWN) +
                              PieceSquareShare(from, us, PAWN);
    return thread_board.Board[from] == NO_PIECE &&
           record.key == (thread_board.PositionKey ^ PieceKeys[us][PAWN][from] ^ PieceKeys[us][PAWN][to]) &&
           record.castling == thread_board.CastlingFlags && record.material_index == thread_board.MaterialIndex &&
           static_cast<std::uint32_t>(record.piece_square_sum) == sum;
}

}  // namespace

void ClearBoard() {
    thread_board.TotalPieces = 0;
    thread_board.PieceSquareSum = 0;
    thread_board.MaterialIndex = 0;
    thread_board.FiftyCounter = 0;
    std::memset(thread_board.ColourPieces, 0, sizeof thread_board.ColourPieces);
    std::memset(thread_board.Pieces, 0, sizeof thread_board.Pieces);
    thread_board.AllPieces = 0;
    thread_board.RooksQueens = 0;
    thread_board.BishopsQueens = 0;
    thread_board.AllPawns = 0;
    std::memset(thread_board.PieceCount, 0, sizeof thread_board.PieceCount);
    std::memset(thread_board.Board, 0, sizeof thread_board.Board);
    thread_board.PositionKey = 0;
    thread_board.PawnKey = 0;
    std::memset(thread_board.Material, 0, sizeof thread_board.Material);
    std::memset(thread_board.PieceWeight, 0, sizeof thread_board.PieceWeight);
}

void PlacePiece(int square, Colour colour, int code) {
    TogglePieceBits(square, colour, code);
    CountPiece(square, colour, code, 1);
    thread_board.Board[square] = static_cast<std::uint32_t>(code);
    if (code == KING) {
        thread_board.KingSquare[colour] = square;
    }
}

void RemovePiece(int square) {
    const int code = static_cast<int>(thread_board.Board[square]);
    if (code == NO_PIECE) {
        return;
    }
    const Colour colour = thread_board.ColourPieces[WHITE] & Bit(square) ? WHITE : BLACK;
    TogglePieceBits(square, colour, code);
    CountPiece(square, colour, code, -1);
    thread_board.Board[square] = NO_PIECE;
}

void PlaceStartPosition() {
    constexpr int BACK_RANK[8] = {ROOK, KNIGHT, BISHOP, QUEEN, KING, BISHOP, KNIGHT, ROOK};

    ClearHistory();
    ClearBoard();
    for (int file = 0; file < 8; ++file) {
        PlacePiece(A1 + file, WHITE, BACK_RANK[file]);
        PlacePiece(A2 + file, WHITE, PAWN);
        PlacePiece(A7 + file, BLACK, PAWN);
        PlacePiece(A8 + file, BLACK, BACK_RANK[file]);
    }
    thread_board.SideToMove = WHITE;
    thread_board.CastlingFlags = WHITE_SHORT | WHITE_LONG | BLACK_SHORT | BLACK_LONG;
}

void ClearHistory() {
    GamePly = 0;
    DroppedPlies = 0;
}

// Dropped records cost the repetition test only what lies more than 256 half-moves back.
void MakeRoomInHistory() {
    if (GamePly < HISTORY_RECORDS - HISTORY_SEARCH_ROOM) {
        return;
    }
    std::copy(GameHistory + HISTORY_STEP, GameHistory + GamePly, GameHistory);
    GamePly -= HISTORY_STEP;
    DroppedPlies += HISTORY_STEP;
}

bool CanTakeBack() {
    if (GamePly <= 0) {
        return false;
    }
    const HistoryRecord& last = GameHistory[GamePly - 1];
    const Bitboard others = thread_board.ColourPieces[ChangeSide(thread_board.SideToMove)];
    if (last.move == 0 || (others & Bit(MoveTo(last.move))) == 0) {
        return false;
    }
    // A push that a FEN tells of has a record with the move only, and beside it what an older game left there.
    const bool mayBeFromFen = GamePly == 1 && DroppedPlies == 0 && IsDoublePush(last.move);
    return !mayBeFromFen || TellsOfBoardBefore(last);
}

void RecomputeMaterialIndex() {
    thread_board.MaterialIndex = MaterialIndexOfCounts();
    if (thread_board.MaterialIndex > MATERIAL_OVERFLOW) {
        std::puts("Error when indexing material!");
        std::fflush(stdout);
    }
}
