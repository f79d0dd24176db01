#include "eval/material_table.h"

#include "eval/parameters.h"
#include "eval/trade_rules.h"
#include "platform/process.h"

#include <array>
#include <cassert>
#include <cstdio>

MaterialEntry MaterialTable[MATERIAL_OVERFLOW];

namespace {

constexpr int PIECE_SETS = 81;  // of one side: 0..2 queens, rooks, bishops, knights
constexpr int PAWN_COUNTS = TABLE_PAWNS + 1;
constexpr int SET_INDEXES = 2916;
constexpr int PATTERN_CLASSES = 114;
constexpr int ARMY_INDEXES = 486;

/// What an entry copies from each side's army.
struct TableArmy : Army {
    int material_index;  // as White's; Black's is three times as much up to the pawns
    int army_index;      // meaningless with two queens
    std::int16_t phase;
    std::int16_t defend_force;
    std::int16_t attack_force;
    std::uint8_t own_flags;    // MATERIAL_CANNOT_WIN
    std::uint8_t enemy_flags;  // MATERIAL_ENDING of the enemy, who has little to fear from this army
};

using TableArmies = std::array<std::array<TableArmy, PAWN_COUNTS>, PIECE_SETS>;

/// The value of the parts that pawns do not change, and of one pawn, at one end of the blend.
struct BlendEnd {
    std::int64_t pieces;
    std::int64_t white_pawn;
    std::int64_t black_pawn;
};

/// What two piece sets say, whatever their pawns.
struct SetPair {
    int set_index;           // of (White, Black), -1 with two queens on a side
    std::int64_t imbalance;  // half of d2
    int thin_weight;         // in 1/256, 0..24: the pieces missing from both armies
    BlendEnd thin;
    BlendEnd full;
};

int ArmyIndexOf(const int (&count)[8]) {
    return count[PAWN] + 9 * count[KNIGHT] + 27 * count[BISHOP] + 81 * count[ROOK] + 243 * count[QUEEN];
}

std::int16_t WeightedForce(const Army& army, const std::int32_t (&weight)[8], std::int32_t pawn_weight) {
    std::int64_t force = std::int64_t{army.Pawns()} * pawn_weight;
    for (const int code : {QUEEN, ROOK, BISHOP, KNIGHT}) {
        force += std::int64_t{army.count[code]} * weight[code];
    }
    return static_cast<std::int16_t>(force);
}

/// No pawn, no heavy piece and at most two knights or one bishop.
bool TooWeakToWin(const Army& army) {
    return army.Pawns() == 0 && army.heavy == 0 && army.points + army.Pawns() < 7 &&
           (army.count[BISHOP] == 0 || army.points < 4);
}

bool TooWeakToAttack(const Army& army) {
    return army.points < 10 || (army.count[QUEEN] == 0 && army.points < 15);
}

/// Sets are numbered with the queens as the leading digit, then rooks, bishops, knights: that is the order of
/// the symmetry rule, too.
TableArmies BuildArmies() {
    TableArmies armies;
    for (int set = 0; set < PIECE_SETS; ++set) {
        for (int pawns = 0; pawns < PAWN_COUNTS; ++pawns) {
            TableArmy& army = armies[static_cast<std::size_t>(set)][static_cast<std::size_t>(pawns)];
            static_cast<Army&>(army) = MakeArmy(set / 27, set / 9 % 3, set / 3 % 3, set % 3, pawns);
            army.material_index = 0;
            for (const int code : {QUEEN, ROOK, BISHOP, KNIGHT}) {
                army.material_index += army.count[code] * MaterialIndexWeight[code][WHITE];
            }
            army.army_index = ArmyIndexOf(army.count);
            army.phase = static_cast<std::int16_t>(SidePhase(army));
            army.defend_force = DefendForce(army);
            army.attack_force = AttackForce(army);
            army.own_flags = TooWeakToWin(army) ? MATERIAL_CANNOT_WIN : 0;
            army.enemy_flags = TooWeakToAttack(army) ? MATERIAL_ENDING : 0;
        }
    }
    return armies;
}

MaterialEntry& EntryOf(const TableArmy& white, const TableArmy& black) {
    return MaterialTable[white.material_index + 3 * black.material_index +
                         white.Pawns() * MaterialIndexWeight[PAWN][WHITE] +
                         black.Pawns() * MaterialIndexWeight[PAWN][BLACK]];
}

/// Piece sets that are balanced enough, and small enough, to have a row of PatternRow: numbers from 0 in the
/// order of the counts of queens, rooks, bishops, knights, White's before Black's; -1 for all others.
std::array<std::int16_t, SET_INDEXES> BuildPatternClasses() {
    std::array<std::int16_t, SET_INDEXES> classes;
    classes.fill(-1);
    std::int16_t next = 0;
    const auto pieces = [](const Army& army) { return army.minors + army.count[ROOK] + army.count[QUEEN]; };
    for (int digits = 0; digits < 4 * 729; ++digits) {
        const Army white = MakeArmy(digits / 1458, digits / 243 % 3, digits / 27 % 3, digits / 3 % 3, 0);
        const Army black = MakeArmy(digits / 729 % 2, digits / 81 % 3, digits / 9 % 3, digits % 3, 0);
        const int difference = white.points - black.points;
        if (white.points <= 9 && black.points <= 9 &&
            ((difference > -5 && difference < 5) || (pieces(white) < 2 && pieces(black) < 2))) {
            classes[static_cast<std::size_t>(SetIndexOf(white.count, black.count))] = next++;
        }
    }
    assert(next == PATTERN_CLASSES);
    return classes;
}

/// A pawn's value between the four corners of both armies' shares of heavy pieces, 0..256.
std::int64_t BlendedPawn(int own, int enemy, const std::int32_t* corner) {
    const std::int64_t light = 256 - own;
    const std::int64_t enemy_light = 256 - enemy;
    return (std::int64_t{own} * enemy * corner[0] + light * enemy * corner[1] + own * enemy_light * corner[2] +
            light * enemy_light * corner[3]) /
           65536;
}

/// 5 and 9 points in units of 256: 256 for an army of rooks and queens alone.
int HeavyShare(const Army& army) {
    return army.points == 0 ? 0 : (army.count[ROOK] * 1280 + army.count[QUEEN] * 2304) / army.points;
}

/// One end of the blend: `own` are the values of its end beside the common ones.
BlendEnd MakeBlendEnd(const Army& white, const Army& black, const std::int32_t (&own)[8], std::int64_t minor,
                      std::int64_t heavy, const std::int32_t* corner) {
    const auto value = [&](int code) { return std::int64_t{own[code]} + PieceValueCommon[code]; };
    const auto pieces_up = [&](int code) { return std::int64_t{white.count[code] - black.count[code]}; };
    const int white_share = HeavyShare(white);
    const int black_share = HeavyShare(black);
    return {(value(QUEEN) + 2 * heavy) * pieces_up(QUEEN) + (value(ROOK) + heavy) * pieces_up(ROOK) +
                (value(BISHOP) + minor) * pieces_up(BISHOP) + (value(KNIGHT) + minor) * pieces_up(KNIGHT),
            BlendedPawn(white_share, black_share, corner) + value(PAWN),
            BlendedPawn(black_share, white_share, corner) + value(PAWN)};
}

SetPair MakeSetPair(const Army& white, const Army& black, const MaterialStatistics& statistics) {
    SetPair pair{};
    pair.set_index = -1;
    if (white.count[QUEEN] < 2 && black.count[QUEEN] < 2) {
        pair.set_index = SetIndexOf(white.count, black.count);
        pair.imbalance = (std::int64_t{statistics.imbalance[pair.set_index]} -
                          statistics.imbalance[SetIndexOf(black.count, white.count)]) /
                         2;
    }
    pair.thin_weight = std::max(24 - white.Force() - black.Force(), 0);
    pair.thin = MakeBlendEnd(white, black, PieceValueThin, std::int64_t{MinorThin} + MinorCommon,
                             std::int64_t{HeavyThin} + HeavyCommon, PawnCorner + 4);
    pair.full = MakeBlendEnd(white, black, PieceValueFull, std::int64_t{MinorFull} + MinorCommon,
                             std::int64_t{HeavyFull} + HeavyCommon, PawnCorner);
    return pair;
}

std::int64_t BishopPairs(const Army& white, const Army& black) {
    return (white.count[BISHOP] > 1 ? BishopPairBonus[black.Pawns()] : 0) -
           std::int64_t{black.count[BISHOP] > 1 ? BishopPairBonus[white.Pawns()] : 0};
}

/// The imbalance from White's point of view. All divisions truncate.
std::int64_t Imbalance(const SetPair& pair, const TableArmy& white, const TableArmy& black,
                       const MaterialStatistics& statistics) {
    std::int64_t value = 0;
    if (pair.set_index >= 0) {
        const std::int64_t difference =
            std::int64_t{statistics.army[white.army_index * ARMY_INDEXES + black.army_index]} -
            statistics.army[black.army_index * ARMY_INDEXES + white.army_index];
        value = -(difference / 2) - pair.imbalance;
    }
    const TradeVerdict trades = ApplyTradeRules(white, black);
    value += trades.value;
    value += BishopPairs(white, black);
    value += std::int64_t{white.count[ROOK] - black.count[ROOK]} * RookPawnsValue(white.Pawns() + black.Pawns());

    const auto at_end = [&](const BlendEnd& end) {
        return end.pieces + end.white_pawn * white.Pawns() - end.black_pawn * black.Pawns();
    };
    std::int64_t thin = at_end(pair.thin);
    for (int trade = 0; trade < TRADES; ++trade) {
        thin += std::int64_t{trades.indicator[trade]} * TradeThin[trade];
    }
    value += (thin * pair.thin_weight + at_end(pair.full) * (256 - pair.thin_weight)) / 256;
    return ScaleThinLead(value, white, black);
}

void FillEntry(const TableArmy& white, const TableArmy& black, std::int16_t score, std::int16_t own_class,
               std::int16_t other_class, const MaterialStatistics& statistics) {
    MaterialEntry& entry = EntryOf(white, black);
    assert(entry.current_phase == MATERIAL_NOT_BUILT);
    entry.current_phase = static_cast<std::int16_t>(CommonPhase(white, black));
    entry.black_phase = black.phase;
    entry.white_phase = white.phase;
    entry.score = score;
    entry.defend_force[WHITE] = white.defend_force;
    entry.defend_force[BLACK] = black.defend_force;
    entry.attack_force[WHITE] = white.attack_force;
    entry.attack_force[BLACK] = black.attack_force;
    entry.pattern_class[0] = own_class;
    entry.pattern_class[1] = other_class;
    entry.flags[WHITE] = static_cast<std::uint8_t>(white.own_flags | black.enemy_flags);
    entry.flags[BLACK] = static_cast<std::uint8_t>(black.own_flags | white.enemy_flags);
    entry.time_factor = 256;
    if (white.count[QUEEN] < 2 && black.count[QUEEN] < 2) {
        entry.time_factor =
            static_cast<std::int16_t>(statistics.time_factor[white.army_index * ARMY_INDEXES + black.army_index]);
    }
}

[[noreturn]] void RefuseClasses(int own_class, int other_class, const Army& white, const Army& black) {
    std::printf("{%d %d} %d %d %d %d %d %d %d %d\n", own_class, other_class, white.count[QUEEN], black.count[QUEEN],
                white.count[ROOK], black.count[ROOK], white.count[BISHOP], black.count[BISHOP], white.count[KNIGHT],
                black.count[KNIGHT]);
    ExitEngine(1);
}

}  // namespace

std::int16_t DefendForce(const Army& army) {
    return WeightedForce(army, DefendWeight, DefendWeightPawn);
}

std::int16_t AttackForce(const Army& army) {
    return WeightedForce(army, AttackWeight, AttackWeightPawn);
}

int SetIndexOf(const int (&a)[8], const int (&b)[8]) {
    return a[QUEEN] * 1458 + b[QUEEN] * 27 + a[ROOK] * 486 + b[ROOK] * 9 + a[BISHOP] * 162 + b[BISHOP] * 3 +
           a[KNIGHT] * 54 + b[KNIGHT];
}

int PairIndexOf(const int (&a)[8], const int (&b)[8]) {
    return ArmyIndexOf(a) * ARMY_INDEXES + ArmyIndexOf(b);
}

// An entry and its mirror image are filled together, the mirror's score being the other one negated. Which of
// the two is computed matters, because the parameters need not be symmetric under rounding: it is the one whose
// White has less at the first difference in queens, rooks, bishops, knights, pawns.
void BuildMaterialTable(const MaterialStatistics& statistics) {
    for (MaterialEntry& entry : MaterialTable) {
        entry.current_phase = MATERIAL_NOT_BUILT;
    }
    const TableArmies armies = BuildArmies();
    const std::array<std::int16_t, SET_INDEXES> classes = BuildPatternClasses();

    for (std::size_t white_set = 0; white_set < PIECE_SETS; ++white_set) {
        for (std::size_t black_set = white_set; black_set < PIECE_SETS; ++black_set) {
            const Army& white_pieces = armies[white_set][0];
            const Army& black_pieces = armies[black_set][0];
            const SetPair pair = MakeSetPair(white_pieces, black_pieces, statistics);
            std::int16_t own_class = -1;
            std::int16_t other_class = -1;
            if (pair.set_index >= 0) {
                own_class = classes[static_cast<std::size_t>(pair.set_index)];
                other_class = classes[static_cast<std::size_t>(SetIndexOf(black_pieces.count, white_pieces.count))];
            }
            if ((own_class < 0) != (other_class < 0)) {
                RefuseClasses(own_class, other_class, white_pieces, black_pieces);
            }
            for (std::size_t white_pawns = 0; white_pawns < PAWN_COUNTS; ++white_pawns) {
                for (std::size_t black_pawns = white_set == black_set ? white_pawns : 0; black_pawns < PAWN_COUNTS;
                     ++black_pawns) {
                    const TableArmy& white = armies[white_set][white_pawns];
                    const TableArmy& black = armies[black_set][black_pawns];
                    const auto score = static_cast<std::int16_t>(-Imbalance(pair, white, black, statistics));
                    FillEntry(white, black, score, own_class, other_class, statistics);
                    if (&white != &black) {
                        FillEntry(black, white, static_cast<std::int16_t>(-score), other_class, own_class, statistics);
                    }
                }
            }
        }
    }
}
