#include "match/statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

/// Stands for a class that has not been seen: without it a one-sided run would have no scatter and no likelihood.
constexpr double UNSEEN = 1e-3;

/// Beyond these scores Elo says nothing that a match could measure, and the bisection below would run out of digits.
constexpr double LOWEST_SCORE = 1e-6;

constexpr int BISECTIONS = 100;

double TotalOf(Counts counts) {
    double total = 0;
    for (const std::int64_t count : counts) {
        total += static_cast<double>(count);
    }
    return total;
}

double ScoreOfClass(std::size_t index, std::size_t classes) {
    return static_cast<double>(index) / static_cast<double>(classes - 1);
}

double VarianceOf(Counts counts) {
    const double mean = MeanOf(counts);
    double sum = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double distance = ScoreOfClass(i, counts.size()) - mean;
        sum += static_cast<double>(counts[i]) * distance * distance;
    }
    return sum / TotalOf(counts);
}

/// 0 when nothing has been counted.
double DeviationOfMean(Counts counts) {
    const double total = TotalOf(counts);
    return total > 0 ? std::sqrt(VarianceOf(counts) / total) : 0;
}

double NormalDistribution(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

/// The largest log-likelihood, per unit, among distributions of mean `score`, against that of the observed shares
/// (so never above 0). With a multiplier x the best distribution is p / (1 + x (a - score)); x is the one root of
/// its distance from the mean, a falling function between the poles.
double LikelihoodAtMean(const std::vector<double>& shares, double score) {
    double low = -1 / (1 - score);
    double high = 1 / score;
    const auto weight = [&](std::size_t i, double x) { return 1 + x * (ScoreOfClass(i, shares.size()) - score); };
    for (int step = 0; step < BISECTIONS; ++step) {
        const double x = (low + high) / 2;
        double sum = 0;
        for (std::size_t i = 0; i < shares.size(); ++i) {
            sum += shares[i] * (ScoreOfClass(i, shares.size()) - score) / weight(i, x);
        }
        (sum > 0 ? low : high) = x;
    }
    double likelihood = 0;
    for (std::size_t i = 0; i < shares.size(); ++i) {
        likelihood -= shares[i] * std::log(weight(i, (low + high) / 2));
    }
    return likelihood;
}

}  // namespace

double MeanOf(Counts counts) {
    double sum = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        sum += static_cast<double>(counts[i]) * ScoreOfClass(i, counts.size());
    }
    return sum / TotalOf(counts);
}

double ScoreFromElo(double elo) {
    return 1 / (1 + std::pow(10, -elo / ELO_SCALE));
}

double EloFromScore(double score) {
    if (score <= 0) {
        return -std::numeric_limits<double>::infinity();
    }
    if (score >= 1) {
        return std::numeric_limits<double>::infinity();
    }
    return -ELO_SCALE * std::log10(1 / score - 1);
}

double DeviationOfScore(Counts games, Counts units) {
    const double deviation = DeviationOfMean(units);
    return deviation > 0 ? deviation : DeviationOfMean(games);  // the first few pairs are often all alike
}

Estimate EstimateElo(Counts games, Counts units) {
    if (TotalOf(games) == 0) {
        return {0, std::numeric_limits<double>::infinity(), 0.5};
    }
    const double mean = MeanOf(games);
    const double deviation = DeviationOfScore(games, units);
    if (deviation == 0) {
        // All alike: nothing bounds the error, and only the side that is ahead can be told.
        return {EloFromScore(mean), std::numeric_limits<double>::infinity(), mean > 0.5 ? 1.0 : mean < 0.5 ? 0.0 : 0.5};
    }
    const double high = EloFromScore(mean + QUANTILE_95 * deviation);
    const double low = EloFromScore(mean - QUANTILE_95 * deviation);
    return {EloFromScore(mean), (high - low) / 2, NormalDistribution((mean - 0.5) / deviation)};
}

double LogLikelihoodRatio(Counts units, const SprtSettings& settings) {
    if (TotalOf(units) == 0) {
        return 0;
    }
    std::vector<double> shares;
    double total = 0;
    for (const std::int64_t count : units) {
        shares.push_back(std::max(static_cast<double>(count), UNSEEN));
        total += shares.back();
    }
    for (double& share : shares) {
        share /= total;
    }
    const auto at = [&](double elo) {
        return LikelihoodAtMean(shares, std::clamp(ScoreFromElo(elo), LOWEST_SCORE, 1 - LOWEST_SCORE));
    };
    return total * (at(settings.elo1) - at(settings.elo0));
}

double LowerSprtBound(const SprtSettings& settings) {
    return std::log(settings.beta / (1 - settings.alpha));
}

double UpperSprtBound(const SprtSettings& settings) {
    return std::log((1 - settings.beta) / settings.alpha);
}

SprtVerdict JudgeSprt(double ratio, const SprtSettings& settings) {
    return ratio >= UpperSprtBound(settings)   ? SprtVerdict::H1
           : ratio <= LowerSprtBound(settings) ? SprtVerdict::H0
                                               : SprtVerdict::OPEN;
}
