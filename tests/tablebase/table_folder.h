// A folder for table files that a test makes, and positions of a material.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "movegen/legal_moves.h"
#include "position/board.h"
#include "support/files.h"
#include "tablebase/tablebase.h"

/// The tables are given up before their files go.
class TableFolder : public TestFolder {
  public:
    ~TableFolder() { FreeTablebases(); }
};

inline int CodeOfTableLetter(char letter) {
    constexpr int codes[] = {KING, QUEEN, ROOK, BISHOP, KNIGHT, PAWN};
    return codes[std::string("KQRBNP").find(letter)];
}

/// Puts a random playable position of the table `name` on the board; `first` is the colour of the side named first.
inline void PlaceRandomly(const std::string& name, Colour first, std::mt19937& random) {
    do {
        ClearHistory();
        ClearBoard();
        thread_board.CastlingFlags = 0;
        Colour colour = first;
        for (const char letter : name) {
            if (letter == 'v') {
                colour = ChangeSide(first);
                continue;
            }
            const int code = CodeOfTableLetter(letter);
            int square = 0;
            do {
                square = code == PAWN ? 8 + static_cast<int>(random() % 48) : static_cast<int>(random() % 64);
            } while (thread_board.Board[square] != NO_PIECE);
            PlacePiece(square, colour, code);
        }
        thread_board.SideToMove = random() % 2 == 0 ? WHITE : BLACK;
    } while (!PositionIsPlayable());
}
