// Safe non-captures that give check: directly, by leaving a line between an own slider and the enemy king, or by
// castling.
#include "movegen/castling.h"
#include "movegen/generator_parts.h"
#include "movegen/generators.h"

#include <cstdlib>

namespace {

/// The enemy king's lines, computed once, and the node's constants.
struct CheckLines {
    int king;            // square of the enemy king
    Bitboard diagonals;  // from these squares a bishop gives check
    Bitboard straights;  // from these a rook
    Bitboard empty;
    Bitboard map;  // EnemyMap
    int plane;
};

/// True when `square` is on a line with the enemy king and one of `pieces` is the next piece beyond it.
bool Uncovered(const CheckLines& lines, int square, Bitboard pieces) {
    const int direction = Direction[lines.king][square];
    return direction != 0 && (Ray(direction, square) & pieces) != 0 && (RayAttack(square, direction) & pieces) != 0;
}

template <Colour us>
Bitboard RooksAndQueens() {
    return thread_board.RooksQueens & thread_board.ColourPieces[us];
}

template <Colour us>
Bitboard BishopsAndQueens() {
    return thread_board.BishopsQueens & thread_board.ColourPieces[us];
}

template <Colour us>
void AppendChecks(const CheckLines& lines, int from, int piece, Bitboard destinations) {
    while (destinations != 0) {
        AppendQuiet<us, Keep::SAFE_ONLY>(lines.map, from, PopLowestBit(destinations), piece, lines.plane);
    }
}

/// A queen's discovered checks are not looked for.
template <Colour us>
void QueenChecks(const CheckLines& lines) {
    Bitboard queens = thread_board.Pieces[QUEEN][us];
    while (queens != 0) {
        const int from = PopLowestBit(queens);
        const Bitboard destinations = PieceAttacks<QUEEN>(from) & lines.empty;
        AppendChecks<us>(lines, from, QUEEN, destinations & lines.diagonals);
        AppendChecks<us>(lines, from, QUEEN, destinations & lines.straights);
    }
}

template <Colour us>
void RookChecks(const CheckLines& lines) {
    Bitboard rooks = thread_board.Pieces[ROOK][us];
    while (rooks != 0) {
        const int from = PopLowestBit(rooks);
        Bitboard destinations = PieceAttacks<ROOK>(from) & lines.empty;
        if ((lines.diagonals & Bit(from)) == 0 || !Uncovered(lines, from, BishopsAndQueens<us>())) {
            destinations &= lines.straights;
        }
        AppendChecks<us>(lines, from, ROOK, destinations);
    }
}

template <Colour us>
void BishopChecks(const CheckLines& lines) {
    Bitboard bishops = thread_board.Pieces[BISHOP][us];
    while (bishops != 0) {
        const int from = PopLowestBit(bishops);
        Bitboard destinations = PieceAttacks<BISHOP>(from) & lines.empty;
        if ((lines.straights & Bit(from)) == 0 || !Uncovered(lines, from, RooksAndQueens<us>())) {
            destinations &= lines.diagonals;
        }
        AppendChecks<us>(lines, from, BISHOP, destinations);
    }
}

/// True when any move of the piece on `square` off its line discovers check.
template <Colour us>
bool IsScreen(const CheckLines& lines, int square) {
    return ((lines.diagonals & Bit(square)) != 0 && Uncovered(lines, square, BishopsAndQueens<us>())) ||
           ((lines.straights & Bit(square)) != 0 && Uncovered(lines, square, RooksAndQueens<us>()));
}

template <Colour us>
void KnightChecks(const CheckLines& lines) {
    Bitboard knights = thread_board.Pieces[KNIGHT][us];
    while (knights != 0) {
        const int from = PopLowestBit(knights);
        Bitboard destinations = KnightAttacks[from] & lines.empty;
        if (!IsScreen<us>(lines, from)) {
            destinations &= KnightAttacks[lines.king];
        }
        AppendChecks<us>(lines, from, KNIGHT, destinations);
    }
}

/// The pushes of those of `pawns` that screen a line from `sliders`.
template <Colour us>
void DiscoveringPushes(const CheckLines& lines, Bitboard pawns, Bitboard sliders) {
    while (pawns != 0) {
        const int from = PopLowestBit(pawns);
        if (!Uncovered(lines, from, sliders)) {
            continue;
        }
        const int next = from + FORWARD<us>;
        if ((lines.empty & Bit(next)) == 0) {
            continue;
        }
        AppendQuiet<us, Keep::SAFE_ONLY>(lines.map, from, next, PAWN, lines.plane);
        if ((SECOND_RANK<us> & Bit(from)) != 0 && (lines.empty & Bit(next + FORWARD<us>)) != 0) {
            AppendQuiet<us, Keep::SAFE_ONLY>(lines.map, from, next + FORWARD<us>, PAWN, lines.plane);
        }
    }
}

template <Colour us>
void PawnChecks(const CheckLines& lines) {
    const Bitboard pawns = thread_board.Pieces[PAWN][us];
    const Bitboard checking_squares = PawnAttackersOf(us, lines.king) & lines.empty;

    Bitboard single = pawns & Retreat<us>(checking_squares);
    while (single != 0) {
        const int from = PopLowestBit(single);
        AppendQuiet<us, Keep::SAFE_ONLY>(lines.map, from, from + FORWARD<us>, PAWN, lines.plane);
    }

    // Only a king on the fifth rank of this colour can be checked by a double push.
    if (RankOf(lines.king) == (us == WHITE ? 4 : 3)) {
        Bitboard twice = pawns & Retreat<us>(Retreat<us>(checking_squares) & lines.empty);
        while (twice != 0) {
            const int from = PopLowestBit(twice);
            AppendQuiet<us, Keep::SAFE_ONLY>(lines.map, from, from + 2 * FORWARD<us>, PAWN, lines.plane);
        }
    }

    // A push stays on the king's file, so only the king's rank and diagonals open. Pawns on the last rank exist
    // on set-up boards only and have no square in front.
    const Bitboard pushing = pawns & ~(SEVENTH_RANK<us> | LAST_RANK<us>);
    if (RooksAndQueens<us>() != 0) {
        const Bitboard rank = RANK_1 << (lines.king & 56);
        DiscoveringPushes<us>(lines, pushing & rank & lines.straights, RooksAndQueens<us>());
    }
    DiscoveringPushes<us>(lines, pushing & lines.diagonals, BishopsAndQueens<us>());
}

/// Discovered checks by the king itself: every step off the line. Whether the target is attacked is not asked.
template <Colour us>
void KingChecks(const CheckLines& lines) {
    const int own = thread_board.KingSquare[us];
    if (!IsScreen<us>(lines, own)) {
        return;
    }
    const int line = std::abs(Direction[own][lines.king]);
    Bitboard destinations = KingAttacks[own] & lines.empty;
    while (destinations != 0) {
        const int to = PopLowestBit(destinations);
        if (std::abs(Direction[to][lines.king]) != line) {
            AppendQuiet<us, Keep::SAFE_ONLY>(lines.map, own, to, KING, lines.plane);
        }
    }
}

/// True when the rook on its castled square `rook` checks along its file, or along the back rank through the
/// square that the king leaves.
template <Colour us>
bool CastledRookChecks(const CheckLines& lines, int rook) {
    const Bitboard king = Bit(lines.king);
    const Bitboard file = RookAttacksOf(rook, thread_board.AllPieces) & (FILE_A << FileOf(rook));
    const Bitboard rank = RookAttacksOf(Castling<us>::E, thread_board.AllPieces) & LAST_RANK<ChangeSide(us)>;
    return ((file | rank) & king) != 0;
}

template <Colour us>
void CastlingChecks(const CheckLines& lines) {
    using Side = Castling<us>;
    if (ShortCastlingIsOpen<us>() && CastledRookChecks<us>(lines, Side::F) && ShortCastlingIsSafe<us>()) {
        AppendCastling(Side::SHORT_MOVE, lines.plane);
    }
    if (LongCastlingIsOpen<us>() && CastledRookChecks<us>(lines, Side::D) && LongCastlingIsSafe<us>()) {
        AppendCastling(Side::LONG_MOVE, lines.plane);
    }
}

template <Colour us>
void Checks(int plane) {
    const int king = thread_board.KingSquare[ChangeSide(us)];
    const CheckLines lines = {king,
                              BishopAttacksOf(king, thread_board.AllPieces),
                              RookAttacksOf(king, thread_board.AllPieces),
                              ~thread_board.AllPieces,
                              EnemyMap<us>(),
                              plane};
    QueenChecks<us>(lines);
    RookChecks<us>(lines);
    BishopChecks<us>(lines);
    KnightChecks<us>(lines);
    PawnChecks<us>(lines);
    KingChecks<us>(lines);
    CastlingChecks<us>(lines);
}

}  // namespace

void GenerateChecks(int plane) {
    thread_board.SideToMove == WHITE ? Checks<WHITE>(plane) : Checks<BLACK>(plane);
}
