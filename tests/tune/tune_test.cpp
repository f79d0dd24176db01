// The tuner: what it turns, what it takes from games, and that it finds its way.
#include "support/random_positions.h"
#include "tune/fit.h"
#include "tune/knobs.h"
#include "tune/positions.h"
#include "tune/slopes.h"

#include "eval/init.h"
#include "eval/parameter_file.h"
#include "position/settings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

namespace {

class Tune : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        PrepareEvaluation();
        AssignParameterDefaults();
        // Something to be mirrored, weighed and cut off in every table.
        std::mt19937 random(7);
        for (const Knob& knob : ListKnobs()) {
            SetKnob(knob,
                    std::clamp(KnobValue(knob) + static_cast<std::int32_t>(random() % 9) - 2, knob.low, knob.high));
        }
        BuildEvaluationTables(Statistics());
    }

    static const MaterialStatistics& Statistics() {
        static const EvaluationStatistics lists;
        static const MaterialStatistics statistics{
            .imbalance = lists.imbalance.data(), .army = lists.army.data(), .time_factor = lists.time_factors.data()};
        return statistics;
    }

    static std::vector<Sample> Samples(std::size_t count) {
        std::vector<Sample> samples;
        for (const std::string& fen : RandomPositions(3, 4, 90)) {
            SetupFen(fen);
            samples.push_back({thread_board, 0.5F, 0, 0});
        }
        std::vector<Sample> some;
        for (std::size_t i = 0; i < count; ++i) {
            some.push_back(samples[i * samples.size() / count]);
        }
        return some;
    }
};

TEST_F(Tune, KnobsFillEveryEntryOnceAndKeepMirrorImagesAlike) {
    std::set<const std::int32_t*> filled;
    for (const Knob& knob : ListKnobs()) {
        for (const int entry : std::set<int>{knob.entries[0], knob.entries[1]}) {
            ASSERT_GE(entry, 0);
            ASSERT_LT(entry, knob.parameter->entries);
            EXPECT_TRUE(filled.insert(knob.parameter->values + entry).second) << knob.parameter->name << entry;
        }
    }
    int missing = 0;
    for (const Parameter& parameter : Parameters()) {
        for (int place = 0; parameter.store == ParameterStore::TABLE && place < parameter.places; ++place) {
            missing += !filled.contains(parameter.values + EntryOfPlace(parameter, place));
        }
    }
    // Piece squares, shared parts, classes, fixed values, thresholds and the guides to mate.
    EXPECT_EQ(missing, PIECE_SQUARE_COLUMN_VALUES + 6 + 64 + 6 + 2 + 1 + 3 + 64);

    // A board mirrored left to right is worth the same: no knob tells the wings apart.
    testing::internal::CaptureStdout();
    ValidateParameters();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// What counts only by a setting must count while the numbers are tuned.
TEST_F(Tune, TheStyleIsThatOfPlay) {
    EXPECT_EQ(AggressivityRate, 50);
    EXPECT_EQ(CowardiceRate, 50);
}

TEST_F(Tune, SlopesAreTheDifferenceQuotientsOfSingleKnobs) {
    std::vector<Knob> knobs = ListKnobs();
    int material = 0;  // slow, because the material table is built for each
    std::erase_if(knobs, [&](const Knob& knob) { return knob.material && material++ % 10 != 0; });
    const std::vector<Sample> samples = Samples(40);
    const SlopeTable table = MeasureSlopes(samples, knobs, Statistics(), 2, [](std::size_t) {});
    ASSERT_EQ(table.begin.size(), samples.size() + 1);

    std::map<std::pair<std::size_t, std::size_t>, int> measured;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        for (std::size_t place = table.begin[i]; place < table.begin[i + 1]; ++place) {
            measured[{i, table.slopes[place].knob}] = table.slopes[place].value;
        }
    }
    std::size_t checked = 0;
    std::size_t missed = 0;
    for (std::size_t k = 0; k < knobs.size(); k += 3) {
        const Knob& knob = knobs[k];
        const std::int32_t value = KnobValue(knob);
        const std::int32_t step = value + knob.step > knob.high ? -knob.step : knob.step;
        std::vector<std::int32_t> before;
        for (const Sample& sample : samples) {
            before.push_back(EvaluateSample(sample));
        }
        SetKnob(knob, value + step);
        RebuildTables(Statistics(), knob.material);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double slope = (EvaluateSample(samples[i]) - before[i]) * knob.spread / step / SLOPE_UNIT;
            const auto found = measured.find({i, k});
            if (slope == 0) {
                EXPECT_EQ(found, measured.end()) << knob.parameter->name;
            } else if (found == measured.end()) {
                ++missed;
            } else {
                EXPECT_NEAR(found->second, std::clamp(slope, -32767.0, 32767.0), 0.51) << knob.parameter->name;
                ++checked;
            }
        }
        SetKnob(knob, value);
        RebuildTables(Statistics(), knob.material);
    }
    // Answers of a group may cancel out now and then.
    EXPECT_GT(checked, 500);
    EXPECT_LT(missed * 30, checked);
}

TEST_F(Tune, TheFitFindsTheNumbersThatMadeTheResults) {
    constexpr std::size_t KNOBS = 20;
    constexpr std::size_t SAMPLES = 60'000;
    constexpr double SCALE = 150;
    std::mt19937_64 random(11);
    const auto uniform = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    std::vector<double> truth(KNOBS);
    for (double& offset : truth) {
        offset = 2 * uniform() - 1;
    }
    SlopeTable table{{0}, {}};
    std::vector<Observation> observations;
    for (std::size_t i = 0; i < SAMPLES; ++i) {
        double score = 400 * uniform() - 200;
        const auto base = static_cast<float>(score);
        for (std::size_t k = 0; k < 4; ++k) {
            const Slope slope{static_cast<std::uint16_t>(random() % KNOBS),
                              static_cast<std::int16_t>(random() % 16001 - 8000)};
            score += slope.value * SLOPE_UNIT * truth[slope.knob];
            table.slopes.push_back(slope);
        }
        table.begin.push_back(table.slopes.size());
        observations.push_back({base, uniform() < ExpectedPoints(score, SCALE) ? 1.0F : 0.0F, 1.0F});
    }
    // The second half of the numbers move together; that direction alone must not hide the single ones.
    std::vector<Axis> axes;
    for (int k = 0; k < static_cast<int>(KNOBS); ++k) {
        axes.push_back({1.0, {k}});
    }
    axes.push_back({1.0, {10, 11, 12, 13, 14, 15, 16, 17, 18, 19}});

    const std::vector<double> zero(KNOBS);
    const std::vector<double> steps =
        FitSteps(observations, table, axes, zero, SCALE, std::vector<double>(axes.size()));
    const std::vector<double> found = KnobOffsets(axes, steps, KNOBS);
    for (std::size_t k = 0; k < KNOBS; ++k) {
        EXPECT_NEAR(found[k], truth[k], 0.2) << k;
    }
    // From the goal there is no way to go, and scores that hold the truth give the scale back.
    const std::vector<double> again = FitSteps(observations, table, axes, zero, SCALE, steps);
    for (std::size_t d = 0; d < axes.size(); ++d) {
        EXPECT_NEAR(again[d], steps[d], 0.01);
    }
    for (std::size_t i = 0; i < SAMPLES; ++i) {
        for (std::size_t place = table.begin[i]; place < table.begin[i + 1]; ++place) {
            const Slope& slope = table.slopes[place];
            observations[i].score += static_cast<float>(slope.value * SLOPE_UNIT * truth[slope.knob]);
        }
    }
    EXPECT_NEAR(FitScale(observations), SCALE, 5);
}

TEST_F(Tune, QuietSearchedPositionsOfFinishedGamesAreTaken) {
    // Without a comment: book. Then a quiet move, a capture, a quiet one, a check, an answer to it, and a score that
    // settles the game.
    const std::string moves =
        "1. e4 e5 2. Nf3 {+0.30/8} Nc6 {+0.20/8} 3. Nxe5 {-2.10/8} d6 {-2.00/8} 4. Bb5 {-1.00/9} Bd7 {+9.99/9} "
        "5. Bxc6 {+0.10/3} Qh4 {0.052s} 6. Bxd7+ {-0.05/3} Kd8 {+0.50/4} 7. Nf3 {+6.50/4} ";
    const std::string game = "[Result \"1-0\"]\n\n" + moves + "1-0\n\n";
    std::vector<Sample> samples;
    int games = 0;
    int unreadable = 0;
    SamplePositions(game + "[Result \"0-1\"]\n\n1. e5 {+0.10/1} 0-1\n\n[Result \"*\"]\n\n" + moves + "*\n\n" + game,
                    {.per_game = 100, .seed = 1}, games, unreadable, samples);
    EXPECT_EQ(games, 3);
    EXPECT_EQ(unreadable, 1);
    std::map<std::int32_t, int> scores;
    for (const Sample& sample : samples) {
        ++scores[sample.score];
        EXPECT_EQ(sample.result, 1.0F);
        EXPECT_EQ(sample.game, 0);  // the last game has no new position
    }
    // Not Bxd7+ and Kd8 (a check to be met), not Nxe5 and Bxc6, not Bd7 (settled), not what has no score.
    const std::map<std::int32_t, int> expected{{30, 1}, {20, 1}, {-200, 1}, {-100, 1}, {650, 1}};
    EXPECT_EQ(scores, expected);
}

}  // namespace
