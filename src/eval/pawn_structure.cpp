#include "eval/pawn_structure.h"

#include "eval/colour_view.h"
#include "eval/evaluation.h"
#include "eval/packed.h"
#include "eval/parameters.h"
#include "eval/pawn_hash.h"

#include <bit>

namespace {

/// The pawns as one colour sees them.
struct PawnView {
    Bitboard own;
    Bitboard enemy;
    Bitboard all;
    Bitboard enemy_attacks;
};

template <Colour us>
PawnView ViewOfPawns() {
    constexpr Colour them = ChangeSide(us);
    const Bitboard own = thread_board.Pieces[PAWN][us];
    const Bitboard enemy = thread_board.Pieces[PAWN][them];
    return {.own = own, .enemy = enemy, .all = own | enemy, .enemy_attacks = AttackedByPawns<them>(enemy)};
}

/// The packed sums of the structure, Black's point of view.
struct StructureSums {
    std::int32_t common = 0;
    std::int32_t wing[4] = {};  // by wing_index[WHITE]

    template <Colour us>
    void Credit(const std::int32_t (&table)[64], int square) {
        Add<us>(common, table[PawnTableSquare<us>(square)]);
    }
    template <Colour us>
    void Debit(const std::int32_t (&table)[64], int square) {
        Add<ChangeSide(us)>(common, table[PawnTableSquare<us>(square)]);
    }
    template <Colour us>
    static void Add(std::int32_t& sum, std::int32_t value) {
        sum = us == BLACK ? PackedAdd(sum, value) : PackedSub(sum, value);
    }
};

template <Colour us>
void AddPawnSquares(StructureSums& sums, int square) {
    // Bits of the wing index change places for Black: own king, enemy king.
    constexpr int Row[2][4] = {{0, 1, 2, 3}, {0, 2, 1, 3}};
    const int seen = us == BLACK ? square : MirrorRank(square);
    for (int i = 0; i < 4; ++i) {
        StructureSums::Add<us>(sums.wing[i], PawnPiecePosition[Row[us][i]][seen]);
    }
}

/// A pawn that has neighbours, all of them ahead. It is relieved when it can safely step up beside one.
template <Colour us>
bool IsBackward(const PawnView& view, int square) {
    const Bitboard neighbours = view.own & AdjacentFiles[square];
    if (neighbours == 0 || (neighbours & ~ConeAhead<us>(square)) != 0) {
        return false;
    }
    const Bitboard pawn = Bit(square);
    const Bitboard barred = view.all | view.enemy_attacks;
    const Bitboard step = StepOn<us>(pawn);
    const bool attacked = (pawn & view.enemy_attacks) != 0;
    if ((neighbours & PawnAttacksFrom<us>(square)) != 0) {
        return (step & barred) != 0 || attacked;
    }
    if ((pawn & RankMaskSeenBy<us>(1)) != 0 && (neighbours & RankMaskSeenBy<us>(3)) != 0) {
        return ((step | StepOn<us>(step)) & barred) != 0 || attacked;
    }
    return true;
}

/// A pawn with the file open before it whose helpers, the own pawns beside it or behind on the next files, can lead it
/// past the enemy pawns there.
template <Colour us>
bool IsCandidate(const PawnView& view, int square) {
    const Bitboard cone = ConeAhead<us>(square);
    const Bitboard helpers = view.own & AdjacentFiles[square] & ~cone;
    const Bitboard sentries = view.enemy & AdjacentFiles[square] & cone;
    const Bitboard defenders = view.own & PawnAttacksFrom<ChangeSide(us)>(square);
    const Bitboard attackers = view.enemy & PawnAttacksFrom<us>(square);
    return PopCount(helpers) >= PopCount(sentries) && PopCount(defenders) >= PopCount(attackers);
}

/// A far advanced pawn held by a single enemy pawn straight ahead, and a pawn defending it from behind that can come
/// up and lift the block: no enemy pawn is ahead of that one, on its file or on the next file out.
template <Colour us>
bool HasLever(const PawnView& view, int square) {
    if (RankSeenBy<us>(square) < 5) {
        return false;
    }
    const Bitboard block = StepOn<us>(Bit(square)) & view.enemy;
    if (block == 0 || (ConeAhead<us>(LowestSetBit(block)) & view.enemy) != 0) {
        return false;
    }
    for (Bitboard helpers = view.own & PawnAttacksFrom<ChangeSide(us)>(square); helpers != 0;) {
        // Of the cone's three files the inner one is the file of the lever itself.
        const Bitboard outward = ConeAhead<us>(PopLowestBit(helpers)) & ~AheadOnFile<us>(square);
        if ((outward & view.enemy) == 0) {
            return true;
        }
    }
    return false;
}

template <Colour us>
void AddPawn(const PawnView& view, StructureSums& sums, int square) {
    PawnHashEntry& entry = thread_board.PawnEntry;
    const auto file = static_cast<std::uint8_t>(1 << FileOf(square));
    const bool doubled = (view.own & BehindOnFile<us>(square)) != 0;
    const bool isolated = (view.own & AdjacentFiles[square]) == 0;
    const bool backward = IsBackward<us>(view, square);
    const bool open = (view.all & AheadOnFile<us>(square)) == 0;
    const bool passed = open && (view.enemy & ConeAhead<us>(square)) == 0;

    AddPawnSquares<us>(sums, square);
    entry.PawnFiles[us] |= file;
    if ((view.own & CompanionSquares<us>(square)) != 0) {
        sums.Credit<us>(PawnConnected, square);
    }
    if (passed) {
        entry.PassedFiles(us) |= file;
    }
    if (HasLever<us>(view, square)) {
        sums.Credit<us>(PawnLever, square);
    }
    if (doubled) {
        sums.Debit<us>(PawnDoubled, square);
    }
    if (isolated) {
        sums.Debit<us>(open ? PawnIsolatedOpen : PawnIsolated, square);
    }
    if (backward) {
        sums.Debit<us>(open ? PawnBackwardOpen : PawnBackward, square);
    }
    if (open && (isolated || backward)) {
        entry.WeakFilesOf(us) |= file;
    }
    if (open && !passed && IsCandidate<us>(view, square)) {
        sums.Credit<us>(PawnCandidate, square);
    }
}

template <Colour us>
void AddPawns(StructureSums& sums) {
    const PawnView view = ViewOfPawns<us>();
    for (Bitboard pawns = view.own; pawns != 0;) {
        AddPawn<us>(view, sums, PopLowestBit(pawns));
    }
}

/// The difference of the spans of Black's and White's files: from the outermost file to the outermost, 0 for none.
std::int32_t SpanDifference(const std::int32_t (&bonus)[9], std::uint8_t black_files, std::uint8_t white_files) {
    const auto span = [](std::uint8_t files) {
        return files == 0 ? 0 : static_cast<int>(std::bit_width(files)) - std::countr_zero(files);
    };
    return PackedSub(bonus[span(black_files)], bonus[span(white_files)]);
}

// Wing shelter.

/// Digit of ShelterPattern: how far the own pawn of the file has gone, and whether the enemy has none.
template <Colour us>
int ShelterDigit(const PawnView& view, int file) {
    const Bitboard own = view.own & FILE_A << file;
    const int enemy_gone = (view.enemy & FILE_A << file) == 0 ? 4 : 0;
    for (int steps = 0; steps < 3; ++steps) {
        if ((own & RankMaskSeenBy<us>(1 + steps)) != 0) {
            return enemy_gone + steps;
        }
    }
    return enemy_gone + 3;
}

/// The worth of the enemy pawns that come near. The home rank that they are counted from is that of the pawns: on it
/// the distance would be 0, and all entries of the three tables can come up.
template <Colour us>
std::uint32_t StormOf(const PawnView& view, Bitboard half, Bitboard cover) {
    constexpr Colour them = ChangeSide(us);
    std::uint32_t sum = 0;
    for (Bitboard storm = view.enemy & half; storm != 0;) {
        const int square = PopLowestBit(storm);
        const int distance = RankSeenBy<us>(square) - 1;
        if (distance < 1 || distance > 4) {
            continue;
        }
        const bool contact = (PawnAttacksFrom<them>(square) & cover) != 0;
        const bool blocked = (StepOn<them>(Bit(square)) & cover) != 0;
        const auto& table = contact ? StormContact : blocked ? StormBlocked : StormFree;
        sum += static_cast<std::uint32_t>(table[distance - 1]);
    }
    return sum;
}

/// `inner` is the wing's file next to the centre, `outward` the step from there to the edge.
template <Colour us>
std::uint8_t WingShelterOf(const PawnView& view, int inner, int outward) {
    const Bitboard wing = FILE_A << inner | FILE_A << (inner + outward) | FILE_A << (inner + 2 * outward);
    const int pattern = ShelterDigit<us>(view, inner) + 8 * ShelterDigit<us>(view, inner + outward) +
                        64 * ShelterDigit<us>(view, inner + 2 * outward);
    const Bitboard half = wing | FILE_A << (inner - outward);
    // The byte keeps the low bits of the sum.
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(ShelterPattern[pattern]) +
                                     StormOf<us>(view, half, view.own & wing));
}

template <Colour us>
void SetWingShelter() {
    constexpr int FileC = 2;
    constexpr int FileF = 5;
    const PawnView view = ViewOfPawns<us>();
    thread_board.PawnEntry.WingShelter[us][0] = WingShelterOf<us>(view, FileF, 1);
    thread_board.PawnEntry.WingShelter[us][1] = WingShelterOf<us>(view, FileC, -1);
}

/// Fills PawnEntry for the pawns on the board.
void ComputeStructure() {
    PawnHashEntry& entry = thread_board.PawnEntry;
    entry = {};
    entry.key = thread_board.PawnKey;
    SetWingShelter<WHITE>();
    SetWingShelter<BLACK>();

    StructureSums sums;
    AddPawns<BLACK>(sums);
    AddPawns<WHITE>(sums);
    const std::int32_t spans =
        PackedAdd(SpanDifference(PawnSpanBonus, entry.PawnFiles[BLACK], entry.PawnFiles[WHITE]),
                  SpanDifference(PassedSpanBonus, entry.PassedFiles(BLACK), entry.PassedFiles(WHITE)));
    for (int i = 0; i < 4; ++i) {
        entry.pawn_score[i] = PackedAdd(PackedAdd(sums.common, spans), sums.wing[i]);
    }
}

}  // namespace

void EvaluatePawnStructure() {
    // The working copy is mostly right already: few moves are pawn moves.
    if (!LoadPawnEntry()) {
        ComputeStructure();
        StorePawnEntry();
    }
    ThreadEvalInfo& info = thread_eval_info;
    PawnHashEntry& entry = thread_board.PawnEntry;
    info.packed = PackedAdd(info.packed, entry.pawn_score[info.wing_index[WHITE]]);
    for (const Colour colour : {WHITE, BLACK}) {
        info.passed_pawns[colour] = thread_board.Pieces[PAWN][colour] & FILE_A * entry.PassedFiles(colour);
    }
}
