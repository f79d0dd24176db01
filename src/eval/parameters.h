// The numbers of the evaluation: parameters, the tables derived from them, and the descriptor list that drives
// the parameter file, the check of the values and a tuner.
//
// Every parameter is a plain global signed 32-bit scalar or array, named, shaped and given its default by one line
// of eval/parameter_list.inc. The evaluation never reads a parameter that has two halves: it reads the packed table
// that PackParameters makes of them (eval/packed_list.inc).
//
// Owner: eval/parameters.cpp. Written by LoadParameterFile and BuildEvaluationTables, at start-up and by `reload`;
// read-only during a search.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>

#include "eval/built_in_piece_square.h"

/// Lengths of the statistics that the file carries beside the parameters.
inline constexpr int IMBALANCE_SETS = 2916;
inline constexpr int ARMY_PAIRS = 236196;
inline constexpr int MOVE_COUNT_VALUES = 2 * 2 * 6 * 64 * 64;

// --- The parameters ---

#define PARAMETER(name, shape, layout, check, ...) extern std::int32_t name shape;
#define FOLDED(name, count, defaults) \
    extern std::array<std::int32_t, (count)> name;  // NOLINT(bugprone-macro-parentheses)
#define STATISTICS(store, count)
#define RESERVED(count)
#define ALTERNATING(count)
#define BLOCK(number)
#include "eval/parameter_list.inc"

// --- Derived tables, built by BuildDerivedRows ---

extern std::int32_t MinorVsPawns[9];     // by pawn count
extern std::int32_t BishopPairBonus[9];  // by the enemy's pawn count
extern std::int32_t PassedVsMinorsBoth[9];
extern std::int32_t CheckDanger[8];         // by PieceCode
extern std::int32_t KingSquareShelter[64];  // by king square, from White's view
extern std::int32_t PawnConnectedOpen[64];
extern std::int32_t PawnConnectedEnd[64];

// --- Packed tables ---

#define PACKED(name, shape, opening, ending) extern std::int32_t name shape;
#include "eval/packed_list.inc"

/// The fifth section of PiecePosition.
inline constexpr std::int32_t (&PawnPiecePosition)[4][64] = PiecePosition[4];

// --- The descriptors ---

/// Which entry the n-th value of the file fills.
enum class FileLayout : std::uint8_t {
    IN_ORDER,
    MIRRORED,     // rows of eight by file; a value also goes to the mirrored file. A single row has 4 values in the
                  // file, a table all its values, of which the later of a pair stays
    HALF,         // 64 squares of which files a..d stand in the file; files e..h are copies
    FIVE_PIECES,  // by PieceCode: pawn, rook, knight, bishop, queen
    FOUR_PIECES   // by PieceCode: knight, bishop, rook, queen
};

enum class ParameterStore : std::uint8_t { TABLE, RESERVED, IMBALANCE, ARMY, MOVE_COUNTS };

/// A rule of ValidateParameters. The parameters are checked in rising `order`; 0 means not at all.
struct ParameterCheck {
    int order;
    std::int32_t low;
    std::int32_t high;
};

struct Parameter {
    std::string_view name;  // empty for places that are no parameter
    int block;              // of the file, from 1
    ParameterStore store;
    FileLayout layout;
    ParameterCheck check;
    int alternating;               // this parameter and the following take values in turn: how many, 1 for alone
    int places;                    // values in the file
    int entries;                   // of `values`; 0 when there are none
    std::int32_t* values;          // nullptr unless the store is TABLE
    const std::int32_t* defaults;  // as many as `values`
};

inline constexpr int PARAMETER_BLOCKS = 25;

/// All parameters in the order of the file.
std::span<const Parameter> Parameters();

/// Entry of `values` that the n-th value of the file fills; for IMBALANCE the statistics are stored by SetIndex but
/// told in the order of the nested piece counts.
int EntryOfPlace(const Parameter& parameter, int place);

/// Puts the n-th value of the file into `values`, and into the mirror image's entry of half and mirrored tables.
void StoreValue(const Parameter& parameter, int place, std::int32_t value);

/// Calls `visit(parameter, place)` for every value of the file, in its order.
template <typename Visit>
void ForEachPlace(Visit&& visit) {
    const std::span<const Parameter> list = Parameters();
    for (std::size_t first = 0; first < list.size(); first += static_cast<std::size_t>(list[first].alternating)) {
        const std::span<const Parameter> group = list.subspan(first, static_cast<std::size_t>(list[first].alternating));
        for (int place = 0; place < group[0].places; ++place) {
            for (const Parameter& parameter : group) {
                visit(parameter, place);
            }
        }
    }
}

/// Puts every parameter back to its built-in default. Not part of `reload`.
void AssignParameterDefaults();

/// Mirrors the rows and half tables and brings every checked value into its bounds, with a line for each that was
/// outside.
void ValidateParameters();

// --- The builders ---

/// packed[i] = (opening[i] << 16) + ending[i] for i below count; the addition lets a negative ending half borrow
/// from the opening half.
void PackTable(const std::int32_t* opening, const std::int32_t* ending, std::int32_t* packed, int count);

/// The tables whose parameters are fewer numbers than entries.
void BuildDerivedRows();

/// The step of BuildDerivedRows that the self test repeats: spreads the file columns of PawnConnected over all
/// eight files.
void ExpandPawnConnected();

/// Fills all packed tables.
void PackParameters();

/// Cuts the piece-square parameters to 16 bits into the source rows that BuildPieceSquareTable reads, both wings
/// alike. PieceSquareTable itself stays as it is. In eval/piece_square.cpp.
void BuildPieceSquareSource();
