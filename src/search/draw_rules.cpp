// Draws that the search claims by itself: the fifty-move rule, repetitions and forced returns, and material that
// cannot win.

#include <algorithm>
#include <cstdlib>

#include "eval/material_table.h"
#include "position/repetition.h"
#include "search/search_node.h"

namespace {

constexpr Bitboard EDGE = FILE_A | FILE_H | RANK_1 | RANK_8;
constexpr Bitboard CORNERS = Bit(A1) | Bit(H1) | Bit(A8) | Bit(H8);

/// PositionKey `plies` half-moves ago.
Key KeyBefore(int plies) {
    return plies == 0 ? thread_board.PositionKey : GameHistory[GamePly - plies].key;
}

/// True when the side to move can play the way between two squares with `piece`, forwards along the word.
bool CanPlay(int from, int to, std::uint32_t piece) {
    return thread_board.Board[from] == piece && thread_board.Board[to] == NO_PIECE &&
           (thread_board.ColourPieces[thread_board.SideToMove] & Bit(from)) != 0;
}

/// True when one reversible move of the side to move leads to the position that differs by `difference`.
bool CanReturnBy(Key difference) {
    const Move way = ReversibleMoveOf(difference);
    if (way == 0) {
        return false;
    }
    const int from = MoveFrom(way);
    const int to = MoveTo(way);
    const auto piece = static_cast<std::uint32_t>(MovePiece(way));
    // Between is half open: given the target first it leaves out the square of the piece itself.
    if (CanPlay(from, to, piece)) {
        return (Between[to][from] & thread_board.AllPieces) == 0;
    }
    if (CanPlay(to, from, piece)) {
        return (Between[from][to] & thread_board.AllPieces) == 0;
    }
    return false;
}

/// True when `weak` cannot win against any sensible play: what it could still mate is a cornered king without a
/// flight.
bool CannotBeWonBy(Colour weak) {
    const Colour strong = ChangeSide(weak);
    if (!MaterialCannotWin(weak) || thread_board.PieceWeight[weak] >= 6) {
        return false;
    }
    const int king = thread_board.KingSquare[strong];
    const Bitboard flights =
        KingAttacks[king] & ~thread_board.ColourPieces[strong] & ~KingAttacks[thread_board.KingSquare[weak]];
    return (CORNERS & Bit(king)) == 0 || flights != 0;
}

bool HasPawns() {
    return thread_board.PieceCount[PAWN][WHITE] + thread_board.PieceCount[PAWN][BLACK] != 0;
}

}  // namespace

bool IsDrawnBySearchRules(std::int32_t beta) {
    if (thread_board.FiftyCounter < 3) {
        return false;
    }
    if (thread_board.FiftyCounter >= 100) {
        return true;
    }
    if (GamePly < 3) {
        return false;
    }
    const Key now = thread_board.PositionKey;
    // The opponent's moves of the last j plies; 0 when they have undone each other.
    Key opponent = now ^ KeyBefore(1);
    for (int j = 3;; j += 2) {
        if (beta <= 0) {
            opponent ^= KeyBefore(j) ^ KeyBefore(j - 1);
            if (opponent == 0 && CanReturnBy(now ^ KeyBefore(j))) {
                return true;
            }
        }
        if (GamePly < j + 1 || !IsReversible(GameHistory[GamePly - (j + 1)].move)) {
            return false;
        }
        if (KeyBefore(j + 1) == now) {
            return true;  // one earlier occurrence is enough
        }
        if (GamePly < j + 2 || !IsReversible(GameHistory[GamePly - (j + 2)].move)) {
            return false;
        }
    }
}

bool HasThinArmies(const SearchNode& node) {
    return !node.IsPV() && thread_board.PieceWeight[WHITE] < 11 && thread_board.PieceWeight[BLACK] < 11;
}

std::optional<std::int32_t> MaterialExit(SearchNode& node) {
    const std::int32_t(&weight)[2] = thread_board.PieceWeight;
    if (MaterialCannotWin(WHITE) && MaterialCannotWin(BLACK) &&
        thread_board.Material[WHITE] + thread_board.Material[BLACK] < 600) {
        return 0;
    }
    if (node.depth >= 17 && weight[WHITE] == weight[BLACK] && weight[WHITE] <= 9 && !HasPawns()) {
        const bool kingOnEdge = ((thread_board.Pieces[KING][WHITE] | thread_board.Pieces[KING][BLACK]) & EDGE) != 0;
        node.depth = kingOnEdge ? std::min(node.depth, 36) : 16;
    }
    if (node.alpha >= 0 && CannotBeWonBy(node.us)) {
        return 0;
    }
    if (node.beta <= 0 && CannotBeWonBy(node.them)) {
        return 0;
    }
    return std::nullopt;
}

bool IsPawnlessDrawish() {
    if (HasPawns() || !(MaterialCannotWin(WHITE) || MaterialCannotWin(BLACK)) ||
        std::min(thread_board.PieceWeight[WHITE], thread_board.PieceWeight[BLACK]) >= 9) {
        return false;
    }
    const int white = thread_board.KingSquare[WHITE];
    const int black = thread_board.KingSquare[BLACK];
    const int distance = std::max(std::abs(FileOf(white) - FileOf(black)), std::abs(RankOf(white) - RankOf(black)));
    return distance > 3 || ((Bit(white) | Bit(black)) & EDGE) == 0;
}
