#include "position/fen.h"

#include <algorithm>

#include "position/board.h"
#include "position/move_text.h"

namespace {

/// Takes the next field off the front of the text, with the blanks around it; empty when nothing is left.
std::string_view TakeField(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::string_view field = text.substr(0, text.find(' '));
    text.remove_prefix(field.size());
    return field;
}

/// The code of a piece letter of either case, 0 for any other character.
int CodeOfLetter(char letter) {
    switch (letter) {
        case 'K':
        case 'k':
            return KING;
        case 'N':
        case 'n':
            return KNIGHT;
        case 'P':
        case 'p':
            return PAWN;
        case 'R':
        case 'r':
            return ROOK;
        case 'B':
        case 'b':
            return BISHOP;
        case 'Q':
        case 'q':
            return QUEEN;
        default:
            return NO_PIECE;
    }
}

/// No square is reached twice: the file only grows and a slash only leads down. Squares beyond the h-file or
/// below rank 1 are not on the board; the file stops growing there, however long the text.
void ReadBoard(std::string_view field) {
    int rank = 7;
    int file = 0;
    for (const char letter : field) {
        if (letter == '/') {
            if (--rank < 0) {
                return;
            }
            file = 0;
        } else if (letter >= '0' && letter <= '9') {
            file = std::min(file + (letter - '0'), 8);
        } else if (const int code = CodeOfLetter(letter); code != NO_PIECE && file < 8) {
            PlacePiece(8 * rank + file, letter < 'a' ? WHITE : BLACK, code);
            ++file;
        }
    }
}

std::uint32_t ReadCastling(std::string_view field) {
    std::uint32_t flags = 0;
    if (field.starts_with('-')) {
        return flags;
    }
    for (const char letter : field) {
        flags |= letter == 'K'   ? WHITE_SHORT
                 : letter == 'Q' ? WHITE_LONG
                 : letter == 'k' ? BLACK_SHORT
                 : letter == 'q' ? BLACK_LONG
                                 : 0u;
    }
    return flags;
}

/// Writes the double push that the field tells of as the one move of the history. The target must be empty,
/// for a capture there would find a piece that its captured field of 0 denies.
void ReadEnPassant(std::string_view field) {
    if (field.size() < 2 || field[0] < 'a' || field[0] > 'h') {
        return;
    }
    const bool white_pushed = thread_board.SideToMove == BLACK;
    if (field[1] != (white_pushed ? '3' : '6')) {
        return;
    }
    const Colour pusher = white_pushed ? WHITE : BLACK;
    const int forward = white_pushed ? 8 : -8;
    const int target = 8 * (field[1] - '1') + (field[0] - 'a');
    const int pawn = target + forward;
    if ((thread_board.Pieces[PAWN][pusher] & Bit(pawn)) && thread_board.Board[target] == NO_PIECE) {
        GameHistory[0].move = BuildMove(target - forward, pawn, PAWN);
        GamePly = 1;
    }
}

std::uint32_t RightsThatFit(std::uint32_t flags) {
    if (thread_board.KingSquare[WHITE] != E1) {
        flags &= ~(WHITE_SHORT | WHITE_LONG);
    }
    if (thread_board.KingSquare[BLACK] != E8) {
        flags &= ~(BLACK_SHORT | BLACK_LONG);
    }
    const auto needs_rook = [&flags](std::uint32_t right, Colour colour, int corner) {
        if (!(thread_board.Pieces[ROOK][colour] & Bit(corner))) {
            flags &= ~right;
        }
    };
    needs_rook(WHITE_SHORT, WHITE, H1);
    needs_rook(WHITE_LONG, WHITE, A1);
    needs_rook(BLACK_SHORT, BLACK, H8);
    needs_rook(BLACK_LONG, BLACK, A8);
    return flags;
}

char* WriteBoard(char* out) {
    for (int rank = 7; rank >= 0; --rank) {
        int empty = 0;
        for (int square = 8 * rank; square < 8 * rank + 8; ++square) {
            const std::uint32_t code = thread_board.Board[square];
            if (code == NO_PIECE) {
                ++empty;
                continue;
            }
            if (empty) {
                *out++ = static_cast<char>('0' + empty);
                empty = 0;
            }
            const char letter = BOARD_LETTERS[code];
            const bool white = (thread_board.ColourPieces[WHITE] & Bit(square)) != 0;
            *out++ = static_cast<char>(white ? letter : letter + ('a' - 'A'));
        }
        if (empty) {
            *out++ = static_cast<char>('0' + empty);
        }
        if (rank > 0) {
            *out++ = '/';
        }
    }
    return out;
}

}  // namespace

void SetupFen(std::string_view text) {
    ClearHistory();
    ClearBoard();
    // A side without a king gets a square all the same, because tables are indexed by it; not its king's home,
    // where rights to castle would hold.
    thread_board.KingSquare[WHITE] = A1;
    thread_board.KingSquare[BLACK] = A8;

    // A field that is missing means White to move, no rights, no en passant.
    ReadBoard(TakeField(text));
    const std::string_view side = TakeField(text);
    thread_board.SideToMove = side.empty() || side.starts_with('w') ? WHITE : BLACK;
    const std::uint32_t castling = ReadCastling(TakeField(text));
    ReadEnPassant(TakeField(text));
    thread_board.CastlingFlags = RightsThatFit(castling);

    // For its message: PlacePiece has been silent about a set of pieces that cannot be indexed.
    RecomputeMaterialIndex();
}

const char* WriteFen(Move move) {
    static char buffer[FEN_BUFFER];

    char* out = WriteBoard(buffer);
    *out++ = ' ';
    *out++ = thread_board.SideToMove == WHITE ? 'w' : 'b';
    *out++ = ' ';

    char* const castling = out;
    for (int right = 0; right < 4; ++right) {
        if (thread_board.CastlingFlags & (1u << right)) {
            *out++ = "KQkq"[right];
        }
    }
    if (out == castling) {
        *out++ = '-';
    }
    *out++ = ' ';

    if (const int pawn = EnPassantPawn(); pawn >= 0) {
        const int target = pawn + (thread_board.SideToMove == WHITE ? 8 : -8);
        *out++ = static_cast<char>('a' + FileOf(target));
        *out++ = static_cast<char>('1' + RankOf(target));
    } else {
        *out++ = '-';
    }
    *out++ = ' ';

    if (move != 0) {
        MoveToPlainText(out, move);
    } else {
        *out = '\0';
    }
    return buffer;
}
