#include "eval/endgame_scale.h"

#include "eval/low_material_parts.h"
#include "eval/packed.h"
#include "eval/parameters.h"

namespace {

std::int32_t Scaled(std::int32_t value, std::int32_t factor) {
    return static_cast<std::int32_t>((std::int64_t{value} * factor) >> 8);
}

/// Scales side_delta too, so that the other side's result follows.
std::int32_t ScaledWithDelta(std::int32_t value, std::int32_t factor) {
    thread_eval_info.side_delta = Scaled(thread_eval_info.side_delta, factor);
    return Scaled(value, factor);
}

std::uint8_t PassedFiles(Colour colour) {
    return thread_board.PawnEntry.PassedFiles(colour);
}

template <Colour us>
bool KingInMaskOf(int pawn) {
    return (ConeAhead<us>(pawn) & Bit(thread_board.KingSquare[ChangeSide(us)])) != 0;
}

bool LevelPieces() {
    return thread_board.PieceWeight[WHITE] == thread_board.PieceWeight[BLACK];
}

/// Level pieces that are neither none at all nor many.
bool LevelFewPieces() {
    const std::int32_t weight = thread_board.PieceWeight[WHITE];
    return LevelPieces() && weight != 0 && weight < 10;
}

bool LevelHeavyUnits() {
    return HeavyUnits(WHITE) == HeavyUnits(BLACK);
}

// Few-piece terms.

/// Two minors, one of them a knight, against a rook that has passed pawns.
template <Colour us>
std::int32_t PassedAgainstMinors() {
    constexpr Colour them = ChangeSide(us);
    const bool meets = thread_board.PieceWeight[them] == 6 && thread_board.PieceCount[KNIGHT][them] != 0 &&
                       thread_board.PieceWeight[us] == 5;
    return meets ? PassedVsMinors[PopCount(PassedFiles(us))] : 0;
}

/// A king that gets round its opponent to the pawns behind him, on the one wing or the other. The bits of an empty
/// byte of files count as 8.
template <Colour us>
bool Outflanks() {
    constexpr Colour them = ChangeSide(us);
    const std::uint8_t own = thread_board.PawnEntry.PawnFiles[us];
    const std::uint8_t prey = thread_board.PawnEntry.PawnFiles[them];
    if (prey == 0) {
        return false;
    }
    const int king = FileOf(thread_board.KingSquare[us]);
    const int enemy_king = FileOf(thread_board.KingSquare[them]);
    const int enemy_moves = thread_board.SideToMove == them ? 1 : 0;
    if (king - enemy_moves <= enemy_king) {
        return king + enemy_moves < enemy_king && king > HighestBit[prey] && king > LowestBit[own];
    }
    return king < LowestBit[prey] && king < HighestBit[own];
}

// Three pawns, two or three of them on one side.

/// The defender's bishop is worth a factor of its own.
std::int32_t FactorAgainst(Colour defender, std::int32_t with_bishop, std::int32_t without) {
    return thread_board.PieceCount[BISHOP][defender] != 0 ? with_bishop : without;
}

template <Colour us>
std::int32_t ScaleThreePawnsOf(std::int32_t value) {
    constexpr Colour them = ChangeSide(us);
    const Bitboard pawns = thread_board.Pieces[PAWN][us];
    const int first = LowestSetBit(pawns);
    const int last = HighestSetBit(pawns);
    const int king = thread_board.KingSquare[them];
    const Colour side = thread_board.SideToMove;
    const bool heavy = HeavyUnits(WHITE) != 0;
    if (MinorPieces(WHITE) >= (heavy ? 1 : 2)) {
        const bool clear = heavy ? !KingInMaskOf<us>(first) && !KingInMaskOf<us>(last)
                                 : PawnRunsAlone<us>(side, first) || PawnRunsAlone<us>(side, last);
        if (clear) {
            return Scaled(value, FactorAgainst(them, ScaleThreeBishopClear, ScaleThreeClear));
        }
        const bool near = (KingAttacks[king] & thread_board.Pieces[PAWN][them]) != 0;
        return Scaled(value, near ? FactorAgainst(them, ScaleThreeBishopNear, ScaleThreeNear)
                                  : FactorAgainst(them, ScaleThreeBishopFar, ScaleThreeFar));
    }
    if (LevelFewPieces() && KingInMaskOf<us>(first) && KingInMaskOf<us>(last)) {
        return Scaled(value, ScaleThreeFortress);
    }
    return value;
}

/// No passed pawn and level pieces. The factor leaves side_delta alone.
std::int32_t ScaleThreePawns(std::int32_t value) {
    if (PassedFiles(WHITE) != 0 || PassedFiles(BLACK) != 0 || !LevelPieces() || !LevelHeavyUnits() ||
        MinorPieces(WHITE) != MinorPieces(BLACK)) {
        return value;
    }
    return thread_board.PieceCount[PAWN][WHITE] > thread_board.PieceCount[PAWN][BLACK]
               ? ScaleThreePawnsOf<WHITE>(value)
               : ScaleThreePawnsOf<BLACK>(value);
}

// One pawn.

/// Level pieces and the last pawn. The factor leaves side_delta alone.
template <Colour us>
std::int32_t ScaleOnePawnOf(std::int32_t value) {
    constexpr Colour them = ChangeSide(us);
    const int pawn = LowestSetBit(thread_board.Pieces[PAWN][us]);
    const bool heavy = HeavyUnits(us) != 0;
    if (MinorPieces(us) >= (heavy ? 1 : 2)) {
        const bool blocked = heavy ? KingInMaskOf<us>(pawn) : !PawnRunsAlone<us>(thread_board.SideToMove, pawn);
        return Scaled(value, blocked ? FactorAgainst(them, ScaleOnePawnBishopBlocked, ScaleOnePawnBlocked)
                                     : FactorAgainst(them, ScaleOnePawnBishop, ScaleOnePawn));
    }
    if (LevelFewPieces()) {
        return Scaled(value, KingInMaskOf<us>(pawn) ? ScaleOnePawnPiecesBlocked : ScaleOnePawnPieces);
    }
    return value;
}

std::int32_t ScaleByPawnCount(std::int32_t value) {
    const int pawns = PawnsOnBoard();
    if (pawns == 3) {
        DependsOnMover();
        return ScaleThreePawns(value);
    }
    if (pawns == 1 && LevelPieces() && LevelHeavyUnits()) {
        DependsOnMover();
        return thread_board.PieceCount[PAWN][WHITE] != 0 ? ScaleOnePawnOf<WHITE>(value) : ScaleOnePawnOf<BLACK>(value);
    }
    return value;
}

/// The favoured side has no more pieces, and the enemy king stands before all its pawns.
template <Colour us>
std::int32_t ScalePawnsBeforeKingOf(std::int32_t value) {
    constexpr Colour them = ChangeSide(us);
    const Bitboard before_king = ConeAhead<them>(thread_board.KingSquare[them]);
    if (thread_board.PieceWeight[us] > thread_board.PieceWeight[them] ||
        (thread_board.Pieces[PAWN][us] & ~before_king) != 0) {
        return value;
    }
    return ScaledWithDelta(value, ScalePawnsBeforeKing);
}

// Rook and pawn against rook.

/// 256 where there is nothing to scale.
template <Colour us>
std::int32_t RookPawnFactor() {
    constexpr Colour them = ChangeSide(us);
    const int pawn = LowestSetBit(thread_board.Pieces[PAWN][us]);
    const int defender = thread_board.KingSquare[them];
    const int files = std::abs(FileOf(defender) - FileOf(pawn));
    if (files <= 1) {
        const int ahead = RankSeenBy<us>(defender) - RankSeenBy<us>(pawn);
        if (ahead > 0) {
            const int from_edge = std::min(FileOf(pawn), 7 - FileOf(pawn));
            return from_edge == 0 ? ScaleRookEdge : from_edge == 1 ? ScaleRookKnightFile : ScaleRookCentre;
        }
        if (ahead == 0) {
            return 256;
        }
    }
    if ((KingAttacks[thread_board.KingSquare[us]] & Bit(pawn)) == 0) {
        return ScaleRookKingFar;
    }
    const int ranks_left = 6 - RankSeenBy<us>(pawn);  // 0 on the seventh
    if (files - ranks_left < -1) {
        return ScaleRookFar;
    }
    const auto [left, right] = std::minmax({FileOf(defender), FileOf(pawn)});
    const int rook_file = FileOf(LowestSetBit(thread_board.Pieces[ROOK][us]));
    return left < rook_file && rook_file < right ? ScaleRookCutOff : ScaleRookNoCut;
}

std::int32_t ScaleRookAndPawn(std::int32_t value) {
    if (thread_board.PieceWeight[WHITE] != 5 || thread_board.PieceWeight[BLACK] != 5 || PawnsOnBoard() != 1) {
        return value;
    }
    return ScaledWithDelta(
        value, thread_board.PieceCount[PAWN][WHITE] != 0 ? RookPawnFactor<WHITE>() : RookPawnFactor<BLACK>());
}

// A pawn more of three, with a rook each or none.

template <Colour us>
std::int32_t ScaleExtraPawnOf(std::int32_t value) {
    const bool rooks = thread_board.PieceWeight[us] == 5;
    const std::uint8_t files = thread_board.PawnEntry.PawnFiles[us];
    // Not 192, files g and h, as the mirror image of the other byte would be: these two bytes are the rule.
    if (!rooks && files != 3 && files != 196) {
        return value;
    }
    DependsOnMover();
    for (Bitboard pawns = thread_board.Pieces[PAWN][us]; pawns != 0;) {
        const int pawn = PopLowestBit(pawns);
        if (rooks ? !KingInMaskOf<us>(pawn) : PawnRuns<us>(pawn)) {
            return value;
        }
    }
    return ScaledWithDelta(value, !rooks                 ? ScaleTwoPawnsFortress
                                  : PassedFiles(us) != 0 ? ScaleRookPawnsPassed
                                                         : ScaleRookPawnsClosed);
}

std::int32_t ScaleExtraPawn(std::int32_t value) {
    const std::int32_t weight = thread_board.PieceWeight[WHITE];
    // A bishop each has the same weight as a knight each, and is no matter of this rule.
    if (PawnsOnBoard() != 3 || !LevelPieces() || (weight != 0 && weight != 5) || PopCount(PassedFiles(WHITE)) > 1 ||
        PopCount(PassedFiles(BLACK)) > 1) {
        return value;
    }
    return thread_board.PieceCount[PAWN][WHITE] > thread_board.PieceCount[PAWN][BLACK] ? ScaleExtraPawnOf<WHITE>(value)
                                                                                       : ScaleExtraPawnOf<BLACK>(value);
}

// A favoured side without pawns.

/// The weak king on an edge line with its rook on the line next to it.
template <Colour weak>
bool ShutInByOwnRook() {
    const int king = thread_board.KingSquare[weak];
    const int rook = LowestSetBit(thread_board.Pieces[ROOK][weak]);
    return (FileOf(king) == 0 && FileOf(rook) == 1) || (FileOf(king) == 7 && FileOf(rook) == 6) ||
           (RankOf(king) == 0 && RankOf(rook) == 1) || (RankOf(king) == 7 && RankOf(rook) == 6);
}

/// By the PieceWeight of the strong and the weak side; 256 where there is nothing to scale.
template <Colour us>
std::int32_t PawnlessFactor() {
    constexpr Colour them = ChangeSide(us);
    const auto has = [](int code, Colour colour) { return thread_board.PieceCount[code][colour] != 0; };
    constexpr auto pair = [](int strong, int weak) { return strong * 16 + weak; };
    if (thread_board.PieceWeight[us] > 12 || thread_board.PieceWeight[them] > 9) {
        return 256;
    }
    switch (pair(thread_board.PieceWeight[us], thread_board.PieceWeight[them])) {
        case pair(12, 9):
            return ScaleTwelveNine;
        case pair(8, 5):
            return has(BISHOP, us) ? (ShutInByOwnRook<them>() ? ScaleRookBishopCorner : ScaleRookBishop)
                                   : (ShutInByOwnRook<them>() ? ScaleRookKnightCorner : ScaleRookKnight);
        case pair(8, 6):
            return ScaleEightSix;
        case pair(5, 3):
            return has(BISHOP, them) ? ScaleRookBishopWeak : ScaleRookKnightWeak;
        case pair(5, 5):
            return ScaleRookRook;
        case pair(6, 5):
            return ScaleTwoMinorsRook;
        case pair(6, 6):
            return ScaleSixSix;
        case pair(6, 3):
            return has(BISHOP, them) ? ScaleSixBishop : has(KNIGHT, us) ? ScaleSixKnight : ScaleTwoBishops;
        case pair(3, 3):
            return ScaleMinorMinor;
        default:
            return 256;
    }
}

template <Colour us>
std::int32_t ScalePawnless(std::int32_t value) {
    if (PawnsOnBoard() == 0 && LevelPieces()) {
        value = ScaledWithDelta(value, ScaleNoPawnsEqual);
    }
    return thread_board.PieceCount[PAWN][us] != 0 ? value : ScaledWithDelta(value, PawnlessFactor<us>());
}

/// Before a rule that goes by the side that is ahead: with the other side to move it may be another.
void AskWhoIsAhead(std::int32_t value) {
    const std::int64_t other_value = std::int64_t{value} - thread_eval_info.side_delta;
    if ((value > 0) != (other_value > 0) || (value < 0) != (other_value < 0)) {
        DependsOnMover();
    }
}

bool FavoursWhoCannotWin(std::int32_t value) {
    return (value < 0 && thread_eval_info.cannot_win[WHITE] != 0) ||
           (value > 0 && thread_eval_info.cannot_win[BLACK] != 0);
}

}  // namespace

void AddFewPieceTerms() {
    std::int32_t& packed = thread_eval_info.packed;
    packed = PackedAdd(packed, PassedAgainstMinors<BLACK>());
    packed = PackedSub(packed, PassedAgainstMinors<WHITE>());
    if (thread_board.PieceWeight[WHITE] == 0 && thread_board.PieceWeight[BLACK] == 0) {
        DependsOnMover();
        packed = PackedSub(packed, Outflanks<WHITE>() ? PawnOutflank : 0);
        packed = PackedAdd(packed, Outflanks<BLACK>() ? PawnOutflank : 0);
    }
}

std::int32_t ScaleOppositeBishops(std::int32_t value) {
    if (!OppositeBishops() || thread_board.PieceWeight[WHITE] >= 17 || thread_board.PieceWeight[BLACK] >= 17 ||
        !LevelHeavyUnits() || thread_board.PieceCount[KNIGHT][WHITE] != thread_board.PieceCount[KNIGHT][BLACK]) {
        return value;
    }
    const int knights = std::min(thread_board.PieceCount[KNIGHT][WHITE], 2);
    const int pawns =
        std::min(std::abs(thread_board.PieceCount[PAWN][WHITE] - thread_board.PieceCount[PAWN][BLACK]), 3);
    const int entry = HeavyUnits(WHITE) * 3 + knights + 9 * pawns;
    const std::int64_t material = thread_eval_info.material_score;
    thread_eval_info.side_delta = Scaled(thread_eval_info.side_delta, OppositeBishopsPosition[entry]);
    return static_cast<std::int32_t>(((OppositeBishopsPosition[entry] * (value - material)) >> 8) +
                                     ((OppositeBishopsMaterial[entry] * material) >> 8));
}

std::int32_t ScaleEndgame(std::int32_t value) {
    if (thread_board.PieceWeight[WHITE] > EndingWeightNoQueen &&
        thread_board.PieceWeight[BLACK] > EndingWeightNoQueen) {
        return value;
    }
    value = ScaleByPawnCount(value);
    AskWhoIsAhead(value);
    if (value != 0) {
        value = value < 0 ? ScalePawnsBeforeKingOf<WHITE>(value) : ScalePawnsBeforeKingOf<BLACK>(value);
    }
    if (FavoursWhoCannotWin(value)) {
        thread_eval_info.side_delta = 0;
        return 0;
    }
    value = ScaleRookAndPawn(value);
    value = ScaleExtraPawn(value);
    AskWhoIsAhead(value);
    if (value != 0) {
        value = value < 0 ? ScalePawnless<WHITE>(value) : ScalePawnless<BLACK>(value);
    }
    return value;
}
