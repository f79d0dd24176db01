// Rooks and queens.
#include "eval/pieces_parts.h"

#include <algorithm>
#include <cstdlib>

namespace {

/// Squares b..g of the rank on which a rook holds the enemy king back.
template <Colour us>
constexpr Bitboard SEVENTH_INSIDE = RankMaskSeenBy<us>(6) & ~FILE_A & ~FILE_H;

/// What the place of the enemy's king and pawns makes of heavy pieces on the last two ranks; the same for all of a
/// colour's rooks and queens.
template <Colour us>
struct LastRanks {
    static constexpr Colour them = ChangeSide(us);

    const int king_rank = RankSeenBy<us>(thread_board.KingSquare[them]);
    const bool king_on_last = king_rank == 7;
    const bool king_on_last_two = king_rank >= 6;
    const bool seventh_has_targets = king_on_last || (PiecesOf(PAWN, them) & RankMaskSeenBy<us>(6)) != 0;
    const Bitboard partners = PiecesOf(ROOK, us) | PiecesOf(QUEEN, us);

    /// A piece on the seventh rank that sees another heavy piece there.
    bool Pairs(Bitboard seen) const { return (seen & RankMaskSeenBy<us>(6) & partners) != 0; }
};

/// No own pawn between the piece and the enemy's side.
template <Colour us>
bool FileIsClearAhead(int square) {
    return (AheadOnFile<us>(square) & PiecesOf(PAWN, us)) == 0;
}

int FileDistance(int square, int other) {
    return std::abs(FileOf(square) - FileOf(other));
}

template <Colour us>
std::int32_t RookFileTerm(int square, Bitboard seen) {
    constexpr Colour them = ChangeSide(us);
    const Bitboard file_mask = FileMaskOf(square);
    const int file = FileOf(square);
    std::int32_t value = 0;
    if ((file_mask & thread_board.AllPawns) == 0) {
        value = RookOpenFile[file];
    } else if ((file_mask & PiecesOf(PAWN, us)) == 0) {
        value = RookHalfOpenFile[file];
    }
    if ((thread_board.PawnEntry.WeakFilesOf(them) >> file & 1) != 0) {
        const bool hits = (seen & file_mask & PiecesOf(PAWN, them)) != 0;
        value = PackedAdd(value, hits ? RookHitsWeakPawn[file] : RookOnWeakFile[file]);
    }
    return value;
}

template <Colour us>
std::int32_t RookOnSeventhTerm(const LastRanks<us>& ranks, Bitboard seen) {
    constexpr Colour them = ChangeSide(us);
    if (!ranks.seventh_has_targets) {
        return 0;
    }
    std::int32_t value = RookOnSeventh;
    if (ranks.Pairs(seen)) {
        value = PackedAdd(value, RookPairOnSeventh);
    }
    // A pawn of the enemy on the rank screens its king as well as a piece does.
    if (ranks.king_on_last && thread_board.PawnEntry.PassedFiles(us) != 0 &&
        (thread_board.ColourPieces[them] & SEVENTH_INSIDE<us>) == 0) {
        value = PackedAdd(value, RookSeventhClear);
    }
    return value;
}

}  // namespace

template <Colour us>
std::int32_t RookTerms() {
    const LastRanks<us> ranks;
    const bool eighth_counts = HeavyUnits(us) > 1 && ranks.king_on_last_two;
    const Bitboard own = thread_board.ColourPieces[us];
    const int enemy_king = thread_board.KingSquare[ChangeSide(us)];
    return SumOverPieces<us, ROOK>([&](int square, Bitboard seen, auto& attack) {
        std::int32_t value = RookFileTerm<us>(square, seen);
        if (RankSeenBy<us>(square) == 6) {
            value = PackedAdd(value, RookOnSeventhTerm<us>(ranks, seen));
        } else if (RankSeenBy<us>(square) == 7 && eighth_counts) {
            value = PackedAdd(value, RookOnEighth);
        }
        if (FileIsClearAhead<us>(square)) {
            attack.AddDanger(RookFileDanger[FileDistance(square, enemy_king)]);
        }
        // The pawn maps are not made yet: the second count takes nothing off.
        value = PackedAdd(value, RookMobility[PopCount(seen & ~own)]);
        return PackedAdd(value, RookReach[PopCount(seen)]);
    });
}

template <Colour us>
std::int32_t QueenTerms() {
    const LastRanks<us> ranks;
    const Bitboard own = thread_board.ColourPieces[us];
    const Bitboard useless = thread_eval_info.enemy_pawn_attacks[us] | thread_eval_info.blocked_pawns[us];
    const int enemy_king = thread_board.KingSquare[ChangeSide(us)];
    return SumOverPieces<us, QUEEN>([&](int square, Bitboard seen, auto& attack) {
        std::int32_t value = 0;
        if (RankSeenBy<us>(square) == 7 && ranks.king_on_last_two) {
            value = QueenOnEighth;
        } else if (RankSeenBy<us>(square) == 6 && ranks.seventh_has_targets && ranks.Pairs(seen)) {
            value = QueenPairOnSeventh;
        }
        std::int32_t danger = QueenDistanceDanger[KingSteps(square, enemy_king)];
        if (FileIsClearAhead<us>(square)) {
            danger = std::max(danger, QueenFileDanger[FileDistance(square, enemy_king)]);
        }
        attack.AddDanger(danger);
        value = PackedAdd(value, QueenMobility[PopCount(seen & ~own)]);
        return PackedAdd(value, QueenSafeMobility[PopCount(seen & ~useless)]);
    });
}

template std::int32_t RookTerms<WHITE>();
template std::int32_t RookTerms<BLACK>();
template std::int32_t QueenTerms<WHITE>();
template std::int32_t QueenTerms<BLACK>();
