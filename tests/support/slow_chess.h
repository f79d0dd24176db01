// Chess by walking squares: slow, obvious, and independent of the engine's tables and bitboard tricks. What the
// move generation room answers is compared with this.
#pragma once

#include "position/board.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

struct Step {
    int file;
    int rank;
};

inline constexpr Step STRAIGHT_STEPS[] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
inline constexpr Step DIAGONAL_STEPS[] = {{1, 1}, {1, -1}, {-1, 1}, {-1, -1}};
inline constexpr Step KNIGHT_STEPS[] = {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};

/// The square one step away, -1 off the board.
inline int Stepped(int square, Step step) {
    const int file = (square & 7) + step.file;
    const int rank = (square >> 3) + step.rank;
    return file < 0 || file > 7 || rank < 0 || rank > 7 ? -1 : rank * 8 + file;
}

/// A copy of the men on thread_board, to be changed at will.
struct SlowBoard {
    std::array<int, 64> code{};
    std::array<int, 64> colour{};  // -1 for an empty square

    SlowBoard() {
        for (int square = 0; square < 64; ++square) {
            code[square] = static_cast<int>(thread_board.Board[square]);
            const bool white = (thread_board.ColourPieces[WHITE] >> square & 1) != 0;
            const bool black = (thread_board.ColourPieces[BLACK] >> square & 1) != 0;
            colour[square] = white ? WHITE : black ? BLACK : -1;
        }
    }

    void Empty(int square) {
        code[square] = NO_PIECE;
        colour[square] = -1;
    }

    bool Holds(int square, int piece_colour, int piece) const {
        return square >= 0 && colour[square] == piece_colour && code[square] == piece;
    }

    /// Squares of the men of `by` that attack `square`, found by walking away from it.
    std::vector<int> Attackers(int by, int square) const {
        std::vector<int> found;
        const int behind = by == WHITE ? -1 : 1;  // a pawn stands behind what it attacks
        for (const Step step : {Step{-1, behind}, Step{1, behind}}) {
            if (const int from = Stepped(square, step); Holds(from, by, PAWN)) {
                found.push_back(from);
            }
        }
        for (const Step step : KNIGHT_STEPS) {
            if (const int from = Stepped(square, step); Holds(from, by, KNIGHT)) {
                found.push_back(from);
            }
        }
        Walk(by, square, STRAIGHT_STEPS, ROOK, found);
        Walk(by, square, DIAGONAL_STEPS, BISHOP, found);
        return found;
    }

    bool Attacked(int by, int square) const { return !Attackers(by, square).empty(); }

    /// The sliders among them.
    int SlidingAttackers(int by, int square) const {
        int count = 0;
        for (const int from : Attackers(by, square)) {
            count += code[from] == ROOK || code[from] == BISHOP || code[from] == QUEEN;
        }
        return count;
    }

    Bitboard AttackMap(int by) const {
        Bitboard map = 0;
        for (int square = 0; square < 64; ++square) {
            map |= static_cast<Bitboard>(Attacked(by, square)) << square;
        }
        return map;
    }

    int KingOf(int piece_colour) const {
        for (int square = 0; square < 64; ++square) {
            if (Holds(square, piece_colour, KING)) {
                return square;
            }
        }
        return -1;
    }

  private:
    void Walk(int by, int square, const Step (&steps)[4], int slider, std::vector<int>& found) const {
        for (const Step step : steps) {
            int at = Stepped(square, step);
            if (Holds(at, by, KING)) {
                found.push_back(at);
            }
            while (at >= 0 && code[at] == NO_PIECE) {
                at = Stepped(at, step);
            }
            if (Holds(at, by, slider) || Holds(at, by, QUEEN)) {
                found.push_back(at);
            }
        }
    }
};
