// One minor piece each against one or two pawns: the draws that a bishop or a knight of the pawnless side holds.
#include "eval/knight_intercept.h"
#include "eval/low_material_parts.h"

namespace {

/// The colour must have one.
int OnlyMan(int code, Colour colour) {
    const Bitboard men = thread_board.Pieces[code][colour];
    if (men == 0) {
        __builtin_unreachable();
    }
    return LowestSetBit(men);
}

/// Two pawns side by side on a diagonal and on the colour of their own bishop: the defender holds them when his king
/// stops one and his bishop the other, or his king stands before the pawn next to the corner. It costs him the game
/// only if the bishop can be driven off at once.
template <Colour owner>
Settled JudgeTwoPawnsAgainstBishop() {
    constexpr Colour defender = ChangeSide(owner);
    const Bitboard pawns = thread_board.Pieces[PAWN][owner];
    const int bishop = OnlyMan(BISHOP, owner);
    const int low = LowestSetBit(pawns);
    const int high = HighestSetBit(pawns);
    if ((pawns & ~SquaresLike(bishop)) != 0 || (KingAttacks[low] & Bit(high)) == 0 || RankOf(low) == RankOf(high) ||
        FileOf(low) == FileOf(high)) {
        return std::nullopt;
    }
    const int guard = OnlyMan(BISHOP, defender);
    const Bitboard guarded = Bit(guard) | BishopAttacksOf(guard, thread_board.AllPieces);
    const Bitboard king = Bit(thread_board.KingSquare[defender]);
    const bool holds =
        thread_board.SideToMove == defender || (KingAttacks[thread_board.KingSquare[owner]] & Bit(guard)) == 0;

    const int front = owner == WHITE ? high : low;
    const int rear = owner == WHITE ? low : high;
    const bool at_corner = (FileOf(front) == 0 && FileOf(rear) == 1) || (FileOf(front) == 7 && FileOf(rear) == 6);
    const bool corner_stopped = at_corner && StepOn<owner>(Bit(rear)) == king;
    const auto both_stopped = [&](int by_king, int by_bishop) {
        return StepOn<owner>(Bit(by_king)) == king && (StepOn<owner>(Bit(by_bishop)) & guarded) != 0;
    };
    if (corner_stopped || both_stopped(low, high) || both_stopped(high, low)) {
        DependsOnMover();
        if (holds) {
            return DRAWN;
        }
    }
    return std::nullopt;
}

template <Colour owner>
Settled JudgePawnAgainstBishop() {
    constexpr Colour defender = ChangeSide(owner);
    DependsOnMover();
    const bool defender_moves = thread_board.SideToMove == defender;
    const int pawn = OnlyMan(PAWN, owner);
    const Bitboard path = AheadOnFile<owner>(pawn) | (defender_moves ? Bit(pawn) : 0);
    if ((BishopAttacksOf(OnlyMan(BISHOP, defender), thread_board.AllPieces) & path) != 0) {
        return DRAWN;
    }
    const int ranks_left = 7 - RankSeenBy<owner>(pawn) + (defender_moves ? 1 : 0);
    if (ranks_left >= 3 && (Bit(thread_board.KingSquare[defender]) & path) != 0) {
        return DRAWN;
    }
    return std::nullopt;
}

/// A bishop's side with the pawn, a knight to stop it.
template <Colour owner>
Settled JudgePawnAgainstKnight() {
    constexpr Colour defender = ChangeSide(owner);
    DependsOnMover();
    int pawn = OnlyMan(PAWN, owner);
    if (PawnRuns<owner>(pawn)) {
        return std::nullopt;
    }
    if (thread_board.SideToMove == owner) {
        Bitboard free = StepOn<owner>(Bit(pawn)) & ~thread_board.AllPieces;
        if (RankSeenBy<owner>(pawn) == 1 && (StepOn<owner>(free) & ~thread_board.AllPieces) != 0) {
            free = StepOn<owner>(free);
        }
        if (free != 0) {
            pawn = LowestSetBit(free);
        }
    }
    const int king = thread_board.KingSquare[owner];
    const Bitboard knight = thread_board.Pieces[KNIGHT][defender];
    if (RankSeenBy<owner>(pawn) == 7) {
        const Bitboard own = KingAttacks[king] | BishopAttacksOf(OnlyMan(BISHOP, owner), thread_board.AllPieces);
        return (KnightAttacks[pawn] & knight) != 0 || (own & Bit(pawn)) == 0 ? Settled(DRAWN) : std::nullopt;
    }
    const int stopper = PawnTableSquare<owner>(LowestSetBit(knight));
    const Bitboard stoppers = KnightIntercept[PawnTableSquare<owner>(pawn)][PawnTableSquare<owner>(king)];
    return (stoppers & Bit(stopper)) != 0 ? Settled(DRAWN) : std::nullopt;
}

template <Colour owner>
Settled JudgeMinorsOf() {
    constexpr Colour defender = ChangeSide(owner);
    const int pawns = thread_board.PieceCount[PAWN][owner];
    if (thread_board.PieceCount[PAWN][defender] != 0 || pawns == 0) {
        return std::nullopt;
    }
    if (OppositeBishops()) {
        return pawns == 2   ? JudgeTwoPawnsAgainstBishop<owner>()
               : pawns == 1 ? JudgePawnAgainstBishop<owner>()
                            : std::nullopt;
    }
    const bool bishop_and_pawn = pawns == 1 && thread_board.PieceCount[BISHOP][owner] == 1;
    return bishop_and_pawn && thread_board.PieceCount[KNIGHT][defender] == 1 ? JudgePawnAgainstKnight<owner>()
                                                                             : std::nullopt;
}

}  // namespace

Settled JudgeMinorAgainstMinor() {
    if (thread_board.PieceWeight[WHITE] != 3 || thread_board.PieceWeight[BLACK] != 3) {
        return std::nullopt;
    }
    const Settled settled = JudgeMinorsOf<WHITE>();
    return settled ? settled : JudgeMinorsOf<BLACK>();
}
