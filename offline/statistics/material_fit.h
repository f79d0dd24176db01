// From the results of games to the statistics that the material table blends in.
//
// What the engine says about a situation without statistics becomes an expected share of points by a logistic curve
// whose scale is fitted to the very games. A set of pieces then gets the centipawns that bring its games to their
// actual share; what they leave unexplained of a pair of armies becomes a statistic of that pair. Both are drawn
// towards 0 as if further games had shown nothing of the kind.
#pragma once

#include <string>
#include <vector>

#include "eval/parameter_file.h"
#include "statistics/material_results.h"

/// What the engine says: the plain material and the score of the material table; or the scores of the searches, which
/// know what else the sides had, so that only a misjudgement of the material itself is left.
enum class MeasuredAgainst { MATERIAL, SEARCH };

struct MaterialFitSettings {
    MeasuredAgainst against = MeasuredAgainst::MATERIAL;
    int prior = 100;  // games at even chances that speak for 0
    int least = 30;   // games below which nothing is said
    int bound = 80;   // centipawns
};

/// A set of pieces or a pair of armies that has got a number, from the view of the side that is named first.
struct MaterialFinding {
    std::string name;  // "RRN/RRB", "QRP5/QRNP3"
    double games;
    double share;     // of the points, 0..1
    double expected;  // of what the engine says without this statistic
    int centipawns;
};

struct MaterialFit {
    double scale = 0;  // centipawns that make the odds e to 1; 0 when leads did not win
    std::vector<MaterialFinding> sets;
    std::vector<MaterialFinding> armies;
};

/// Replaces imbalance and army of `statistics`. Needs the parameters and BuildDerivedRows; leaves the material table
/// built with the new statistics.
///
/// A statistic of x stands as -x under the pair in its order and as x under the pair turned round: the table takes half
/// of their difference, negated. Leads that the table scales down for want of pawns scale the statistics with them.
MaterialFit FitMaterial(const std::vector<SituationResult>& results, const MaterialFitSettings& settings,
                        EvaluationStatistics& statistics);
