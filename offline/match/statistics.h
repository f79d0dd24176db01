// What a number of results says about the strength of two engines.
//
// Results are counted in classes of equal steps from 0 to 1: three classes for games (lost, drawn, won), five for pairs
// of games from one opening with colours swapped (0, 1/2, 1, 1 1/2, 2 points). Pairs are the better unit where they
// exist: what an opening gives one side it takes back in the second game, so pairs scatter less than games.
#pragma once

#include <cstdint>
#include <span>

using Counts = std::span<const std::int64_t>;

/// The expected score at a difference of `elo`, and back; a score of 0 or 1 is minus or plus infinity.
double ScoreFromElo(double elo);
double EloFromScore(double score);
inline constexpr double ELO_SCALE = 400;                  // for a factor of 10 in the chances
inline constexpr double QUANTILE_95 = 1.959963984540054;  // of the normal distribution, two-sided

struct Estimate {
    double elo;
    double margin;      // half the 95 % interval; infinite when the counts do not bound it
    double likelihood;  // of the first engine being the stronger, 0..1
};

/// The difference by the mean of `games`, its error by the scatter of `units`, which are the games or the pairs.
Estimate EstimateElo(Counts games, Counts units);

/// The standard deviation of the mean of `games`, by the scatter of `units`, or of the games where the units, being
/// few, have none; 0 when there is none either, or nothing at all.
double DeviationOfScore(Counts games, Counts units);

/// The mean of the classes, 0..1; there must be something counted.
double MeanOf(Counts counts);

struct SprtSettings {
    double elo0 = 0;
    double elo1 = 5;
    double alpha = 0.05;  // chance of accepting H1 (elo1) where H0 (elo0) holds
    double beta = 0.05;   // chance of accepting H0 where H1 holds
};

enum class SprtVerdict { OPEN, H0, H1 };

/// Logarithm of how much better elo1 explains the counts than elo0, each by its likeliest distribution of classes.
double LogLikelihoodRatio(Counts units, const SprtSettings& settings);

/// The bounds at which the test ends.
double LowerSprtBound(const SprtSettings& settings);
double UpperSprtBound(const SprtSettings& settings);
SprtVerdict JudgeSprt(double ratio, const SprtSettings& settings);
