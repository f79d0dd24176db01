#include "eval/parameters.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>
#include <vector>

#include "eval/init.h"
#include "eval/material_table.h"
#include "eval/packed.h"

// --- Storage: every line of the list defines its table with its defaults ---

#define PARAMETER(name, shape, layout, check, ...) std::int32_t name shape = {__VA_ARGS__};
#define FOLDED(name, count, defaults) \
    std::array<std::int32_t, (count)> name = (defaults);  // NOLINT(bugprone-macro-parentheses)
#define STATISTICS(store, count)
#define RESERVED(count)
#define ALTERNATING(count)
#define BLOCK(number)
#include "eval/parameter_list.inc"

#define PACKED(name, shape, opening, ending) std::int32_t name shape;
#include "eval/packed_list.inc"

std::int32_t MinorVsPawns[9];
std::int32_t BishopPairBonus[9];
std::int32_t PassedVsMinorsBoth[9];
std::int32_t CheckDanger[8];
std::int32_t KingSquareShelter[64];
std::int32_t PawnConnectedOpen[64];
std::int32_t PawnConnectedEnd[64];

namespace {

#define PARAMETER(name, shape, layout, check, ...) constexpr std::int32_t name##Default shape = {__VA_ARGS__};
#define FOLDED(name, count, defaults) constexpr std::array<std::int32_t, (count)> name##Default = (defaults);
#define STATISTICS(store, count)
#define RESERVED(count)
#define ALTERNATING(count)
#define BLOCK(number)
#include "eval/parameter_list.inc"

// --- The rules of the check, in the order in which it runs ---

constexpr std::int32_t LOWEST = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t HIGHEST = std::numeric_limits<std::int32_t>::max();

constexpr ParameterCheck UNCHECKED{0, LOWEST, HIGHEST};
constexpr ParameterCheck CHECK_FIANCHETTO{1, 0, HIGHEST};
constexpr ParameterCheck CHECK_CENTRE_OPEN{2, 0, HIGHEST};
constexpr ParameterCheck CHECK_CENTRE_HALF_OPEN{3, 0, HIGHEST};
constexpr ParameterCheck CHECK_DANGER_ROWS{4, 0, HIGHEST};
constexpr ParameterCheck CHECK_DANGER_CURVE{5, 0, HIGHEST};
constexpr ParameterCheck CHECK_SHELTER_PENALTY{6, 0, HIGHEST};
constexpr ParameterCheck CHECK_SHELTER_PATTERN{7, 0, HIGHEST};
constexpr ParameterCheck CHECK_SHELTER_FACTOR{8, 1, HIGHEST};
constexpr ParameterCheck CHECK_DEVELOPMENT_FACTOR{9, 1, HIGHEST};
constexpr ParameterCheck CHECK_QUEEN_DEVELOPMENT{10, 1, HIGHEST};
constexpr ParameterCheck CHECK_ATTACK_DEVELOPMENT{11, 1, HIGHEST};
constexpr ParameterCheck CHECK_KING_ZONE{12, LOWEST, 127};
constexpr ParameterCheck CHECK_DEVELOPMENT_CLASS{13, 0, 5};
constexpr ParameterCheck CHECK_DEVELOPMENT_OPEN{14, -200, 200};
constexpr ParameterCheck CHECK_DEVELOPMENT_END{15, -200, 200};

// --- The descriptors ---

/// The first number of an array of any shape. The arrays have no gaps, so the rest follows.
template <typename T>
constexpr auto First(T& table) {
    if constexpr (std::is_array_v<T>) {
        return First(table[0]);
    } else {
        return &table;
    }
}

template <typename T>
constexpr int CountOf(const T& table) {
    if constexpr (std::is_array_v<T>) {
        return static_cast<int>(std::extent_v<T>) * CountOf(table[0]);
    } else {
        return 1;
    }
}

constexpr int FivePieces[5] = {PAWN, ROOK, KNIGHT, BISHOP, QUEEN};
constexpr int FourPieces[4] = {KNIGHT, BISHOP, ROOK, QUEEN};

constexpr int PlacesOf(FileLayout layout, int entries) {
    switch (layout) {
        case FileLayout::MIRRORED:
            return entries == 8 ? 4 : entries;
        case FileLayout::HALF:
            return entries / 2;
        case FileLayout::FIVE_PIECES:
            return 5;
        case FileLayout::FOUR_PIECES:
            return 4;
        default:
            return entries;
    }
}

/// A line of the list: a descriptor, or a mark that says something about those that follow.
struct Line {
    Parameter parameter{};
    int starts_block = 0;
    int alternates = 0;
};

constexpr Line PlainLine(std::string_view name, FileLayout layout, ParameterCheck check, int entries,
                         std::int32_t* values, const std::int32_t* defaults) {
    return {.parameter = {name, 0, ParameterStore::TABLE, layout, check, 1, PlacesOf(layout, entries), entries, values,
                          defaults}};
}

constexpr Line StoreLine(ParameterStore store, int places) {
    return {.parameter = {{}, 0, store, FileLayout::IN_ORDER, UNCHECKED, 1, places, 0, nullptr, nullptr}};
}

#define PARAMETER(name, shape, layout, check, ...) \
    PlainLine(#name, FileLayout::layout, check, CountOf(name), First(name), First(name##Default)),
#define FOLDED(name, count, defaults) \
    PlainLine(#name, FileLayout::IN_ORDER, UNCHECKED, (count), (name).data(), name##Default.data()),
#define STATISTICS(store, count) StoreLine(ParameterStore::store, count),
#define RESERVED(count) StoreLine(ParameterStore::RESERVED, count),
#define ALTERNATING(count) Line{.alternates = (count)},
#define BLOCK(number) Line{.starts_block = (number)},
constexpr Line Lines[] = {
#include "eval/parameter_list.inc"
};

constexpr bool IsMark(const Line& line) {
    return line.starts_block != 0 || line.alternates != 0;
}

constexpr std::size_t CountParameters() {
    std::size_t count = 0;
    for (const Line& line : Lines) {
        if (!IsMark(line)) {
            ++count;
        }
    }
    return count;
}

constexpr auto ParameterList = [] {
    std::array<Parameter, CountParameters()> list{};
    std::size_t used = 0;
    int block = 0;
    int alternates = 1;
    for (const Line& line : Lines) {
        if (line.starts_block != 0) {
            block = line.starts_block;
        } else if (line.alternates != 0) {
            alternates = line.alternates;
        } else {
            list[used] = line.parameter;
            list[used].block = block;
            list[used].alternating = alternates;
            alternates = 1;
            ++used;
        }
    }
    return list;
}();

// --- The file's shape: blocks in order, each with its number of values, and groups of equal length ---

constexpr int BlockPlaces(int block) {
    int places = 0;
    for (const Parameter& parameter : ParameterList) {
        if (parameter.block == block) {
            places += parameter.places;
        }
    }
    return places;
}

constexpr int FilePlaces[PARAMETER_BLOCKS] = {
    8 + 6 + 6,
    10,
    IMBALANCE_SETS,
    231 + 3 * 32 + 17 + 512,
    51 + 320,
    8 + 416,
    128 + 64 + 64,
    35 + 16 + 384,
    32768,
    39 * 39,
    2 * (2 * 6 * 64 * 64),
    114 * 6 * 2 + 3 * 4 * 16,
    64 + 9 + 64 + 35 + 384,
    18 + 48 + 18 + 8 + 16 + 43,
    20 * 32,
    18 + 27,
    2 * 4 + 10 * 64,
    2 * 4 + 8 * 8 + 6 + 3 + 6 + 16 + 6 + 6 + 64,
    ARMY_PAIRS,
    5 + 5 + 5 + 13 + 13 + 9 + 5 + 144 + 1 + 8,
    2 * 36,
    8 + 6 + 16 + 1 + 4 * 4,
    2 * 1280,
    42 + 32,
    2 * 9 + 2 * 9 + 2 * 15 + 2 * 15 + 2 * 108 + 2 * 108 + 4 * 2 * 9 + 2 * 15 + 2 * 15 + 2 * 29 + 2 * 29};

/// The number of the first block that has another length than the file's, 0 if all agree.
constexpr int WrongBlock() {
    for (int block = 1; block <= PARAMETER_BLOCKS; ++block) {
        if (BlockPlaces(block) != FilePlaces[block - 1]) {
            return block;
        }
    }
    return 0;
}
static_assert(WrongBlock() == 0);

constexpr bool ListIsSound() {
    int block = 1;
    for (std::size_t i = 0; i < ParameterList.size(); ++i) {
        const Parameter& parameter = ParameterList[i];
        if (parameter.block < block || parameter.block > block + 1) {
            return false;
        }
        block = parameter.block;
        for (std::size_t j = 1; j < static_cast<std::size_t>(parameter.alternating); ++j) {
            if (i + j >= ParameterList.size() || ParameterList[i + j].places != parameter.places ||
                ParameterList[i + j].block != block) {
                return false;
            }
        }
    }
    return block == PARAMETER_BLOCKS;
}
static_assert(ListIsSound());

/// The imbalance statistics are told by the piece counts White, Black of queens (0..1), rooks, bishops, knights
/// (0..2), the first in the outermost loop.
int ImbalanceEntry(int place) {
    int white[8] = {};
    int black[8] = {};
    for (const int code : {KNIGHT, BISHOP, ROOK, QUEEN}) {
        const int counts = code == QUEEN ? 2 : 3;
        black[code] = place % counts;
        place /= counts;
        white[code] = place % counts;
        place /= counts;
    }
    return SetIndexOf(white, black);
}

void MirrorTables() {
    for (const Parameter& parameter : ParameterList) {
        if (parameter.layout != FileLayout::MIRRORED && parameter.layout != FileLayout::HALF) {
            continue;
        }
        for (int entry = 0; entry < parameter.entries; ++entry) {
            if ((entry & 4) != 0) {
                parameter.values[entry] = parameter.values[entry ^ 7];
            }
        }
    }
}

template <std::size_t steps>
void SpreadSteps(const std::int32_t (&step)[steps], std::int32_t* out, int count) {
    for (int i = 0; i < count; ++i) {
        out[i] = step[std::min(static_cast<std::size_t>(i), steps - 1)];
    }
}

template <int count>
void ExpandColumns(const std::int32_t (&column)[4][count], std::int32_t (&table)[64]) {
    for (int square = 0; square < 64; ++square) {
        table[square] = column[std::min(FileOf(square), 7 - FileOf(square))][RankOf(square)];
    }
}

}  // namespace

std::span<const Parameter> Parameters() {
    return ParameterList;
}

int EntryOfPlace(const Parameter& parameter, int place) {
    if (parameter.store == ParameterStore::IMBALANCE) {
        return ImbalanceEntry(place);
    }
    switch (parameter.layout) {
        case FileLayout::HALF:
            return 8 * (place / 4) + place % 4;
        case FileLayout::FIVE_PIECES:
            return FivePieces[place];
        case FileLayout::FOUR_PIECES:
            return FourPieces[place];
        default:
            return place;
    }
}

void StoreValue(const Parameter& parameter, int place, std::int32_t value) {
    const int entry = EntryOfPlace(parameter, place);
    parameter.values[entry] = value;
    if (parameter.layout == FileLayout::MIRRORED || parameter.layout == FileLayout::HALF) {
        parameter.values[entry ^ 7] = value;
    }
}

void AssignParameterDefaults() {
    for (const Parameter& parameter : ParameterList) {
        std::copy_n(parameter.defaults, parameter.entries, parameter.values);
    }
    InitKingZoneValue();
    InitOppositeBishops();
}

void ValidateParameters() {
    MirrorTables();

    std::vector<const Parameter*> checked;
    for (const Parameter& parameter : ParameterList) {
        if (parameter.check.order != 0) {
            checked.push_back(&parameter);
        }
    }
    std::ranges::stable_sort(checked, {}, [](const Parameter* parameter) { return parameter->check.order; });

    int count = 0;
    for (const Parameter* parameter : checked) {
        for (std::int32_t& value : std::span(parameter->values, static_cast<std::size_t>(parameter->entries))) {
            ++count;
            const std::int32_t bounded = std::clamp(value, parameter->check.low, parameter->check.high);
            if (bounded != value) {
                std::printf("fix [%d, %d to %d]; \n", count, value, bounded);
            }
            value = bounded;
        }
    }
    std::fflush(stdout);

    for (int rank = 0; rank < 6; ++rank) {
        KpkWinValue[rank] = 800 + 20 * rank;
    }
}

void PackTable(const std::int32_t* opening, const std::int32_t* ending, std::int32_t* packed, int count) {
    for (int i = 0; i < count; ++i) {
        packed[i] = Pack(opening[i], ending[i]);
    }
}

void ExpandPawnConnected() {
    ExpandColumns(PawnConnectedColumnOpen, PawnConnectedOpen);
    ExpandColumns(PawnConnectedColumnEnd, PawnConnectedEnd);
}

void BuildDerivedRows() {
    SpreadSteps(MinorVsPawnsStep, MinorVsPawns, 9);
    PassedVsMinorsBoth[0] = 0;
    SpreadSteps(PassedVsMinorsStep, PassedVsMinorsBoth + 1, 8);
    std::fill_n(BishopPairBonus, 4, BishopPairBonusStep[0]);
    SpreadSteps(BishopPairBonusStep, BishopPairBonus + 4, 5);
    CheckDanger[KNIGHT] = KnightCheckDanger[0];
    CheckDanger[BISHOP] = BishopCheckDanger[0];
    CheckDanger[ROOK] = RookCheckDanger[0];
    CheckDanger[QUEEN] = QueenCheckDanger[0];
    ExpandColumns(KingSquareShelterColumn, KingSquareShelter);
    ExpandPawnConnected();
}

void PackParameters() {
#define PACKED(name, shape, opening, ending)                                                 \
    static_assert(sizeof(name) == sizeof(opening) && sizeof(name) == sizeof(ending), #name); \
    PackTable(First(opening), First(ending), First(name), CountOf(name));
#include "eval/packed_list.inc"
}
