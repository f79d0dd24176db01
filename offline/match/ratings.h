// The strength of many engines from all that they have scored against one another.
#pragma once

#include "match/statistics.h"

#include <array>
#include <vector>

/// What two engines scored against each other.
struct PairingScore {
    std::size_t first;
    std::size_t second;
    std::array<std::int64_t, 3> games;  // the first one lost, drew, won
    double deviation;                   // of the mean of the games, as DeviationOfScore has it
};

struct Rating {
    double elo;     // the mean of all engines is 0
    double margin;  // half the 95 % interval; infinite when the scores do not bound the fit
};

/// The likeliest strengths: those for which every engine's expected score over all its games, a logistic function of
/// the differences, is what it scored. Their errors come from the scatter within each pairing, or, where that has
/// none, from what chance alone would give at these strengths.
///
/// The scores bound the fit when no group of engines took every point from, or gave every point to, the rest. If they
/// do not, each pairing is credited with one drawn game more, which gives a rough picture, and the margins are
/// infinite.
std::vector<Rating> FitRatings(std::size_t engines, const std::vector<PairingScore>& scores);
