// Who plays whom, and what all the scores together say.

#include "match/ratings.h"
#include "match/schedule.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

namespace {

TEST(MatchSchedule, EveryPairingPlaysTheSameOpeningsWithBothColours) {
    for (const auto& [engines, tournament, pairings] :
         {std::tuple<std::size_t, Tournament, std::size_t>{2, Tournament::ROUND_ROBIN, 1},
          {2, Tournament::GAUNTLET, 1},
          {4, Tournament::ROUND_ROBIN, 6},
          {5, Tournament::GAUNTLET, 4}}) {
        Schedule schedule{Pairings(engines, tournament), std::vector<Opening>(3), {2, 0, 1}};
        ASSERT_EQ(schedule.pairings.size(), pairings);
        constexpr int ROUNDS = 8;
        std::map<std::pair<std::size_t, std::size_t>, std::vector<const Opening*>> games;  // by White, Black
        for (int number = 0; number < ROUNDS * static_cast<int>(pairings); ++number) {
            const auto players = schedule.EnginesOf(number);
            games[{players[WHITE], players[BLACK]}].push_back(&schedule.OpeningOf(number, true));
            EXPECT_EQ(&schedule.OpeningOf(number, false), &schedule.openings[schedule.order[number / pairings % 3]]);
        }
        const std::vector<const Opening*> expected = {&schedule.openings[2], &schedule.openings[0],
                                                      &schedule.openings[1], &schedule.openings[2]};
        EXPECT_EQ(games.size(), 2 * pairings);
        for (const auto& [players, openings] : games) {
            EXPECT_NE(players.first, players.second);
            EXPECT_TRUE(tournament == Tournament::ROUND_ROBIN || players.first == 0 || players.second == 0);
            EXPECT_EQ(openings, expected);
        }
    }
}

TEST(MatchRatings, TwoEnginesAreTheOldEstimate) {
    const std::array<std::int64_t, 3> games = {4000, 10000, 6000};
    const Estimate estimate = EstimateElo(games, games);
    const auto ratings = FitRatings(2, {{1, 0, games, DeviationOfScore(games, games)}});
    EXPECT_NEAR(ratings[1].elo, estimate.elo / 2, 1e-6) << "the mean of both is 0";
    EXPECT_NEAR(ratings[0].elo, -estimate.elo / 2, 1e-6);
    EXPECT_NEAR(ratings[1].margin, estimate.margin / 2, 0.01);
}

// Games drawn by lot from known strengths: every engine's expected score is what it scored, and the truth lies within
// the margins as often as they promise.
TEST(MatchRatings, FindKnownStrengths) {
    constexpr std::size_t ENGINES = 5;
    constexpr std::array<double, ENGINES> TRUTH = {120, 40, 0, -10, -150};
    std::mt19937 random(7);
    int inside = 0;
    int tries = 0;
    for (const Tournament tournament : {Tournament::ROUND_ROBIN, Tournament::GAUNTLET}) {
        for (int repeat = 0; repeat < 300; ++repeat) {
            std::vector<PairingScore> scores;
            for (const Pairing& pairing : Pairings(ENGINES, tournament)) {
                PairingScore score{pairing.first, pairing.second, {}, 0};
                const double win = ScoreFromElo(TRUTH[pairing.first] - TRUTH[pairing.second]) - 0.15;
                for (int game = 0; game < 200; ++game) {
                    const double lot = static_cast<double>(random()) / 4294967296.0;
                    ++score.games[lot < win ? 2 : lot < win + 0.3 ? 1 : 0];
                }
                score.deviation = DeviationOfScore(score.games, score.games);
                scores.push_back(score);
            }
            const auto ratings = FitRatings(ENGINES, scores);
            std::array<double, ENGINES> surplus{};
            double sum = 0;
            for (const PairingScore& score : scores) {
                const double points = static_cast<double>(score.games[2]) + 0.5 * static_cast<double>(score.games[1]) -
                                      200 * ScoreFromElo(ratings[score.first].elo - ratings[score.second].elo);
                surplus[score.first] += points;
                surplus[score.second] -= points;
            }
            for (std::size_t i = 0; i < ENGINES; ++i) {
                sum += ratings[i].elo;
                EXPECT_NEAR(surplus[i], 0, 1e-6);
                inside += std::fabs(ratings[i].elo - TRUTH[i]) <= ratings[i].margin;
                ++tries;
            }
            EXPECT_NEAR(sum, 0, 1e-6);
        }
    }
    EXPECT_NEAR(static_cast<double>(inside) / tries, 0.95, 0.015);
}

TEST(MatchRatings, OneSidedScoresBoundNothing) {
    // The first has lost no point, and all is tied to it.
    const std::vector<PairingScore> scores = {{0, 1, {0, 0, 9}, 0}, {0, 2, {0, 0, 3}, 0}, {1, 2, {2, 2, 4}, 0.1}};
    const auto ratings = FitRatings(3, scores);
    EXPECT_TRUE(ratings[0].elo > ratings[1].elo && ratings[1].elo > ratings[2].elo);
    EXPECT_TRUE(std::isinf(ratings[0].margin) && std::isinf(ratings[2].margin));
    // One half point is a bound. Where a pairing shows no scatter, chance stands in.
    const auto bounded = FitRatings(3, {{0, 1, {0, 1, 8}, 0}, {0, 2, {0, 0, 3}, 0}, {1, 2, {2, 2, 4}, 0.1}});
    EXPECT_TRUE(std::isfinite(bounded[0].elo) && bounded[0].margin > 0 && std::isfinite(bounded[0].margin));
    const auto none = FitRatings(3, {{0, 1, {}, 0}, {0, 2, {}, 0}, {1, 2, {}, 0}});
    EXPECT_EQ(none[2].elo, 0);
    EXPECT_TRUE(std::isinf(none[2].margin));
}

}  // namespace
