// A rook alone against pawns: how many of them the pawns' side can hold.
#include "eval/krkp_table.h"
#include "eval/low_material_parts.h"
#include "eval/parameters.h"

namespace {

/// One question about a pawn, its owner's king and the rook.
template <Colour owner>
class RookAndPawn {
  public:
    RookAndPawn(int pawn, int rook)
        : pawn_(pawn),
          rook_(rook),
          king_(thread_board.KingSquare[owner]),
          rook_king_(thread_board.KingSquare[ChangeSide(owner)]),
          seen_(RookAttacksOf(rook, thread_board.AllPieces)) {}

    RookPawnVerdict WithRookToMove() const { return Holds(pawn_, king_) ? ROOK_PAWN_DRAW : ROOK_PAWN_LOST; }

    RookPawnVerdict WithPawnToMove() const {
        if (TakesRook()) {
            return ROOK_PAWN_DRAW;
        }
        switch (RankSeenBy<owner>(pawn_)) {
            case 1:
                return AtHome();
            case 2:
                return Holds(Ahead(1), king_) && MayStep() ? ROOK_PAWN_DRAW : ROOK_PAWN_UNKNOWN;
            case 6:
                return HoldsByPromotion() || HoldsByKing() ? ROOK_PAWN_DRAW : ROOK_PAWN_LOST;
            default:
                return HoldsByStep() || HoldsByKing() ? ROOK_PAWN_DRAW : ROOK_PAWN_LOST;
        }
    }

  private:
    int Ahead(int steps) const { return owner == WHITE ? pawn_ + 8 * steps : pawn_ - 8 * steps; }

    static bool Free(int square) { return (thread_board.AllPieces & Bit(square)) == 0; }
    static bool OnOneRank(int a, int b) { return RankOf(a) == RankOf(b); }

    bool Holds(int pawn, int king) const { return KrkpBit<owner>(pawn, rook_, rook_king_, king); }

    bool RankCheck() const { return (seen_ & Bit(king_)) != 0 && OnOneRank(king_, rook_); }
    bool FileCheck() const { return (seen_ & Bit(king_)) != 0 && FileOf(king_) == FileOf(rook_); }

    /// The rook sees the square along its rank, and would see the king from there.
    bool StandsBetween(int square) const {
        return (seen_ & Bit(square)) != 0 && OnOneRank(square, rook_) && OnOneRank(square, king_) &&
               (RookAttacksOf(square, thread_board.AllPieces) & Bit(king_)) != 0;
    }

    bool MayStep() const { return Free(Ahead(1)) && !StandsBetween(pawn_); }

    bool TakesRook() const {
        const Bitboard rook = Bit(rook_);
        return ((KingAttacks[king_] & rook) != 0 && (KingAttacks[rook_king_] & rook) == 0) ||
               (PawnAttacksFrom<owner>(pawn_) & rook) != 0;
    }

    RookPawnVerdict AtHome() const {
        const bool steps = MayStep() && Free(Ahead(2));
        return steps && (Holds(Ahead(2), king_) || Holds(Ahead(1), king_)) ? ROOK_PAWN_DRAW : ROOK_PAWN_UNKNOWN;
    }

    /// The new piece parries a check along the last rank and is guarded by its king alone.
    bool HoldsByPromotion() const {
        const int promotion = Ahead(1);
        return Free(promotion) && RankCheck() && !FileCheck() && StandsBetween(promotion) &&
               (KingAttacks[promotion] & Bit(king_)) != 0 && (KingAttacks[promotion] & Bit(rook_king_)) == 0;
    }

    bool HoldsByStep() const {
        return MayStep() && !FileCheck() && (!RankCheck() || StandsBetween(Ahead(1))) && Holds(Ahead(1), king_);
    }

    bool HoldsByKing() const {
        Bitboard squares = KingAttacks[king_] & ~seen_ & ~KingAttacks[rook_king_] & ~Bit(pawn_);
        while (squares != 0) {
            if (Holds(pawn_, PopLowestBit(squares))) {
                return true;
            }
        }
        return false;
    }

    int pawn_;
    int rook_;
    int king_;
    int rook_king_;
    Bitboard seen_;  // by the rook
};

/// The pawn nearest to its own first rank; of two, the one nearer the a-file. The owner must have one.
template <Colour owner>
int RearmostPawn() {
    const Bitboard pawns = thread_board.Pieces[PAWN][owner];
    if (pawns == 0) {
        __builtin_unreachable();
    }
    if (owner == WHITE) {
        return LowestSetBit(pawns);
    }
    return LowestSetBit(pawns & ~RanksBelow[HighestSetBit(pawns)]);
}

/// One pawn of several holds: its owner's point of view.
template <Colour owner>
std::int64_t OneOfManyHolds(int pawns) {
    const int rear = RearmostPawn<owner>();
    std::int64_t value = (std::int64_t{RookPawnFar} * RankSeenBy<owner>(rear)) >> 8;
    value -= RookPawnBase;
    value += (std::int64_t{RookPawnPerPawn} * pawns) >> 8;
    if (std::abs(FileOf(rear) - FileOf(thread_board.KingSquare[owner])) <= 1) {
        value += RookPawnNear;
    }
    return value;
}

template <Colour us>
bool IsLoneRookAgainstPawns() {
    constexpr Colour owner = ChangeSide(us);
    return thread_board.PieceWeight[us] == 5 && thread_board.PieceCount[PAWN][us] == 0 &&
           thread_board.PieceCount[ROOK][us] == 1 && thread_board.PieceWeight[owner] == 0 &&
           thread_board.PieceCount[PAWN][owner] > 0;
}

template <Colour us>
Settled JudgeRookOf(std::int64_t& term) {
    constexpr Colour owner = ChangeSide(us);
    DependsOnMover();
    const int rook = LowestSetBit(thread_board.Pieces[ROOK][us]);
    const int king = thread_board.KingSquare[us];
    int asked = 0;
    int holding = 0;
    int loose = 0;    // out of reach of the rook's king
    int running = 0;  // of these, not to be caught by it either
    Bitboard pawns = thread_board.Pieces[PAWN][owner];
    while (pawns != 0 && holding < 3) {
        const int pawn = owner == WHITE ? PopLowestBit(pawns) : PopHighestBit(pawns);
        if ((AheadOnFile<owner>(pawn) & KingAttacks[king]) == 0) {
            ++loose;
            running += PawnRuns<owner>(pawn);
        }
        ++asked;
        holding += ProbeRookPawn<owner>(pawn, rook) == ROOK_PAWN_DRAW;
    }
    if (holding == 0) {
        const std::int64_t count = thread_board.PieceCount[PAWN][owner];
        term = asked == 1    ? TermFor<us>(RookPawnsLone)
               : running > 0 ? 0
               : loose > 0   ? TermFor<us>(RookPawnsLooseEach * count)
                             : TermFor<us>(RookPawnsEach * count);
        return std::nullopt;
    }
    if (holding == 1) {
        return asked == 1 ? Settled(DRAWN) : SettledFor<owner>(OneOfManyHolds<owner>(asked));
    }
    term = TermFor<owner>(holding == 2 ? RookPawnsTwoDraw : RookPawnsManyDraw);
    return std::nullopt;
}

}  // namespace

template <Colour owner>
RookPawnVerdict ProbeRookPawn(int pawn, int rook) {
    const RookAndPawn<owner> question(pawn, rook);
    const int rank = RankSeenBy<owner>(pawn);
    const bool pawn_moves = thread_board.SideToMove == owner;
    if (rank < (pawn_moves ? 1 : 3) || rank > 6) {
        return ROOK_PAWN_UNKNOWN;
    }
    return pawn_moves ? question.WithPawnToMove() : question.WithRookToMove();
}

template RookPawnVerdict ProbeRookPawn<WHITE>(int pawn, int rook);
template RookPawnVerdict ProbeRookPawn<BLACK>(int pawn, int rook);

Settled JudgeRookAgainstPawns(std::int64_t& term) {
    term = 0;
    if (IsLoneRookAgainstPawns<WHITE>()) {
        return JudgeRookOf<WHITE>(term);
    }
    if (IsLoneRookAgainstPawns<BLACK>()) {
        return JudgeRookOf<BLACK>(term);
    }
    return std::nullopt;
}
