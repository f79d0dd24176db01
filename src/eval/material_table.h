// Everything that the mere count of pieces says, computed once for every possible count and read with one
// index, thread_board.MaterialIndex. 531441 entries of 24 bytes in static memory.
#pragma once

#include "position/board.h"

struct MaterialEntry {
    std::int16_t current_phase;  // 0..256; MATERIAL_NOT_BUILT while the entry has not been computed
    std::int16_t black_phase;
    std::int16_t white_phase;
    std::int16_t score;        // imbalance in centipawns, Black's view, beside Material
    std::int16_t time_factor;  // 256 is 1.0
    std::int16_t defend_force[2];
    std::int16_t attack_force[2];
    std::int16_t pattern_class[2];  // row of PatternRow for (White, Black), for (Black, White); -1 for none
    std::uint8_t flags[2];          // by colour: MATERIAL_CANNOT_WIN, MATERIAL_ENDING
};
static_assert(sizeof(MaterialEntry) == 24);

inline constexpr std::int16_t MATERIAL_NOT_BUILT = 32700;
inline constexpr std::uint8_t MATERIAL_CANNOT_WIN = 1;
inline constexpr std::uint8_t MATERIAL_ENDING = 2;

/// Built by BuildMaterialTable; read-only in play. Owner: eval/material_table.cpp.
extern MaterialEntry MaterialTable[MATERIAL_OVERFLOW];

/// The entry of the position, or nullptr when the index lies outside the table.
inline const MaterialEntry* CurrentMaterial() {
    return thread_board.MaterialIndex < MATERIAL_OVERFLOW ? &MaterialTable[thread_board.MaterialIndex] : nullptr;
}

/// The MATERIAL_CANNOT_WIN flag of a colour; false outside the table.
inline bool MaterialCannotWin(Colour colour) {
    const MaterialEntry* entry = CurrentMaterial();
    return entry != nullptr && (entry->flags[colour] & MATERIAL_CANNOT_WIN) != 0;
}

/// The statistics that the table blends, valid only while it is built: indexed by SetIndex, PairIndex.
struct MaterialStatistics {
    const std::int32_t* imbalance;    // 2916
    const std::int32_t* army;         // 236196
    const std::int32_t* time_factor;  // 236196
};

/// Indexes of the statistics arrays, from piece counts.
int SetIndexOf(const int (&a)[8], const int (&b)[8]);  // counts by PieceCode
int PairIndexOf(const int (&a)[8], const int (&b)[8]);

/// Fills the table. Ends the process if the class table contradicts itself, which ordinary data cannot reach.
void BuildMaterialTable(const MaterialStatistics& statistics);

/// Overwrites the factors of the listed material pairs, in both colour orders, with their fixed values.
void AssignFixedTimeFactors(std::int32_t* factors);

// Questions about the position on the board (eval/material.cpp).

/// The whole material balance from Black's point of view for positions outside the table.
std::int32_t EvaluateMaterial();

/// Phases and force fields of thread_board from PieceCount, for positions outside the table.
void ComputeMaterialFallback();

/// The material pattern term of the full evaluation, Black's point of view, unpacked.
std::int32_t MaterialPatternTerm();
