#include "eval/init.h"

#include <algorithm>

#include "eval/evaluation.h"
#include "eval/material_table.h"
#include "eval/move_stats.h"
#include "eval/parameter_file.h"
#include "eval/parameters.h"
#include "eval/sigmoids.h"

void InitOppositeBishops() {
    std::ranges::fill(OppositeBishopsMaterial, 256);
    std::ranges::fill(OppositeBishopsPosition, 256);
}

void InitKingZoneValue() {
    std::fill_n(KingZoneValue, 128, 1);
    std::fill_n(KingZoneValue + 128, 128, 0);
    std::fill_n(KingZoneValue + 256, 128, 4);
}

// Each step reads what the steps before it have left.
void BuildEvaluationTables(const MaterialStatistics& statistics) {
    ValidateParameters();
    BuildDerivedRows();
    BuildPieceSquareSource();
    BuildMaterialTable(statistics);
    BuildSigmoids();
    PackParameters();
}

void InitEvaluation() {
    EvaluationStatistics statistics = LoadParameterFile();
    BuildMoveStats(statistics.move_counts);
    AssignFixedTimeFactors(statistics.time_factors.data());
    BuildEvaluationTables({.imbalance = statistics.imbalance.data(),
                           .army = statistics.army.data(),
                           .time_factor = statistics.time_factors.data()});
    // What was kept was worked out with the numbers before.
    ClearPawnHash();
    ClearEvalHash();
}
