#include "position/move_text.h"

#include "position/attacks.h"
#include "position/board.h"

namespace {

char* WriteSquare(char* out, int square) {
    *out++ = static_cast<char>('a' + FileOf(square));
    *out++ = static_cast<char>('1' + RankOf(square));
    return out;
}

char* WriteSquares(char* out, Move move) {
    return WriteSquare(WriteSquare(out, MoveFrom(move)), MoveTo(move));
}

char Lower(char letter) {
    return static_cast<char>(ToLowerTable[static_cast<unsigned char>(letter)]);
}

bool IsSquareText(char file, char rank) {
    return Lower(file) >= 'a' && Lower(file) <= 'h' && rank >= '1' && rank <= '8';
}

int SquareFromText(char file, char rank) {
    return 8 * (rank - '1') + (Lower(file) - 'a');
}

int PromotionFromLetter(char letter) {
    switch (letter) {
        case 'r':
            return ROOK;
        case 'n':
            return KNIGHT;
        case 'b':
            return BISHOP;
        case 'q':
            return QUEEN;
        default:
            return NO_PIECE;
    }
}

}  // namespace

const char* MoveToText(char* buffer, Move move) {
    char* out = buffer;
    if (move == 0) {
        for (int i = 0; i < 4; ++i) {
            *out++ = '0';
        }
    } else {
        out = WriteSquares(out, move);
        if (const int promotion = MovePromotion(move); promotion != NO_PIECE) {
            *out++ = PROMOTION_LETTERS[promotion - 1];
        }
    }
    *out = '\0';
    return buffer;
}

const char* MoveToPlainText(char* buffer, Move move) {
    *WriteSquares(buffer, move) = '\0';
    return buffer;
}

const char* MoveToPieceText(char* buffer, Move move) {
    char* out = buffer;
    if (move == 0) {
        *out++ = '-';
    } else {
        *out++ = BOARD_LETTERS[MovePiece(move)];
        out = WriteSquares(out, move);
    }
    *out = '\0';
    return buffer;
}

bool IsMoveText(std::string_view token) {
    return token.size() >= 4 && IsSquareText(token[0], token[1]) && IsSquareText(token[2], token[3]);
}

Move MoveFromText(std::string_view text) {
    // Text that is no move has no squares to read; the empty move is illegal everywhere.
    if (!IsMoveText(text)) {
        return 0;
    }
    const int from = SquareFromText(text[0], text[1]);
    const int to = SquareFromText(text[2], text[3]);
    return BuildMove(from, to, static_cast<int>(thread_board.Board[from]), static_cast<int>(thread_board.Board[to]),
                     text.size() > 4 ? PromotionFromLetter(text[4]) : NO_PIECE);
}
