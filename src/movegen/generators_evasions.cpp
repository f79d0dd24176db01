// Evasions of a side in check, and the question whether there is one.
//
// The moves are the same in both and come in the same order: king moves, then with a single checker the pieces
// that capture it or step between, pawn pushes, en passant, pawn captures. So one walk over them serves both,
// with a visitor that stores a move or stops at the first.
#include "movegen/generator_parts.h"
#include "movegen/generators.h"

#include <initializer_list>

namespace {

/// What the check looks like from the checked king, computed once.
struct CheckState {
    int king;
    Bitboard straights;  // rook and bishop lines of the king
    Bitboard diagonals;
    Bitboard checkers;
    Bitboard targets;  // with a single checker: its square and those between it and the king
    int behind[2];     // direction codes of the sliding checkers' lines past the king, 0 for none
};

constexpr bool HasOneBit(Bitboard mask) {
    return mask != 0 && (mask & (mask - 1)) == 0;
}

/// The line of a sliding checker on `square` past the king; 0 for a leaper.
int LineBehind(int square, int king) {
    return IsSlider(static_cast<int>(thread_board.Board[square])) ? Direction[square][king] : 0;
}

template <Colour us>
CheckState FindCheckers() {
    constexpr Colour them = ChangeSide(us);
    CheckState check{};
    check.king = thread_board.KingSquare[us];
    check.straights = RookAttacksOf(check.king, thread_board.AllPieces);
    check.diagonals = BishopAttacksOf(check.king, thread_board.AllPieces);
    check.checkers = ((thread_board.Pieces[PAWN][them] & PawnAttackersOf(them, check.king)) |
                      (thread_board.Pieces[KNIGHT][them] & KnightAttacks[check.king]) |
                      (thread_board.Pieces[KING][them] & KingAttacks[check.king]) |
                      (thread_board.RooksQueens & check.straights) | (thread_board.BishopsQueens & check.diagonals)) &
                     thread_board.ColourPieces[them];
    if (HasOneBit(check.checkers)) {
        const int checker = LowestSetBit(check.checkers);
        check.targets = check.checkers;
        check.behind[0] = LineBehind(checker, check.king);
        if (check.behind[0] != 0) {
            check.targets |= Between[checker][check.king];
        }
    } else if (check.checkers != 0) {
        check.behind[0] = LineBehind(HighestSetBit(check.checkers), check.king);
        check.behind[1] = LineBehind(LowestSetBit(check.checkers), check.king);
    }
    return check;
}

/// Whether the king escapes on `to`. The board still blocks the line behind the king with the king itself.
template <Colour us>
bool KingEscapes(const CheckState& check, int to) {
    const int course = Direction[check.king][to];
    return course != check.behind[0] && course != check.behind[1] && !SquareAttacked(ChangeSide(us), to);
}

/// IsPinned for an own piece; only pieces that the king sees can be.
bool PinnedToKing(const CheckState& check, int square) {
    return ((check.straights | check.diagonals) & Bit(square)) != 0 && IsPinned(square);
}

/// True when the two pawns that leave their squares by en passant open a line to the own king. A game cannot
/// come to it while the pawn that is taken gives check, a position that was set up can.
template <Colour us>
bool EnPassantOpensLine(const CheckState& check, int from, int taken) {
    const Bitboard enemy = thread_board.ColourPieces[ChangeSide(us)];
    const Bitboard left = thread_board.AllPieces ^ Bit(from) ^ Bit(taken) ^ Bit(taken + FORWARD<us>);
    return (RookAttacksOf(check.king, left) & thread_board.RooksQueens & enemy) != 0 ||
           (BishopAttacksOf(check.king, left) & thread_board.BishopsQueens & enemy) != 0;
}

// Each step below hands its moves to `visit`(from, to, piece, promotion), which answers true to stop; a step that
// was stopped answers true itself.

template <Colour us, typename Visitor>
bool KingMoves(const CheckState& check, Visitor& visit) {
    Bitboard destinations = KingAttacks[check.king] & ~thread_board.ColourPieces[us];
    while (destinations != 0) {
        const int to = PopLowestBit(destinations);
        if (KingEscapes<us>(check, to) && visit(check.king, to, KING, NO_PIECE)) {
            return true;
        }
    }
    return false;
}

template <Colour us, int piece, typename Visitor>
bool PieceMoves(const CheckState& check, Visitor& visit) {
    Bitboard pieces = thread_board.Pieces[piece][us];
    while (pieces != 0) {
        const int from = PopLowestBit(pieces);
        Bitboard destinations = PieceAttacks<piece>(from) & check.targets;
        if (destinations == 0 || PinnedToKing(check, from)) {
            continue;
        }
        while (destinations != 0) {
            if (visit(from, PopLowestBit(destinations), piece, NO_PIECE)) {
                return true;
            }
        }
    }
    return false;
}

template <typename Visitor>
bool AllPromotions(int from, int to, Visitor& visit) {
    for (const int promotion : {QUEEN, ROOK, BISHOP, KNIGHT}) {
        if (visit(from, to, PAWN, promotion)) {
            return true;
        }
    }
    return false;
}

template <Colour us, typename Visitor>
bool PawnBlocks(const CheckState& check, Visitor& visit) {
    const Bitboard pawns = thread_board.Pieces[PAWN][us];
    const Bitboard empty = ~thread_board.AllPieces;
    const Bitboard blocks = check.targets & empty;

    Bitboard twice = pawns & SECOND_RANK<us> & Retreat<us>(Retreat<us>(blocks) & empty);
    while (twice != 0) {
        const int from = PopLowestBit(twice);
        if (!PinnedToKing(check, from) && visit(from, from + 2 * FORWARD<us>, PAWN, NO_PIECE)) {
            return true;
        }
    }

    Bitboard once = pawns & Retreat<us>(blocks);
    while (once != 0) {
        const int from = PopLowestBit(once);
        const int to = from + FORWARD<us>;
        if (PinnedToKing(check, from)) {
            continue;
        }
        if ((LAST_RANK<us> & Bit(to)) != 0 ? AllPromotions(from, to, visit) : visit(from, to, PAWN, NO_PIECE)) {
            return true;
        }
    }
    return false;
}

template <Colour us, typename Visitor>
bool EnPassantMoves(const CheckState& check, Visitor& visit) {
    const int checker = LowestSetBit(check.checkers);
    if ((thread_board.Pieces[PAWN][ChangeSide(us)] & check.checkers) == 0 || DoublePushTarget<us>() != checker) {
        return false;
    }
    const Bitboard pawns = thread_board.Pieces[PAWN][us];
    const auto takes = [&](int from) {
        return (pawns & Bit(from)) != 0 && !PinnedToKing(check, from) &&
               !EnPassantOpensLine<us>(check, from, checker) && visit(from, checker + FORWARD<us>, PAWN, NO_PIECE);
    };
    return (FileOf(checker) != 0 && takes(checker - 1)) || (FileOf(checker) != 7 && takes(checker + 1));
}

template <Colour us, typename Visitor>
bool PawnTakesChecker(const CheckState& check, Visitor& visit) {
    const int checker = LowestSetBit(check.checkers);
    const bool promotes = (LAST_RANK<us> & check.checkers) != 0;
    Bitboard pawns = thread_board.Pieces[PAWN][us] & PawnAttackersOf(us, checker);
    while (pawns != 0) {
        const int from = PopLowestBit(pawns);
        if (PinnedToKing(check, from)) {
            continue;
        }
        if (promotes ? AllPromotions(from, checker, visit) : visit(from, checker, PAWN, NO_PIECE)) {
            return true;
        }
    }
    return false;
}

/// Visits every evasion in order until the visitor stops; true when it did.
template <Colour us, typename Visitor>
bool VisitEvasions(Visitor visit) {
    const CheckState check = FindCheckers<us>();
    if (KingMoves<us>(check, visit)) {
        return true;
    }
    // In double check only the king can move. Without any checker the caller erred: no targets either.
    if (!HasOneBit(check.checkers)) {
        return false;
    }
    return PieceMoves<us, KNIGHT>(check, visit) || PieceMoves<us, BISHOP>(check, visit) ||
           PieceMoves<us, ROOK>(check, visit) || PieceMoves<us, QUEEN>(check, visit) || PawnBlocks<us>(check, visit) ||
           EnPassantMoves<us>(check, visit) || PawnTakesChecker<us>(check, visit);
}

template <Colour us>
void AppendEvasions() {
    const Bitboard map = EnemyMap<us>();
    VisitEvasions<us>([map](int from, int to, int piece, int promotion) {
        const int captured = static_cast<int>(thread_board.Board[to]);
        const Move move = BuildMove(from, to, piece, captured, promotion);
        std::int32_t safety =
            piece == KING || IsEnPassant(move) ? SAFE : ExchangeVerdict<us>(map, from, to, piece, captured, promotion);
        const std::int32_t score = EvasionOrderScore(move, safety);
        Store(move, score, safety);
        return false;
    });
}

}  // namespace

void GenerateEvasionsPlain() {
    thread_board.SideToMove == WHITE ? AppendEvasions<WHITE>() : AppendEvasions<BLACK>();
}

int GenerateEvasionsNow() {
    PlyState[Ply].TriedCount = 0;
    const std::int32_t first = MoveCount;
    GenerateEvasionsPlain();
    return MoveCount > first ? STAGE_EVASIONS : 0;
}

int GenerateEvasions(int stage) {
    return stage == STAGE_START ? GenerateEvasionsNow() : 0;
}

bool IsCheckmated() {
    const auto stop_at_first = [](int, int, int, int) { return true; };
    return thread_board.SideToMove == WHITE ? !VisitEvasions<WHITE>(stop_at_first)
                                            : !VisitEvasions<BLACK>(stop_at_first);
}
