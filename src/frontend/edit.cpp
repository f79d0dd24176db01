#include "frontend/edit.h"

#include <cstdio>
#include <string_view>

#include "frontend/input.h"
#include "movegen/ordering.h"
#include "movegen/search_records.h"
#include "position/attacks.h"
#include "position/board.h"

namespace {

constexpr int END_OF_EDIT = '.';

// The next character that says anything, in lower case. The end of input ends the edit as the dot does.
int NextCharacter() {
    for (;;) {
        const int character = ReadCharacter();
        if (character == NO_CHARACTER) {
            return END_OF_EDIT;
        }
        if (character != '\n' && character != '\r' && character != ' ') {
            return ToLowerTable[character];
        }
    }
}

// The code of a piece letter; NO_PIECE for the x that only removes, -1 for anything else.
int CodeOf(int character) {
    constexpr std::string_view letters = "xknp?rbq";  // by PieceCode
    const std::size_t code = letters.find(static_cast<char>(character));
    return code == std::string_view::npos || character == '?' ? -1 : static_cast<int>(code);
}

// Reads the square behind a piece letter and changes it. Answers the character that broke it off, 0 when all is well.
int EditSquare(Colour colour, int code) {
    const int file = NextCharacter();
    if (file < 'a' || file > 'h') {
        return file;
    }
    const int rank = NextCharacter();
    if (rank < '1' || rank > '8') {
        return rank;
    }
    const int square = (rank - '1') * 8 + (file - 'a');
    RemovePiece(square);
    if (code != NO_PIECE) {
        PlacePiece(square, colour, code);
    }
    return 0;
}

// A dot ends the edit wherever it stands, even where a square should be.
void ReadPieces() {
    Colour colour = WHITE;
    int character = NextCharacter();
    while (character != END_OF_EDIT) {
        int wrong = 0;
        if (character == 'c') {
            colour = ChangeSide(colour);
        } else if (character == '#') {
            ClearBoard();
        } else if (const int code = CodeOf(character); code >= 0) {
            wrong = EditSquare(colour, code);
        } else {
            wrong = character;
        }
        if (wrong != 0) {
            std::puts("Error");
            std::fflush(stdout);
        }
        character = wrong == END_OF_EDIT ? END_OF_EDIT : NextCharacter();
    }
}

// Of two kings of a colour the one placed last is known; it may be the one that has gone again.
void FindKings() {
    for (const Colour colour : {WHITE, BLACK}) {
        if (const Bitboard kings = thread_board.Pieces[KING][colour]; kings != 0) {
            thread_board.KingSquare[colour] = LowestSetBit(kings);
        }
    }
}

std::uint32_t RightsOf(Colour side, std::uint32_t shortRight, std::uint32_t longRight) {
    const int home = side == WHITE ? A1 : A8;
    const auto stands = [side](int code, int square) { return (thread_board.Pieces[code][side] & Bit(square)) != 0; };
    if (!stands(KING, home + E1)) {
        return 0;
    }
    return (stands(ROOK, home + H1) ? shortRight : 0) | (stands(ROOK, home + A1) ? longRight : 0);
}

}  // namespace

void EditPosition() {
    ReadPieces();
    FindKings();
    thread_board.CastlingFlags = RightsOf(WHITE, WHITE_SHORT, WHITE_LONG) | RightsOf(BLACK, BLACK_SHORT, BLACK_LONG);
    RecomputeMaterialIndex();  // for its message: pieces are placed without one
    ClearHistory();
    ClearQuietHistory();
    ClearKillers();
    TTGeneration = static_cast<std::uint16_t>(TTGeneration + 3);
}
