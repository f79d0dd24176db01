// Knights and bishops.
#include "eval/pieces_parts.h"

#include <algorithm>

namespace {

/// The tables of one kind of minor piece.
template <int piece>
struct MinorTables;

template <>
struct MinorTables<KNIGHT> {
    static constexpr auto& Mobility = KnightMobility;
    static constexpr auto& SafeMobility = KnightSafeMobility;
    static constexpr auto& LowMobility = KnightLowMobility;
    static constexpr auto& Outpost = KnightOutpost;
    static constexpr auto& OutpostGuarded = KnightOutpostGuarded;
    static constexpr auto& OutpostContested = KnightOutpostContested;
};

template <>
struct MinorTables<BISHOP> {
    static constexpr auto& Mobility = BishopMobility;
    static constexpr auto& SafeMobility = BishopSafeMobility;
    static constexpr auto& LowMobility = BishopLowMobility;
    static constexpr auto& Outpost = BishopOutpost;
    static constexpr auto& OutpostGuarded = BishopOutpostGuarded;
    static constexpr auto& OutpostContested = BishopOutpostContested;
};

/// Piece classes of the trapped tables by rank seen by the owner.
constexpr int TrapClass[8] = {0, 1, 2, 2, 2, 2, 2, 3};

/// Fewer safe squares than this and the piece may be trapped.
constexpr int FREE_ENOUGH = 5;

/// Where a piece has left its own camp and has not run against the far edge: files b..g on the third to the seventh
/// rank.
template <Colour us>
constexpr Bitboard FIELD = (us == WHITE ? 0x00ffffffffff0000ULL : 0x0000ffffffffff00ULL) & ~FILE_A & ~FILE_H;

template <Colour us, int piece>
std::int32_t MobilityTerm(int square, Bitboard seen) {
    using Tables = MinorTables<piece>;
    const Bitboard free = ~thread_board.ColourPieces[us];
    const Bitboard safe = seen & ~(thread_eval_info.enemy_pawn_attacks[us] | thread_eval_info.blocked_pawns[us]);
    const int safe_count = PopCount(safe);
    std::int32_t value = PackedAdd(Tables::Mobility[PopCount(seen & free)], Tables::SafeMobility[safe_count]);
    if (safe_count < FREE_ENOUGH) {
        const Bitboard field = safe & FIELD<us>;
        value =
            PackedAdd(value, Tables::LowMobility[TrapClass[RankSeenBy<us>(square)]][std::min(safe_count, 2)]
                                                [std::min(PopCount(field), 2)][std::min(PopCount(field & free), 2)]);
    }
    return value;
}

/// A square on or beyond the third rank from which no enemy pawn can ever drive the piece away; more when a pawn
/// guards it, and less of that when a bishop can still take it and only one pawn takes back.
template <Colour us, int piece>
std::int32_t OutpostTerm(int square) {
    using Tables = MinorTables<piece>;
    constexpr Colour them = ChangeSide(us);
    if (RankSeenBy<us>(square) < 2) {
        return 0;
    }
    if ((ConeAhead<us>(square) & AdjacentFiles[square] & PiecesOf(PAWN, them)) != 0) {
        return 0;
    }
    const int entry = TableSquare<us>(square);
    const std::int32_t value = Tables::Outpost[entry];
    const Bitboard guards = PiecesOf(PAWN, us) & PawnAttackersOf(us, square);
    if (guards == 0) {
        return value;
    }
    const bool contested = std::has_single_bit(guards) && (PiecesOf(BISHOP, them) & SquaresLike(square)) != 0;
    return PackedAdd(value, contested ? Tables::OutpostContested[entry] : Tables::OutpostGuarded[entry]);
}

template <Colour us, int piece>
std::int32_t MinorTerms(int square, Bitboard seen) {
    return PackedAdd(MobilityTerm<us, piece>(square, seen), OutpostTerm<us, piece>(square));
}

/// Pawns that stand in the way of a colour's only bishop.
template <Colour us>
std::int32_t LoneBishopTerm() {
    const Bitboard pawns = PiecesOf(PAWN, us) & SquaresLike(LowestSetBit(PiecesOf(BISHOP, us)));
    const Bitboard barred = thread_board.AllPieces | thread_eval_info.enemy_pawn_attacks[us];
    const Bitboard fixed = pawns & StepBack<us>(barred);
    // A set-up board can hold more than eight pawns.
    return PackedSub(0, PackedAdd(BishopSameColourPawns[std::min(PopCount(pawns), 8)],
                                  BishopFixedPawns[std::min(PopCount(fixed), 8)]));
}

/// A bishop at home behind the pawn that has stepped to the third rank before the king.
template <Colour us>
bool BishopFillsFianchetto() {
    constexpr int home_row = us == WHITE ? A1 : A8;
    constexpr int hole = us == WHITE ? G2 : G7;
    constexpr Bitboard posts = Bit(home_row + 5) | Bit(home_row + 7) | Bit(hole);
    const int king = thread_board.KingSquare[us];
    const Bitboard pawns = PiecesOf(PAWN, us);
    return thread_eval_info.ending[us] == 0 && (KingAttacks[king] & Bit(hole)) != 0 && (pawns & Bit(hole)) == 0 &&
           (pawns & StepOn<us>(Bit(hole))) != 0 && (PiecesOf(BISHOP, us) & posts) != 0;
}

/// What a colour's bishops are worth together.
template <Colour us>
std::int32_t BishopGroupTerms() {
    constexpr Colour them = ChangeSide(us);
    std::int32_t value = 0;
    if (thread_board.PieceCount[BISHOP][us] == 1) {
        value = LoneBishopTerm<us>();
    }
    if (thread_board.PieceWeight[us] < 9 && thread_board.PieceWeight[us] == thread_board.PieceWeight[them] &&
        thread_board.PieceCount[BISHOP][them] == 0 && PawnsOnBothWings()) {
        value = PackedAdd(value, BishopAgainstKnightWings);
    }
    if (BishopFillsFianchetto<us>()) {
        value = PackedAdd(value, FianchettoBishop);
    }
    return value;
}

}  // namespace

template <Colour us>
std::int32_t KnightTerms() {
    const int closed = std::min(PopCount(thread_eval_info.blocked_pawns[ChangeSide(us)]), 8);
    const std::int32_t value = SumOverPieces<us, KNIGHT>([&](int square, Bitboard seen, auto&) {
        return PackedAdd(KnightClosedPosition[closed], MinorTerms<us, KNIGHT>(square, seen));
    });
    return PackedAdd(value, ClosedPosition[closed]);
}

template <Colour us>
std::int32_t BishopTerms() {
    if (PiecesOf(BISHOP, us) == 0) {
        return 0;
    }
    const std::int32_t value = SumOverPieces<us, BISHOP>(
        [](int square, Bitboard seen, auto&) { return MinorTerms<us, BISHOP>(square, seen); });
    return PackedAdd(value, BishopGroupTerms<us>());
}

template std::int32_t KnightTerms<WHITE>();
template std::int32_t KnightTerms<BLACK>();
template std::int32_t BishopTerms<WHITE>();
template std::int32_t BishopTerms<BLACK>();
