#include "eval/passed_pawns.h"

#include "eval/colour_view.h"
#include "eval/evaluation.h"
#include "eval/knight_intercept.h"
#include "eval/packed.h"
#include "eval/parameters.h"
#include "eval/pawn_endgame_tables.h"
#include "eval/pawn_race.h"
#include "eval/sigmoids.h"
#include "eval/wrapping.h"
#include "movegen/exchange.h"

namespace {

/// `steps` ranks on, or back for a negative number. Wraps at the edges of the board: nothing keeps pawns from being
/// set up on the last rank, and their square is only to be one of the 64.
template <Colour us>
int StepsOn(int square, int steps) {
    return (us == WHITE ? square + 8 * steps : square - 8 * steps) & 63;
}

template <Colour us>
int RanksToPromotion(int square) {
    return 7 - RankSeenBy<us>(square);
}

template <Colour us>
bool IsAtHome(int square) {
    return RankSeenBy<us>(square) == 1;
}

/// What a pawn gains by being to move: a rank, two from its home rank.
template <Colour us>
int RanksOfMove(int square) {
    return thread_board.SideToMove != us ? 0 : IsAtHome<us>(square) ? 2 : 1;
}

// The product.

/// How a king stands to a pawn: ranks ahead of it, and files away.
template <Colour us>
std::int32_t KingTerm(const std::int32_t (&table)[6][4], int pawn, int king) {
    const int ranks = std::clamp(RankSeenBy<us>(king) - RankSeenBy<us>(pawn), -2, 3);
    const int files = std::min(std::abs(FileOf(pawn) - FileOf(king)), 3);
    return table[ranks + 2][files];
}

/// Both kings' share, through the sigmoid.
template <Colour us>
std::int32_t KingsTerm(int square, int stop) {
    constexpr Colour them = ChangeSide(us);
    const int own = thread_board.KingSquare[us];
    const int enemy = thread_board.KingSquare[them];
    const int race = std::clamp(KingSteps(own, stop) - KingSteps(enemy, stop), -4, 4);
    const int between = (Rectangle[square][enemy] & Bit(own)) != 0 ? 1 : 0;
    const std::int64_t sum = std::int64_t{KingTerm<us>(PassedOwnKing, square, own)} +
                             KingTerm<us>(PassedEnemyKing, square, enemy) + PassedRace[2 * race + 8 + between];
    return PawnEndgameSigmoid[sum];
}

std::int64_t PassedProduct(std::int32_t rank, std::int64_t state, std::int32_t file, std::int32_t force) {
    return WrappingProduct(WrappingProduct(WrappingProduct(rank, state), file) >> 12, force) >> 6;
}

template <Colour us>
void ScorePawn(int square) {
    constexpr Colour them = ChangeSide(us);
    const int stop = StepsOn<us>(square, 1);
    const bool safe =
        thread_board.Board[stop] == NO_PIECE && IsExchangeSafeFor<us>(stop, square, PAWN, NO_PIECE, NO_PIECE);
    const bool accompanied = (thread_board.Pieces[PAWN][us] & CompanionSquares<us>(square)) != 0;
    const bool alone = PopCount(thread_board.PawnEntry.PassedFiles(us)) < 2;
    const int state = (safe ? 1 : 0) + (accompanied ? 2 : 0) + (alone ? 4 : 0);
    const bool met = (ConeAhead<us>(square) & Bit(thread_board.KingSquare[them])) != 0;

    const int force = std::clamp(thread_board.PieceWeight[us] - thread_board.PieceWeight[them] + 6, 0, 12);
    const int rank = RankSeenBy<us>(square);
    const int file = std::min(FileOf(square), 7 - FileOf(square));
    const std::int64_t state_end = std::int64_t{PassedStateEnd[state + (met ? 8 : 0)]} + KingsTerm<us>(square, stop);

    ThreadEvalInfo& info = thread_eval_info;
    WrappingAdd(info.open_score[them], -PassedProduct(PassedRankOpen[rank], PassedStateOpen[state],
                                                      PassedFileOpen[file], PassedForceOpen[force]));
    WrappingAdd(info.end_score[them],
                -PassedProduct(PassedRankEnd[rank], state_end, PassedFileEnd[file], PassedForceEnd[force]));
}

// Terms of one pawn. Packed terms are in favour of the pawn's owner.

/// A rook behind the pawn, which sees it.
template <Colour us>
std::int32_t RookTerm(int square) {
    constexpr Colour them = ChangeSide(us);
    const Bitboard behind = BehindOnFile<us>(square) & RookAttacksOf(square, thread_board.AllPieces);
    const int entry = PawnTableSquare<us>(square);
    if ((behind & thread_board.Pieces[ROOK][us]) != 0) {
        const bool blocked = (StepOn<us>(Bit(square)) & thread_board.ColourPieces[them]) != 0;
        return blocked ? PassedRookBehindBlocked[entry] : PassedRookBehind[entry];
    }
    return (behind & thread_board.Pieces[ROOK][them]) != 0 ? PackedSub(0, PassedEnemyRookBehind[entry]) : 0;
}

/// Whether a knight gets to a pawn on `pawn` that its owner need not move at once. On the last rank the pawn is a
/// queen, which the knight takes or forks with the king.
template <Colour us>
bool KnightStops(int knight, int pawn) {
    const int king = thread_board.KingSquare[us];
    if (RanksToPromotion<us>(pawn) == 0) {
        const Bitboard forks = KnightAttacks[knight] & KnightAttacks[pawn] & KnightAttacks[king];
        return (KnightAttacks[pawn] & Bit(knight)) != 0 || forks != 0;
    }
    return (KnightIntercept[PawnTableSquare<us>(pawn)][PawnTableSquare<us>(king)] & Bit(PawnTableSquare<us>(knight))) !=
           0;
}

template <Colour us>
void RunPastKnights(int square, RunningPawn& runner) {
    if ((AheadOnFile<us>(square) & thread_board.AllPieces) != 0 || !PawnRuns<us>(square)) {
        return;
    }
    DependsOnMover();
    const int pawn = StepsOn<us>(square, RanksOfMove<us>(square));
    for (Bitboard knights = thread_board.Pieces[KNIGHT][ChangeSide(us)]; knights != 0;) {
        if (KnightStops<us>(PopLowestBit(knights), pawn)) {
            return;
        }
    }
    runner.Offer(RanksToPromotion<us>(pawn), square);
}

/// Whether a pawn whose own pieces stand in its way gets through with `side` to move: they take a move each to step
/// aside, as if the pawn stood so much farther back.
template <Colour us>
bool RunsBehindPieces(Colour side, int square, Bitboard in_the_way) {
    const int own_king = thread_board.KingSquare[us];
    const int enemy_king = thread_board.KingSquare[ChangeSide(us)];
    if ((PawnSquare[us][side][square] & Bit(enemy_king)) != 0) {
        return false;
    }
    // On the edge the king is shut in before its pawn.
    const bool edge = FileOf(square) == 0 || FileOf(square) == 7;
    const int files = std::abs(FileOf(own_king) - FileOf(enemy_king));
    if (edge && (in_the_way & Bit(own_king)) != 0 && files <= (side == us ? 2 : 3)) {
        return false;
    }
    // The first rank counts as off the board: no pawn can stand there, and PawnSquare has nothing to say of it.
    const int pieces = PopCount(in_the_way);
    return RankSeenBy<us>(square) > pieces &&
           (PawnSquare[us][side][StepsOn<us>(square, -pieces)] & Bit(enemy_king)) == 0;
}

/// The enemy king on its first rank, held there by our king opposite with a pawn between them. That pawn is another
/// one than the pawn that is asked for, before which no enemy stands.
template <Colour us>
bool EnemyKingIsLocked() {
    const int enemy_king = thread_board.KingSquare[ChangeSide(us)];
    return RanksToPromotion<us>(enemy_king) == 0 && thread_board.KingSquare[us] == StepsOn<us>(enemy_king, -2) &&
           (thread_board.Pieces[PAWN][us] & Bit(StepsOn<us>(enemy_king, -1))) != 0;
}

/// A pawn that does not run, but ties down the king of an enemy whose own pawns are all fixed.
template <Colour us>
std::int32_t BlockedKingTerm(int square) {
    constexpr Colour them = ChangeSide(us);
    const Bitboard pawns = thread_board.Pieces[PAWN][them];
    const Bitboard all_pawns = pawns | thread_board.Pieces[PAWN][us];
    const bool fixed =
        pawns != 0 && thread_board.PawnEntry.PassedFiles(them) == 0 && (StepOn<them>(pawns) & ~all_pawns) == 0;
    if (!fixed) {
        return 0;
    }
    const Colour side = thread_board.SideToMove;
    const bool wins = PawnWins<us>(side, square);
    if (wins != PawnWins<us>(ChangeSide(side), square)) {
        DependsOnMover();
    }
    return wins ? BlockedKingWin[RankSeenBy<us>(square)] : 0;
}

/// Whether nothing stops a pawn with `side` to move, the enemy having but his king and pawns. `in_the_way` are its own
/// men ahead of it on the file; of the enemy's there is none.
template <Colour us>
bool RunsPastKing(Colour side, int square, Bitboard in_the_way) {
    return in_the_way != 0 ? RunsBehindPieces<us>(side, square, in_the_way)
                           : EnemyKingIsLocked<us>() || PawnRunsAlone<us>(side, square);
}

/// The moves to promotion against a bare king, or what the pawn is worth all the same.
template <Colour us>
std::int32_t RunAgainstKing(int square, RunningPawn& runner) {
    constexpr Colour them = ChangeSide(us);
    const Colour side = thread_board.SideToMove;
    const Bitboard ahead = AheadOnFile<us>(square);
    const Bitboard in_the_way = ahead & thread_board.ColourPieces[us];
    if ((ahead & thread_board.ColourPieces[them]) != 0) {
        return BlockedKingTerm<us>(square);
    }
    if (!RunsPastKing<us>(side, square, in_the_way)) {
        if (RunsPastKing<us>(ChangeSide(side), square, in_the_way)) {
            DependsOnMover();
        }
        return BlockedKingTerm<us>(square);
    }
    DependsOnMover();
    int moves = RanksToPromotion<us>(square) - RanksOfMove<us>(square);
    if (in_the_way != 0) {
        moves += PopCount(in_the_way);
    } else if ((ConeAhead<us>(square) & Bit(thread_board.KingSquare[them])) != 0) {
        --moves;  // the king must step out of the way, or is driven
    }
    runner.Offer(moves, square);
    return 0;
}

// Terms of all pawns.

/// Two pawns so far apart that the king cannot stop both: while it takes the one the other queens. A pawn counts like
/// one that runs alone: less a move with its owner to move, two from its home rank.
template <Colour us>
void RunApart(int left, int right, RunningPawn& runner) {
    // Both are asked, because each may depend on the mover.
    const bool left_runs = PawnRuns<us>(left);
    const bool right_runs = PawnRuns<us>(right);
    if (!left_runs && !right_runs) {
        return;
    }
    const Bitboard enemy_king = thread_board.Pieces[KING][ChangeSide(us)];
    int left_moves = RanksToPromotion<us>(left) - RanksOfMove<us>(left);
    int right_moves = RanksToPromotion<us>(right) - RanksOfMove<us>(right);
    if ((AheadOnFile<us>(left) & enemy_king) != 0) {
        ++left_moves;
    } else if ((AheadOnFile<us>(right) & enemy_king) != 0) {
        ++right_moves;
    }
    runner.Offer(std::max(left_moves, right_moves), left_moves >= right_moves ? left : right);
}

/// By the number of passed files, against a minor piece at most.
template <Colour us>
std::int32_t CountTerm() {
    constexpr Colour them = ChangeSide(us);
    const std::int32_t weight = thread_board.PieceWeight[them];
    if (weight >= 4) {
        return 0;
    }
    const int files = std::min(PopCount(thread_board.PawnEntry.PassedFiles(us)), 4);
    return weight == 0                                  ? PassedCountNoPieces[files]
           : thread_board.PieceCount[KNIGHT][them] != 0 ? PassedCountKnight[files]
                                                        : PassedCountBishop[files];
}

/// The terms of one colour's pawns, packed, in its favour.
template <Colour us>
std::int32_t PassedTerms(RunningPawn& runner) {
    constexpr Colour them = ChangeSide(us);
    const bool bare = thread_board.PieceWeight[them] == 0;
    const bool knights_only =
        !bare && (thread_board.ColourPieces[them] & (thread_board.RooksQueens | thread_board.BishopsQueens)) == 0;
    std::int32_t sum = 0;
    int first = -1;
    int last = -1;
    for (unsigned files = thread_board.PawnEntry.PassedFiles(us); files != 0; files &= files - 1) {
        const Bitboard pawns = thread_eval_info.passed_pawns[us] & FILE_A << std::countr_zero(files);
        if (pawns == 0) {
            continue;  // a file of another structure with the same key
        }
        const int foremost = us == WHITE ? HighestSetBit(pawns) : LowestSetBit(pawns);
        ScorePawn<us>(foremost);
        sum = PackedAdd(sum, RookTerm<us>(foremost));
        if (bare) {
            sum = PackedAdd(sum, RunAgainstKing<us>(foremost, runner));
        } else if (knights_only) {
            RunPastKnights<us>(foremost, runner);
        }
        first = first < 0 ? foremost : first;
        last = foremost;
    }
    sum = PackedAdd(sum, CountTerm<us>());
    if (bare && first >= 0 && FileOf(last) - FileOf(first) >= 2) {
        RunApart<us>(first, last, runner);
    }
    return sum;
}

}  // namespace

std::int32_t EvaluatePassedPawns(std::int32_t packed) {
    RunningPawn black;
    RunningPawn white;
    packed = PackedAdd(packed, PassedTerms<BLACK>(black));
    packed = PackedSub(packed, PassedTerms<WHITE>(white));
    return PackedAdd(packed, RaceTerm(black, white));
}

void ScorePassedPawn(int square, Colour colour) {
    if (colour == WHITE) {
        ScorePawn<WHITE>(square);
    } else {
        ScorePawn<BLACK>(square);
    }
}
