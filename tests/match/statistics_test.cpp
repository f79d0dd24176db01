#include "match/statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

/// The largest log-likelihood of lost, drawn and won games under a distribution of mean `score`, by search over the
/// share of draws, of which it is a concave function.
double BestLikelihood(const std::array<double, 3>& counts, double score) {
    const auto likelihood = [&](double draws) {
        return counts[0] * std::log(1 - score - draws / 2) + counts[1] * std::log(draws) +
               counts[2] * std::log(score - draws / 2);
    };
    double low = 0;
    double high = 2 * std::min(score, 1 - score);
    for (int step = 0; step < 300; ++step) {
        const double third = (high - low) / 3;
        if (likelihood(low + third) < likelihood(high - third)) {
            low += third;
        } else {
            high -= third;
        }
    }
    return likelihood((low + high) / 2);
}

TEST(MatchStatistics, EloAndScoreAreInverse) {
    EXPECT_NEAR(EloFromScore(0.75), 190.848, 0.001);
    EXPECT_NEAR(ScoreFromElo(-100), 0.359935, 1e-6);
    for (const double elo : {-800.0, -5.0, 0.0, 12.5, 600.0}) {
        EXPECT_NEAR(EloFromScore(ScoreFromElo(elo)), elo, 1e-8);
    }
    EXPECT_TRUE(std::isinf(EloFromScore(1)) && EloFromScore(1) > 0);
    EXPECT_TRUE(std::isinf(EloFromScore(0)) && EloFromScore(0) < 0);
}

TEST(MatchStatistics, FewOrEqualResultsBoundNothing) {
    const std::array<std::int64_t, 3> none = {0, 0, 0};
    const std::array<std::int64_t, 3> all_won = {0, 0, 7};
    EXPECT_TRUE(std::isinf(EstimateElo(none, none).margin));
    EXPECT_EQ(EstimateElo(none, none).likelihood, 0.5);
    EXPECT_TRUE(std::isinf(EstimateElo(all_won, all_won).margin));
    EXPECT_EQ(EstimateElo(all_won, all_won).likelihood, 1.0);
    // Two even pairs say nothing of the scatter; the games behind them do.
    const std::array<std::int64_t, 3> games = {2, 0, 3};
    const std::array<std::int64_t, 5> pairs = {0, 0, 2, 0, 0};
    EXPECT_NEAR(EstimateElo(games, pairs).likelihood, EstimateElo(games, games).likelihood, 1e-12);
}

TEST(MatchStatistics, LikelihoodRatioAgreesWithSearch) {
    const SprtSettings settings{0, 10, 0.05, 0.05};
    for (const std::array<std::int64_t, 3> counts :
         {std::array<std::int64_t, 3>{40, 100, 60}, {60, 100, 40}, {1, 1, 1}, {900, 20, 1000}}) {
        const std::array<double, 3> real = {static_cast<double>(counts[0]), static_cast<double>(counts[1]),
                                            static_cast<double>(counts[2])};
        const double expected = BestLikelihood(real, ScoreFromElo(10)) - BestLikelihood(real, ScoreFromElo(0));
        EXPECT_NEAR(LogLikelihoodRatio(counts, settings), expected, 1e-6) << counts[0];
    }
    const std::array<std::int64_t, 5> pairs = {100, 300, 900, 420, 120};
    EXPECT_NEAR(LogLikelihoodRatio(pairs, {0, 5, 0.05, 0.05}), 4.396166, 1e-5);
}

TEST(MatchStatistics, LikelihoodRatioOfOneSidedCounts) {
    // Every win is worth ln(s1 / s0), whatever the draws that never came.
    const std::array<std::int64_t, 3> wins = {0, 0, 1000};
    const std::array<std::int64_t, 3> losses = {1000, 0, 0};
    const SprtSettings settings{0, 10, 0.05, 0.05};
    EXPECT_NEAR(LogLikelihoodRatio(wins, settings), 1000 * std::log(ScoreFromElo(10) / 0.5), 0.1);
    EXPECT_NEAR(LogLikelihoodRatio(losses, settings), 1000 * std::log((1 - ScoreFromElo(10)) / 0.5), 0.1);
    EXPECT_EQ(LogLikelihoodRatio(std::array<std::int64_t, 3>{0, 0, 0}, settings), 0);
}

TEST(MatchStatistics, SprtStopsAtItsBounds) {
    const SprtSettings uneven{0, 5, 0.01, 0.1};
    EXPECT_NEAR(UpperSprtBound(uneven), std::log(0.9 / 0.01), 1e-12);
    EXPECT_NEAR(LowerSprtBound(uneven), std::log(0.1 / 0.99), 1e-12);
    EXPECT_EQ(JudgeSprt(4.5, uneven), SprtVerdict::H1);
    EXPECT_EQ(JudgeSprt(-2.3, uneven), SprtVerdict::H0);
    EXPECT_EQ(JudgeSprt(4.49, uneven), SprtVerdict::OPEN);
    EXPECT_EQ(JudgeSprt(-2.29, uneven), SprtVerdict::OPEN);
}

}  // namespace
