// When castling can be played, for the generators and for remembered moves.
#pragma once

#include "movegen/exchange.h"

/// Both castling moves of one colour: the words, the rights, and the squares that matter on the back rank.
template <Colour us>
struct Castling {
    static constexpr int BACK_RANK = us == WHITE ? A1 : A8;  // its a-file square
    static constexpr std::uint32_t SHORT_RIGHT = us == WHITE ? WHITE_SHORT : BLACK_SHORT;
    static constexpr std::uint32_t LONG_RIGHT = us == WHITE ? WHITE_LONG : BLACK_LONG;
    static constexpr Move SHORT_MOVE = us == WHITE ? WHITE_CASTLES_SHORT : BLACK_CASTLES_SHORT;
    static constexpr Move LONG_MOVE = us == WHITE ? WHITE_CASTLES_LONG : BLACK_CASTLES_LONG;
    static constexpr int B = BACK_RANK + 1, C = BACK_RANK + 2, D = BACK_RANK + 3, E = BACK_RANK + 4, F = BACK_RANK + 5,
                         G = BACK_RANK + 6;
};

/// The right is there and nothing stands between king and rook.
template <Colour us>
inline bool ShortCastlingIsOpen() {
    using Side = Castling<us>;
    return (thread_board.CastlingFlags & Side::SHORT_RIGHT) != 0 &&
           (thread_board.AllPieces & (Bit(Side::F) | Bit(Side::G))) == 0;
}

template <Colour us>
inline bool LongCastlingIsOpen() {
    using Side = Castling<us>;
    return (thread_board.CastlingFlags & Side::LONG_RIGHT) != 0 &&
           (thread_board.AllPieces & (Bit(Side::B) | Bit(Side::C) | Bit(Side::D))) == 0;
}

/// No enemy attacks the squares that the king passes and reaches; the king's own square is the caller's.
template <Colour us>
inline bool ShortCastlingIsSafe() {
    constexpr Colour them = ChangeSide(us);
    return !SquareAttacked(them, Castling<us>::F) && !SquareAttacked(them, Castling<us>::G);
}

template <Colour us>
inline bool LongCastlingIsSafe() {
    constexpr Colour them = ChangeSide(us);
    return !SquareAttacked(them, Castling<us>::D) && !SquareAttacked(them, Castling<us>::C);
}
