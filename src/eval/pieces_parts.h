// What the piece loops share. Every term is worked out from its owner's point of view by one template: Black's value
// is added to the score, White's taken from it, and the tables by square are seen from Black.
#pragma once

#include "eval/evaluation.h"
#include "eval/packed.h"
#include "eval/parameters.h"
#include "eval/pawn_parts.h"
#include "eval/wrapping.h"
#include "movegen/exchange.h"
#include "position/attacks.h"
#include "position/board.h"

/// Sections of PiecePosition.
enum PieceSection : int { KNIGHT_SECTION, ROOK_SECTION, BISHOP_SECTION, QUEEN_SECTION };

// The board as one colour sees it.

/// Rank 0..7 counted from a colour's own side.
template <Colour us>
constexpr int RankSeenBy(int square) {
    return us == WHITE ? RankOf(square) : 7 - RankOf(square);
}

/// All squares of such a rank.
template <Colour us>
constexpr Bitboard RankMaskSeenBy(int rank) {
    return RANK_1 << (8 * (us == WHITE ? rank : 7 - rank));
}

template <Colour us>
constexpr Bitboard OneRankBack(Bitboard squares) {
    return us == WHITE ? squares >> 8 : squares << 8;
}

/// The entry of a table by square that is told for Black.
template <Colour us>
constexpr int TableSquare(int square) {
    return us == BLACK ? square : MirrorRank(square);
}

constexpr Bitboard FileMaskOf(int square) {
    return FILE_A << FileOf(square);
}

/// Files a..c and f..h.
inline constexpr Bitboard QUEENSIDE_FILES = FILE_A | FILE_A << 1 | FILE_A << 2;
inline constexpr Bitboard KINGSIDE_FILES = FILE_H | FILE_H >> 1 | FILE_H >> 2;

inline Bitboard PiecesOf(int code, Colour colour) {
    return thread_board.Pieces[code][colour];
}

/// The code of the man that a slider on `square` pins against the enemy king: the only one between them, and the
/// enemy's own. NO_PIECE otherwise. `empty_attacks` is what the slider would attack on an empty board.
template <Colour us>
inline int PinnedBy(int square, Bitboard empty_attacks) {
    constexpr Colour them = ChangeSide(us);
    const int king = thread_board.KingSquare[them];
    if ((empty_attacks & Bit(king)) == 0) [[likely]] {
        return NO_PIECE;
    }
    const Bitboard between = Between[square][king] & ~Bit(square) & thread_board.AllPieces;
    const bool pinned = std::has_single_bit(between) && (between & thread_board.ColourPieces[them]) != 0;
    return pinned ? static_cast<int>(thread_board.Board[LowestSetBit(between)]) : NO_PIECE;
}

/// What the pieces of one kind and colour gather against the enemy king. Lives over one loop; Store hands the sums to
/// thread_eval_info. A king that needs no protection has an empty zone and an empty check map here, so that the
/// loops need not ask. Nothing
/// bounds the parameters, so the sums wrap.
template <Colour us, int piece>
class KingAttack {
    static constexpr Colour them = ChangeSide(us);

  public:
    explicit KingAttack(Bitboard check_map) : counts_(thread_eval_info.ending[them] == 0) {
        if (counts_) {
            zone_ = thread_eval_info.king_zone[them];
            check_map_ = check_map;
            safe_hits_ = thread_eval_info.safe_zone_hits[them];
        }
    }

    /// A piece on `square` that attacks `seen`.
    void Gather(int square, Bitboard seen) {
        const Bitboard near = seen & zone_;
        if (near != 0) {
            WrappingAdd(attackers_, AttackerWeight[piece]);
            // One safe hit of a square is as good as many.
            for (Bitboard targets = near & ~thread_board.ColourPieces[us] & ~safe_hits_; targets != 0;) {
                const int target = PopLowestBit(targets);
                if (IsSafe(target, square)) {
                    safe_hits_ |= Bit(target);
                }
            }
            return;
        }
        for (Bitboard checks = seen & check_map_; checks != 0;) {
            if (IsSafe(PopLowestBit(checks), square)) {
                WrappingAdd(danger_, CheckDanger[piece]);
                WrappingAdd(attackers_, AttackerWeight[piece]);
                return;
            }
        }
    }

    void AddDanger(std::int32_t danger) { WrappingAdd(danger_, danger); }

    void Store() const {
        if (!counts_) {
            return;
        }
        ThreadEvalInfo& info = thread_eval_info;
        WrappingAdd(info.danger[us], danger_);
        WrappingAdd(info.attackers[us], attackers_);
        info.safe_zone_hits[them] = safe_hits_;
    }

  private:
    static bool IsSafe(int to, int from) {
        return IsExchangeSafeFor<us>(to, from, piece, static_cast<int>(thread_board.Board[to]), NO_PIECE);
    }

    bool counts_;
    Bitboard zone_ = 0;
    Bitboard check_map_ = 0;
    Bitboard safe_hits_ = 0;
    std::int32_t danger_ = 0;
    std::int32_t attackers_ = 0;
};

// The loops: each answers its colour's packed value and fills that colour's attack sets.

template <Colour us>
std::int32_t RookTerms();
template <Colour us>
std::int32_t QueenTerms();
template <Colour us>
std::int32_t KnightTerms();
template <Colour us>
std::int32_t BishopTerms();

// Pawns as the pieces see them (eval/pieces_pawns.cpp).

/// Fills enemy_pawn_attacks and gives the pawns' squares to attacks.
void SetPawnAttackMaps();

/// Chases of loose pawns by the enemy king, packed, Black's view. Reads enemy_pawn_attacks and passed_pawns.
std::int32_t KingHuntTerms();

/// Fills blocked_pawns.
void SetBlockedPawns();
