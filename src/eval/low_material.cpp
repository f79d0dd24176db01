#include "eval/low_material.h"

#include "eval/low_material_parts.h"
#include "eval/material_table.h"
#include "eval/parameters.h"
#include "movegen/exchange.h"
#include "movegen/search_records.h"

namespace {

/// Asks a recogniser for White, then for Black.
template <typename Rule>
Settled ForBothColours(const Rule& rule) {
    const Settled settled = rule.template operator()<WHITE>();
    return settled ? settled : rule.template operator()<BLACK>();
}

bool NobodyCanWin() {
    return thread_eval_info.cannot_win[WHITE] != 0 && thread_eval_info.cannot_win[BLACK] != 0;
}

/// No pawns, and the pieces differ by less than a minor.
bool IsLevelWithoutPawns() {
    return PawnsOnBoard() == 0 && std::abs(thread_board.PieceWeight[WHITE] - thread_board.PieceWeight[BLACK]) <= 1;
}

/// Entry of a table by the rank index 1..6 of a pawn. Pawns beyond can be set up by hand.
template <Colour owner>
int RankEntry(int pawn) {
    return std::clamp(RankSeenBy<owner>(pawn), 1, 6) - 1;
}

template <Colour us>
Settled JudgePawnAgainstBareKing() {
    constexpr Colour them = ChangeSide(us);
    if (thread_board.Material[them] != 0 || thread_board.PieceWeight[us] != 0 ||
        thread_board.PieceCount[PAWN][us] != 1) {
        return std::nullopt;
    }
    const int pawn = LowestSetBit(thread_board.Pieces[PAWN][us]);
    const bool wins = PawnWins<us>(thread_board.SideToMove, pawn);
    if (wins != PawnWins<us>(ChangeSide(thread_board.SideToMove), pawn)) {
        DependsOnMover();
    }
    return wins ? SettledFor<us>(KpkWinValue[RankEntry<us>(pawn)]) : Settled(DRAWN);
}

/// The enemy king has left his pawns to stop our only one: which of them run.
template <Colour us>
Settled JudgeRunnersAgainstBlockedPawn() {
    constexpr Colour them = ChangeSide(us);
    if (thread_board.PieceWeight[us] != 0 || thread_board.PieceCount[PAWN][us] != 1 ||
        thread_board.PieceWeight[them] != 0) {
        return std::nullopt;
    }
    const int blocked = LowestSetBit(thread_board.Pieces[PAWN][us]);
    if ((ConeAhead<us>(blocked) & thread_board.Pieces[PAWN][them]) != 0 ||
        (AheadOnFile<us>(blocked) & Bit(thread_board.KingSquare[them])) == 0) {
        return std::nullopt;
    }
    std::int64_t value = -std::int64_t{PawnRunBase};
    bool ran = false;
    for (Bitboard pawns = thread_board.Pieces[PAWN][them]; pawns != 0;) {
        const int pawn = PopLowestBit(pawns);
        value += PawnRunEach;
        const bool stopped = (ConeAhead<them>(pawn) & Bit(blocked)) != 0 ||
                             (AheadOnFile<them>(pawn) & thread_board.ColourPieces[them]) != 0;
        if (!stopped && PawnRuns<them>(pawn)) {
            value += PawnRunValue[RankEntry<them>(pawn)];
            ran = true;
        }
    }
    return ran ? SettledFor<them>(value + PawnRunEnd) : std::nullopt;
}

/// No piece, and no pawn with a free square before it. Captures by pawns are not thought of.
template <Colour us>
bool OnlyKingCanMove() {
    return thread_board.PieceWeight[us] == 0 &&
           (StepOn<us>(thread_board.Pieces[PAWN][us]) & ~thread_board.AllPieces) == 0;
}

/// Mate and stalemate of a king on the edge that the other king opposes.
template <Colour us>
Settled JudgeKingWithoutMoves() {
    constexpr Colour them = ChangeSide(us);
    const int king = thread_board.KingSquare[us];
    const int enemy_king = thread_board.KingSquare[them];
    if ((KingOpposition[king] & Bit(63 - enemy_king)) == 0 || !OnlyKingCanMove<us>()) {
        return std::nullopt;
    }
    if (thread_board.SideToMove != us) {
        DependsOnMover();
        return std::nullopt;
    }
    Bitboard steps = KingAttacks[king] & ~thread_board.ColourPieces[us] & ~KingAttacks[enemy_king];
    while (steps != 0) {
        if (!SquareAttacked(them, PopLowestBit(steps))) {
            return std::nullopt;
        }
    }
    DependsOnMover();  // with the other side to move it is neither mate nor stalemate
    return SquareAttacked(them, king) ? -MATE_SCORE + Ply : DRAWN;
}

/// All pawns on the edge file of this corner, where no bishop of theirs can drive the enemy king out: who is nearer.
template <Colour us>
void JudgeCorner(int corner) {
    constexpr Colour them = ChangeSide(us);
    const Bitboard pawns = thread_board.Pieces[PAWN][us];
    if ((pawns & ~FileMaskOf(corner)) != 0 || (thread_board.Pieces[BISHOP][us] & SquaresLike(corner)) != 0) {
        return;
    }
    int enemy_steps = KingSteps(thread_board.KingSquare[them], corner);
    if (enemy_steps < 2) {
        thread_eval_info.cannot_win[us] = 1;
        return;
    }
    int own_steps = KingSteps(thread_board.KingSquare[us], corner);
    DependsOnMover();
    (thread_board.SideToMove == us ? own_steps : enemy_steps) -= 1;
    const int foremost = us == WHITE ? HighestSetBit(pawns) : LowestSetBit(pawns);
    if (enemy_steps < own_steps && !PawnRuns<us>(foremost)) {
        thread_eval_info.cannot_win[us] = 1;
    }
}

/// Beyond what the count says: bishops of one colour and rook's pawns that they do not help.
template <Colour us>
void ExtendCannotWin() {
    if (thread_board.PieceCount[PAWN][us] >= 3 || thread_board.PieceCount[ROOK][us] != 0 ||
        thread_board.PieceCount[QUEEN][us] != 0 || thread_board.PieceCount[KNIGHT][us] != 0) {
        return;
    }
    const Bitboard bishops = thread_board.Pieces[BISHOP][us];
    if (thread_board.PieceCount[PAWN][us] == 0) {
        if ((bishops & LightSquares) == 0 || (bishops & DarkSquares) == 0) {
            thread_eval_info.cannot_win[us] = 1;
        }
        return;
    }
    JudgeCorner<us>(us == WHITE ? A8 : A1);
    JudgeCorner<us>(us == WHITE ? H8 : H1);
}

/// Everything that may settle the position, in the order in which it is asked. Otherwise `term` goes into the base
/// value.
Settled Judge(std::int64_t& term) {
    thread_eval_info.cannot_win[WHITE] = MaterialCannotWin(WHITE);
    thread_eval_info.cannot_win[BLACK] = MaterialCannotWin(BLACK);
    if (NobodyCanWin() || IsLevelWithoutPawns()) {
        return DRAWN;
    }
    if (const Settled settled = ForBothColours([]<Colour us>() { return JudgePawnAgainstBareKing<us>(); })) {
        return settled;
    }
    if (const Settled settled = ForBothColours([]<Colour us>() { return JudgeRunnersAgainstBlockedPawn<us>(); })) {
        return settled;
    }
    if (const Settled settled = JudgeMinorAgainstMinor()) {
        return settled;
    }
    if (const Settled settled = ForBothColours([]<Colour us>() { return JudgeKingWithoutMoves<us>(); })) {
        return settled;
    }
    if (const Settled settled = JudgeRookAgainstPawns(term)) {
        return settled;
    }
    if (const Settled settled = JudgeQueenAgainstPawn()) {
        return settled;
    }
    ExtendCannotWin<WHITE>();
    ExtendCannotWin<BLACK>();
    return NobodyCanWin() ? Settled(DRAWN) : std::nullopt;
}

// The terms of the base value, from Black's point of view.

/// Steps of a king to the nearer of the two corners that a bishop on these squares commands.
int StepsToCorner(int king, Bitboard bishop) {
    const bool dark = (bishop & DarkSquares) != 0;
    return std::min(KingSteps(king, dark ? A1 : A8), KingSteps(king, dark ? H8 : H1));
}

template <Colour us>
bool HasBishopAndKnightOnly() {
    return thread_board.Material[us] == PieceValue[BISHOP] + PieceValue[KNIGHT] &&
           thread_board.PieceCount[BISHOP][us] == 1 && thread_board.PieceCount[KNIGHT][us] == 1;
}

/// Against a bare king. With `cornered` the king is to be driven to a corner, not to the edge.
template <Colour us>
std::int64_t BareKingTerm(bool& cornered) {
    constexpr Colour them = ChangeSide(us);
    if (thread_board.Material[them] != 0 || thread_board.PieceWeight[us] < 5 || thread_eval_info.ending[us] == 0) {
        return 0;
    }
    std::int64_t value = BareKingBonus;
    if (HasBishopAndKnightOnly<us>()) {
        cornered = true;
        const int steps = StepsToCorner(thread_board.KingSquare[them], thread_board.Pieces[BISHOP][us]);
        value += BishopKnightBonus - std::int64_t{CornerStep} * steps;
    }
    return TermFor<us>(value);
}

/// A king without pawns against a piece more, or better.
template <Colour us>
bool DrivesKingToEdge() {
    constexpr Colour them = ChangeSide(us);
    return thread_board.PieceCount[PAWN][them] == 0 &&
           thread_board.PieceWeight[us] - thread_board.PieceWeight[them] >= 3;
}

std::int64_t MopUpTerm() {
    bool cornered = false;
    std::int64_t term = BareKingTerm<BLACK>(cornered) + BareKingTerm<WHITE>(cornered);
    if (!cornered) {
        if (DrivesKingToEdge<BLACK>()) {
            term += TermFor<BLACK>(KingEdgeBonus[thread_board.KingSquare[WHITE]]);
        } else if (DrivesKingToEdge<WHITE>()) {
            term += TermFor<WHITE>(KingEdgeBonus[thread_board.KingSquare[BLACK]]);
        }
    }
    return term;
}

/// What a knight's side loses to pawns on both wings.
template <Colour us>
std::int64_t KnightWingsTerm() {
    constexpr Colour them = ChangeSide(us);
    const int weight = thread_board.PieceWeight[us];
    if (weight >= 9 || thread_board.PieceCount[KNIGHT][us] == 0) {
        return 0;
    }
    std::int64_t value = 0;
    if (weight < thread_board.PieceWeight[them]) {
        value += KnightWingsPenalty;
        value += weight == 3 ? KnightWingsOnly : 0;
    }
    if (HeavyUnits(us) < HeavyUnits(them)) {
        value += KnightWingsHeavy;
    }
    return TermFor<them>(value);
}

template <Colour us>
bool HasLoneKnight() {
    return thread_board.PieceWeight[us] == 3 && thread_board.PieceCount[PAWN][us] == 0 &&
           thread_board.PieceCount[KNIGHT][us] == 1;
}

/// Told as a gain of the other side.
template <Colour us>
std::int64_t KnightPullTerm() {
    const int knight = LowestSetBit(thread_board.Pieces[KNIGHT][us]);
    return TermFor<ChangeSide(us)>(KnightKingPull[KingSteps(knight, thread_board.KingSquare[us])]);
}

std::int64_t LoneKnightTerm() {
    return HasLoneKnight<WHITE>() ? KnightPullTerm<WHITE>() : HasLoneKnight<BLACK>() ? KnightPullTerm<BLACK>() : 0;
}

}  // namespace

bool EvaluateLowMaterial(std::int32_t& result) {
    std::int64_t base = 0;
    if (const Settled settled = Judge(base)) {
        result = *settled;
        return true;
    }
    RefreshMaterial();
    base += thread_eval_info.material_score + MopUpTerm();
    thread_board.AllPawns = thread_board.Pieces[PAWN][WHITE] | thread_board.Pieces[PAWN][BLACK];
    if (PawnsOnBothWings()) {
        base += KnightWingsTerm<WHITE>() + KnightWingsTerm<BLACK>();
    }
    result = static_cast<std::int32_t>(base + LoneKnightTerm());
    return false;
}
