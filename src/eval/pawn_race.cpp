#include "eval/pawn_race.h"

#include "eval/colour_view.h"
#include "eval/evaluation.h"
#include "eval/packed.h"
#include "eval/parameters.h"

namespace {

/// An index into the tables by moves.
int Capped(int moves) {
    return std::clamp(moves, 0, 7);
}

Bitboard FileLines(int square) {
    return RookAttacksOf(square, thread_board.AllPieces) & FileMaskOf(square);
}

template <Colour us>
int PromotionSquare(int file) {
    return us == WHITE ? A8 + file : A1 + file;
}

/// The race as it stands when `us` has queened first, in moves `moves`, and `them` is about to.
template <Colour us>
class FirstQueen {
    static constexpr Colour them = ChangeSide(us);

  public:
    FirstQueen(const RunningPawn& own, const RunningPawn& other, int moves)
        : own_pawn_(own.square),
          other_pawn_(other.square),
          moves_(Capped(moves)),
          queen_(PromotionSquare<us>(FileOf(own.square))),
          other_queen_(PromotionSquare<them>(FileOf(other.square))),
          king_(thread_board.KingSquare[them]),
          seen_(QueenAttacksOf(queen_, thread_board.AllPieces)) {}

    /// The first fact that fits, packed, in favour of `us`.
    std::int32_t Term() const {
        if (Checks()) {
            return RaceCheck[moves_];
        }
        if (StopsOtherQueen()) {
            return RaceStopsQueen[moves_];
        }
        if (thread_board.PieceWeight[them] != 0) {
            return 0;
        }
        if (RankOf(king_) >= 2 && RankOf(king_) <= 5) {
            if (SkewersOnFile()) {
                return RaceFileSkewer[moves_];
            }
            if (TrapsInCorner(6, 7)) {
                return RaceGPawnCorner[moves_];
            }
            if (TrapsInCorner(1, 0)) {
                return RaceBPawnCorner[moves_];
            }
        }
        return LoosePawns();
    }

  private:
    bool Checks() const { return ((seen_ | FileLines(own_pawn_)) & Bit(king_)) != 0; }

    bool StopsOtherQueen() const {
        const bool holds = (seen_ & Bit(other_queen_)) != 0 || (FileLines(own_pawn_) & Bit(other_pawn_)) != 0;
        return holds && (KingAttacks[king_] & Bit(other_queen_)) == 0;
    }

    /// Whether the queen can go along the promotion rank to `file`.
    bool Reaches(int file) const {
        const Bitboard target = Bit(PromotionSquare<us>(file));
        return (RookAttacksOf(queen_, thread_board.AllPieces) & target) != 0 &&
               (thread_board.Pieces[KING][us] & target) == 0;
    }

    bool SeesFrom(int file, int target, Bitboard occupancy) const {
        return (RookAttacksOf(PromotionSquare<us>(file), occupancy) & FILE_A << file & Bit(target)) != 0;
    }

    /// A check along the file of the pawn, which then falls behind its king.
    bool SkewersOnFile() const {
        const int file = FileOf(other_pawn_);
        return FileOf(king_) == file && Reaches(file) && SeesFrom(file, king_, thread_board.AllPieces);
    }

    /// A pawn on a knight's file with its king beside it on the edge: the queen checks from the edge file and covers
    /// the promotion square from the other. The pawn is on its way there, so it does not screen the square.
    bool TrapsInCorner(int file, int edge) const {
        const bool far_from_home = us == WHITE ? RankOf(king_) >= 3 : RankOf(king_) <= 4;
        return far_from_home && FileOf(other_pawn_) == file && FileOf(king_) == edge && Reaches(edge) &&
               Reaches(file) && SeesFrom(edge, king_, thread_board.AllPieces) &&
               SeesFrom(file, other_queen_, thread_board.AllPieces & ~Bit(other_pawn_));
    }

    /// Pawns that the queen can win while the other one is being made.
    std::int32_t LoosePawns() const {
        const Bitboard pawns = thread_board.Pieces[PAWN][them];
        if (PopCount(pawns) < 2) {
            return 0;
        }
        const Bitboard loose = pawns & ~(KingAttacks[king_] | AttackedByPawns<them>(pawns) | Bit(other_pawn_));
        if (loose == 0) {
            return 0;
        }
        const Bitboard guarded =
            KingAttacks[thread_board.KingSquare[us]] | AttackedByPawns<us>(thread_board.Pieces[PAWN][us]);
        const Bitboard checks = seen_ & QueenAttacksOf(king_, thread_board.AllPieces) & (~KingAttacks[king_] | guarded);
        const int number = std::min(PopCount(loose), 8);
        return checks != 0 ? RaceLoosePawnsCheck[number] : RaceLoosePawns[number];
    }

    int own_pawn_;
    int other_pawn_;
    int moves_;
    int queen_;
    int other_queen_;
    int king_;  // the other side's
    Bitboard seen_;
};

}  // namespace

std::int32_t RaceTerm(const RunningPawn& black, const RunningPawn& white) {
    if (!black.Runs() && !white.Runs()) {
        return 0;
    }
    DependsOnMover();
    // The counts take the move to come as made; the tables want it counted.
    const bool white_to_move = thread_board.SideToMove == WHITE;
    const int white_moves = white.moves + (white_to_move ? 1 : 0);
    const int black_moves = black.moves + (white_to_move ? 0 : 1);
    if (!white.Runs()) {
        return RaceAlone[Capped(black_moves)];
    }
    if (!black.Runs()) {
        return PackedSub(0, RaceAlone[Capped(white_moves)]);
    }
    // White is first when level: either it is to move, or Black's move to come is not in this count.
    const int black_left = black.moves;
    if (white_moves < black_left) {
        const auto& lead = white_moves >= black_left - 1 ? RaceLeadOne : RaceLeadTwo;
        return PackedSub(0, lead[Capped(white_moves)]);
    }
    if (black_left < white_moves - 1) {
        const auto& lead = black_left >= white_moves - 2 ? RaceLeadOne : RaceLeadTwo;
        return lead[Capped(black_moves)];
    }
    if (white_moves == black_left) {
        return PackedSub(0, FirstQueen<WHITE>(white, black, white_moves).Term());
    }
    // Black's moves with the one to come, as White's: the term is the same for both colours.
    return FirstQueen<BLACK>(black, white, black_moves).Term();
}
