#include <initializer_list>

#include "position/board.h"
#include "position/piece_square.h"
#include "position/zobrist.h"

namespace {

constexpr Colour BOTH_COLOURS[] = {WHITE, BLACK};

/// No square holds two pieces, and the sets derived from Pieces say the same as Board.
bool SetsAgree() {
    const ThreadBoard& board = thread_board;
    Bitboard seen = 0;
    Bitboard lines = 0;
    Bitboard diagonals = 0;
    for (const Colour colour : BOTH_COLOURS) {
        Bitboard own = 0;
        for (int code = 0; code < 8; ++code) {
            const Bitboard pieces = board.Pieces[code][colour];
            if ((code == NO_PIECE || code == 4) && pieces) {
                return false;
            }
            if (pieces & seen) {
                return false;
            }
            seen |= pieces;
            own |= pieces;
            lines |= MovesOnLines(code) ? pieces : 0;
            diagonals |= MovesOnDiagonals(code) ? pieces : 0;
        }
        if (board.ColourPieces[colour] != own) {
            return false;
        }
    }
    for (int square = 0; square < 64; ++square) {
        const std::uint32_t code = board.Board[square];
        const Bitboard same = code < 8 ? board.Pieces[code][WHITE] | board.Pieces[code][BLACK] : 0;
        if (code == NO_PIECE ? (seen & Bit(square)) != 0 : (same & Bit(square)) == 0) {
            return false;
        }
    }
    return board.AllPieces == seen && board.RooksQueens == lines && board.BishopsQueens == diagonals &&
           board.TotalPieces == PopCount(seen);
}

bool CountsAgree() {
    const ThreadBoard& board = thread_board;
    std::int32_t index = 0;
    bool three_of_a_kind = false;
    bool too_many_pawns = false;
    for (const Colour colour : BOTH_COLOURS) {
        std::int32_t material = 0;
        std::int32_t weight = 0;
        for (const int code : {KNIGHT, PAWN, ROOK, BISHOP, QUEEN}) {
            const int count = PopCount(board.Pieces[code][colour]);
            if (board.PieceCount[code][colour] != count) {
                return false;
            }
            material += count * PieceValue[code];
            weight += count * PieceUnits[code];
            index += count * MaterialIndexWeight[code][colour];
            three_of_a_kind |= code != PAWN && count > 2;
            too_many_pawns |= code == PAWN && count > 8;
        }
        if (board.Material[colour] != material || board.PieceWeight[colour] != weight) {
            return false;
        }
    }
    if (board.MaterialIndex == (three_of_a_kind ? MATERIAL_OVERFLOW : index)) {
        return true;
    }
    // With nine pawns the sum itself can come to MATERIAL_OVERFLOW, which then stays.
    return too_many_pawns && board.MaterialIndex == MATERIAL_OVERFLOW;
}

bool KeysAndSumAgree() {
    Key position_key = 0;
    Key pawn_key = 0;
    std::uint32_t sum = 0;
    for (const Colour colour : BOTH_COLOURS) {
        for (int code = KING; code <= QUEEN; ++code) {
            Bitboard pieces = thread_board.Pieces[code][colour];
            while (pieces) {
                const int square = PopLowestBit(pieces);
                const Key key = PieceKeys[colour][code][square];
                position_key ^= key;
                pawn_key ^= code == PAWN ? key : 0;
                const auto word = static_cast<std::uint32_t>(PieceSquareTable[PieceSquareIndex(code, colour, square)]);
                sum += colour == BLACK ? word : 0 - word;
            }
        }
    }
    return thread_board.PositionKey == position_key && thread_board.PawnKey == pawn_key &&
           static_cast<std::uint32_t>(thread_board.PieceSquareSum) == sum;
}

/// KingSquare names a king if the colour has one, some square if not.
bool KingSquaresAgree() {
    for (const Colour colour : BOTH_COLOURS) {
        const std::int32_t square = thread_board.KingSquare[colour];
        const Bitboard kings = thread_board.Pieces[KING][colour];
        if (square < 0 || square > 63 || (kings && !(kings & Bit(square)))) {
            return false;
        }
    }
    return true;
}

/// A right holds only while king and rook stand at home.
bool RightsAgree() {
    const auto holds = [](std::uint32_t right, Colour colour, int king, int rook) {
        return !(thread_board.CastlingFlags & right) ||
               ((thread_board.Pieces[KING][colour] & Bit(king)) && (thread_board.Pieces[ROOK][colour] & Bit(rook)));
    };
    return thread_board.CastlingFlags < 16 && holds(WHITE_SHORT, WHITE, E1, H1) && holds(WHITE_LONG, WHITE, E1, A1) &&
           holds(BLACK_SHORT, BLACK, E8, H8) && holds(BLACK_LONG, BLACK, E8, A8);
}

}  // namespace

bool PositionIsConsistent() {
    return SetsAgree() && CountsAgree() && KeysAndSumAgree() && KingSquaresAgree() && RightsAgree() &&
           (thread_board.SideToMove == WHITE || thread_board.SideToMove == BLACK) && thread_board.FiftyCounter >= 0;
}
