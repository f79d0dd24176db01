#include "games/san.h"

#include "games/rules.h"
#include "movegen/exchange.h"
#include "position/board.h"
#include "position/move_text.h"

namespace {

constexpr std::string_view PIECE_LETTERS = "KNRBQ";
constexpr PieceCode PIECE_OF_LETTER[] = {KING, KNIGHT, ROOK, BISHOP, QUEEN};

/// The code of a capital letter, 0 for any other character.
int PieceOf(char letter) {
    const std::size_t index = PIECE_LETTERS.find(letter);
    return index == std::string_view::npos ? NO_PIECE : PIECE_OF_LETTER[index];
}

char FileLetter(int square) {
    return static_cast<char>('a' + FileOf(square));
}

char RankDigit(int square) {
    return static_cast<char>('1' + RankOf(square));
}

/// The file where that is enough, else the rank, else both; nothing when no other such piece can go there.
std::string OriginNeeded(Move move) {
    bool others = false;
    bool same_file = false;
    bool same_rank = false;
    for (const Move other : LegalMoves()) {
        if (MovePiece(other) == MovePiece(move) && MoveTo(other) == MoveTo(move) && MoveFrom(other) != MoveFrom(move)) {
            others = true;
            same_file |= FileOf(MoveFrom(other)) == FileOf(MoveFrom(move));
            same_rank |= RankOf(MoveFrom(other)) == RankOf(MoveFrom(move));
        }
    }
    std::string origin;
    if (others && (!same_file || same_rank)) {
        origin += FileLetter(MoveFrom(move));
    }
    if (same_file) {
        origin += RankDigit(MoveFrom(move));
    }
    return origin;
}

std::string CheckMark(Move move) {
    MakeRoomInHistory();
    MakeMove(move, 1);
    const Colour us = thread_board.SideToMove;
    std::string mark;
    if (SquareAttacked(ChangeSide(us), thread_board.KingSquare[us])) {
        mark += LegalMoves().empty() ? '#' : '+';
    }
    UnmakeMove();
    return mark;
}

/// What a text says of a move; 0 and -1 for what it does not say.
struct Description {
    int piece = PAWN;
    int promotion = NO_PIECE;
    int from_file = -1;
    int from_rank = -1;
    int to = -1;

    bool Fits(Move move) const {
        return MoveTo(move) == to && MovePiece(move) == piece && MovePromotion(move) == promotion &&
               (from_file < 0 || FileOf(MoveFrom(move)) == from_file) &&
               (from_rank < 0 || RankOf(MoveFrom(move)) == from_rank);
    }
};

/// Squares and letters only: marks go, and so do the signs between the parts.
std::string Essence(std::string_view text) {
    if (const std::size_t mark = text.find("e.p."); mark != std::string_view::npos) {
        text = text.substr(0, mark);
    }
    std::string essence;
    for (const char letter : text) {
        if (std::string_view("x:-=()+#!?").find(letter) == std::string_view::npos) {
            essence += letter;
        }
    }
    return essence;
}

bool ReadDescription(std::string_view text, Description& description) {
    if (!text.empty() && PieceOf(text.front()) != NO_PIECE) {
        description.piece = PieceOf(text.front());
        text.remove_prefix(1);
    } else if (text.starts_with('P')) {
        text.remove_prefix(1);
    }
    if (!text.empty() && (text.back() < '1' || text.back() > '8')) {
        const char letter = text.back();
        const bool small = letter == 'q' || letter == 'r' || letter == 'b' || letter == 'n';
        description.promotion = PieceOf(small ? static_cast<char>(letter - ('a' - 'A')) : letter);
        if (description.promotion == NO_PIECE) {
            return false;
        }
        text.remove_suffix(1);
    }
    if (text.size() < 2 || text.size() > 4) {
        return false;
    }
    const std::string_view target = text.substr(text.size() - 2);
    if (target[0] < 'a' || target[0] > 'h' || target[1] < '1' || target[1] > '8') {
        return false;
    }
    description.to = 8 * (target[1] - '1') + (target[0] - 'a');
    for (const char letter : text.substr(0, text.size() - 2)) {
        if (letter >= 'a' && letter <= 'h' && description.from_file < 0 && description.from_rank < 0) {
            description.from_file = letter - 'a';
        } else if (letter >= '1' && letter <= '8' && description.from_rank < 0) {
            description.from_rank = letter - '1';
        } else {
            return false;
        }
    }
    return true;
}

Move FindCastling(bool is_short) {
    for (const Move move : LegalMoves()) {
        if (IsCastling(move) && (FileOf(MoveTo(move)) == 6) == is_short) {
            return move;
        }
    }
    return 0;
}

/// "e2e4" and "e1g1" name squares, not pieces.
Move FindBySquares(std::string_view text) {
    if (!IsMoveText(text)) {
        return 0;
    }
    char buffer[MOVE_BUFFER];
    for (const Move move : LegalMoves()) {
        if (text == MoveToText(buffer, move)) {
            return move;
        }
    }
    return 0;
}

}  // namespace

std::string MoveToSan(Move move) {
    std::string san;
    const int piece = MovePiece(move);
    const bool captures = MoveCaptured(move) != NO_PIECE || IsEnPassant(move);
    if (IsCastling(move)) {
        san = FileOf(MoveTo(move)) == 6 ? "O-O" : "O-O-O";
    } else {
        if (piece != PAWN) {
            san += BOARD_LETTERS[piece];
            san += OriginNeeded(move);
        } else if (captures) {
            san += FileLetter(MoveFrom(move));
        }
        if (captures) {
            san += 'x';
        }
        san += FileLetter(MoveTo(move));
        san += RankDigit(MoveTo(move));
        if (MovePromotion(move) != NO_PIECE) {
            san += '=';
            san += BOARD_LETTERS[MovePromotion(move)];
        }
    }
    return san + CheckMark(move);
}

Move MoveFromSan(std::string_view text) {
    const std::string essence = Essence(text);
    if (essence == "OO" || essence == "00") {
        return FindCastling(true);
    }
    if (essence == "OOO" || essence == "000") {
        return FindCastling(false);
    }
    Description description;
    if (!ReadDescription(essence, description)) {
        return 0;
    }
    Move found = 0;
    for (const Move move : LegalMoves()) {
        if (description.Fits(move)) {
            if (found != 0) {
                return 0;
            }
            found = move;
        }
    }
    return found != 0 ? found : FindBySquares(essence);
}
