// What the piece loops share. Every term is worked out from its owner's point of view by one template: Black's value
// is added to the score, White's taken from it, and the tables by square are seen from Black.
#pragma once

#include "eval/colour_view.h"
#include "eval/evaluation.h"
#include "eval/packed.h"
#include "eval/parameters.h"
#include "eval/wrapping.h"
#include "movegen/exchange.h"
#include "position/attacks.h"
#include "position/board.h"

/// What one kind of piece reads and fills: its section of PiecePosition, its attack sets and check maps.
template <int piece>
struct PieceKind;

template <>
struct PieceKind<KNIGHT> {
    static constexpr int Section = 0;
    static constexpr auto AttackSets = &ThreadEvalInfo::knight_attacks;
    static constexpr auto CheckMaps = &ThreadEvalInfo::knight_check;
    static Bitboard AttacksOf(int square) { return KnightAttacks[square]; }
};

template <>
struct PieceKind<ROOK> {
    static constexpr int Section = 1;
    static constexpr auto AttackSets = &ThreadEvalInfo::rook_attacks;
    static constexpr auto CheckMaps = &ThreadEvalInfo::rook_check;
    static constexpr auto& Pin = RookPin;
    static constexpr auto& EmptyAttacks = RookEmptyAttacks;
    static Bitboard AttacksOf(int square) { return RookAttacksOf(square, thread_board.AllPieces); }
};

template <>
struct PieceKind<BISHOP> {
    static constexpr int Section = 2;
    static constexpr auto AttackSets = &ThreadEvalInfo::bishop_attacks;
    static constexpr auto CheckMaps = &ThreadEvalInfo::bishop_check;
    static constexpr auto& Pin = BishopPin;
    static constexpr auto& EmptyAttacks = BishopEmptyAttacks;
    static Bitboard AttacksOf(int square) { return BishopAttacksOf(square, thread_board.AllPieces); }
};

template <>
struct PieceKind<QUEEN> {
    static constexpr int Section = 3;
    static constexpr auto AttackSets = &ThreadEvalInfo::queen_attacks;
    static constexpr auto CheckMaps = &ThreadEvalInfo::queen_check;
    static constexpr auto& Pin = QueenPin;
    static constexpr auto& EmptyAttacks = QueenEmptyAttacks;
    static Bitboard AttacksOf(int square) { return QueenAttacksOf(square, thread_board.AllPieces); }
};

/// For the man that a slider on `square` pins against the enemy king: the only one between them, and the enemy's own.
template <Colour us, int piece>
std::int32_t PinTerm(int square) {
    constexpr Colour them = ChangeSide(us);
    const int king = thread_board.KingSquare[them];
    if ((PieceKind<piece>::EmptyAttacks[square] & Bit(king)) == 0) [[likely]] {
        return 0;
    }
    const Bitboard between = Between[square][king] & ~Bit(square) & thread_board.AllPieces;
    const bool pinned = std::has_single_bit(between) && (between & thread_board.ColourPieces[them]) != 0;
    return pinned ? PieceKind<piece>::Pin[static_cast<int>(thread_board.Board[LowestSetBit(between)])] : 0;
}

/// What the pieces of one kind and colour gather against the enemy king. Lives over one loop; Store hands the sums to
/// thread_eval_info. A king that needs no protection has an empty zone and an empty check map here, so that the loops
/// need not ask. Nothing bounds the parameters, so the sums wrap.
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

/// The loop over the pieces of one kind and colour, with what all kinds have in common. `own_terms(square, seen,
/// attack)` answers the kind's own packed terms of a piece that attacks `seen`, and may add to its king attack.
template <Colour us, int piece, typename OwnTerms>
[[gnu::always_inline]] inline std::int32_t SumOverPieces(const OwnTerms& own_terms) {
    using Kind = PieceKind<piece>;
    ThreadEvalInfo& info = thread_eval_info;
    const std::int32_t* const position = PiecePosition[Kind::Section][info.wing_index[us]];
    KingAttack<us, piece> attack((info.*Kind::CheckMaps)[ChangeSide(us)]);
    Bitboard attacked = 0;
    std::int32_t value = 0;
    for (Bitboard pieces = PiecesOf(piece, us); pieces != 0;) {
        const int square = PopLowestBit(pieces);
        const Bitboard seen = Kind::AttacksOf(square);
        attacked |= seen;
        value = PackedAdd(value, position[TableSquare<us>(square)]);
        value = PackedAdd(value, own_terms(square, seen, attack));
        attack.Gather(square, seen);
        if constexpr (IsSlider(piece)) {
            value = PackedAdd(value, PinTerm<us, piece>(square));
        }
    }
    (info.*Kind::AttackSets)[us] = attacked;
    info.attacks[us] |= attacked;
    attack.Store();
    return value;
}

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
