#include "tune/tuner.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <string>
#include <utility>

#include "progress.h"
#include "tune/fit.h"
#include "tune/slopes.h"

namespace {

/// Every tenth game is held out.
bool IsHeldOut(const Sample& sample) {
    return sample.game % 10 == 0;
}

/// One tuning run: where the numbers stand, and what was seen on the way.
class Tuner {
  public:
    Tuner(const TuneSettings& settings, std::vector<Sample> samples, const MaterialStatistics& statistics)
        : settings_(settings),
          samples_(std::move(samples)),
          statistics_(statistics),
          knobs_(ListKnobs(settings.spread / 100.0)),
          axes_(ListAxes(knobs_)),
          origin_(Values()),
          steps_(axes_.size()) {
        std::ranges::copy_if(samples_, std::back_inserter(held_out_), IsHeldOut);
        SetKnobs(steps_);
    }

    Report Run() {
        Report report{};
        scale_ = FitScale(Observations(0.0, false));
        search_scale_ = FitScale(SearchObservations());
        report.scale = scale_;
        report.passes.push_back(Losses());
        report.calibration_before = Calibration();
        const std::vector<double> first = HeldOutLosses();
        std::printf("%zu positions, %zu free numbers, %zu axes, scale %.1f\n", samples_.size(), knobs_.size(),
                    axes_.size(), scale_);
        Tell(0, report.passes.back());
        for (int pass = 1; pass <= settings_.passes; ++pass) {
            report.answered = Pass();
            report.passes.push_back(Losses());
            Tell(pass, report.passes.back());
        }
        const std::vector<double> last = HeldOutLosses();
        report.gain_error = MeanDifference(first, last).second;
        report.calibration_after = Calibration();
        report.knobs = knobs_.size();
        report.games = Games();
        report.held_out = held_out_.size();
        report.training = samples_.size() - held_out_.size();
        report.before = origin_;
        report.after = Values();
        report.worth = Worths(last);
        return report;
    }

    const std::vector<Knob>& Knobs() const { return knobs_; }

  private:
    std::vector<std::int32_t> Values() const {
        std::vector<std::int32_t> values;
        std::ranges::transform(knobs_, std::back_inserter(values), KnobValue);
        return values;
    }

    std::vector<float> Scores() const {
        std::vector<float> scores;
        std::ranges::transform(samples_, std::back_inserter(scores),
                               [](const Sample& sample) { return static_cast<float>(EvaluateSample(sample)); });
        return scores;
    }

    /// `blend` of each target is what the search has said. Held-out samples have weight 0.
    std::vector<Observation> Observations(double blend, bool trusted) const {
        const float weight = trusted ? static_cast<float>(settings_.trust) / 100.0F : 1.0F;
        std::vector<Observation> observations;
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            const double searched = blend > 0 ? ExpectedPoints(samples_[i].score, search_scale_) : 0.0;
            const double target = (1 - blend) * static_cast<double>(samples_[i].result) + blend * searched;
            observations.push_back({scores_[i], static_cast<float>(target), IsHeldOut(samples_[i]) ? 0.0F : weight});
        }
        return observations;
    }

    /// What the searches said beside the results. They know more than the evaluation, and promise more by a pawn.
    std::vector<Observation> SearchObservations() const {
        std::vector<Observation> observations;
        for (const Sample& sample : samples_) {
            observations.push_back({static_cast<float>(sample.score), sample.result, IsHeldOut(sample) ? 0.0F : 1.0F});
        }
        return observations;
    }

    double LossOf(std::size_t i) const {
        return SampleLoss(static_cast<double>(scores_[i]), static_cast<double>(samples_[i].result), scale_);
    }

    PassLoss Losses() const {
        double sums[2] = {};
        double counts[2] = {};
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            sums[IsHeldOut(samples_[i])] += LossOf(i);
            counts[IsHeldOut(samples_[i])] += 1;
        }
        return {sums[0] / std::max(counts[0], 1.0), sums[1] / std::max(counts[1], 1.0)};
    }

    std::vector<double> HeldOutLosses() const {
        std::vector<double> losses;
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            if (IsHeldOut(samples_[i])) {
                losses.push_back(LossOf(i));
            }
        }
        return losses;
    }

    /// Mean of a[i] - b[i] over the held-out samples, with its standard error. Positions of a game share its result, so
    /// it is the sums over games that scatter independently.
    std::pair<double, double> MeanDifference(const std::vector<double>& a, const std::vector<double>& b) const {
        const auto count = static_cast<double>(std::max<std::size_t>(a.size(), 1));
        double sum = 0;
        for (std::size_t i = 0; i < a.size(); ++i) {
            sum += a[i] - b[i];
        }
        const double mean = sum / count;
        double squares = 0;
        double surplus = 0;  // of one game
        for (std::size_t i = 0; i < a.size(); ++i) {
            surplus += a[i] - b[i] - mean;
            if (i + 1 == a.size() || held_out_[i + 1].game != held_out_[i].game) {
                squares += surplus * surplus;
                surplus = 0;
            }
        }
        return {mean, std::sqrt(squares) / count};
    }

    static void Tell(int pass, const PassLoss& loss) {
        std::printf("pass %d: loss %.6f, held out %.6f\n", pass, loss.training, loss.held_out);
        std::fflush(stdout);
    }

    /// Puts the knobs where `steps` lead, rounded and bounded, with all that is made of them.
    void SetKnobs(const std::vector<double>& steps) {
        const std::vector<double> offsets = KnobOffsets(axes_, steps, knobs_.size());
        for (std::size_t i = 0; i < knobs_.size(); ++i) {
            const double value = origin_[i] + offsets[i] * knobs_[i].spread;
            // Begin outside of the bounds and stay there, but do not go there.
            const double low = std::min(knobs_[i].low, origin_[i]);
            const double high = std::max(knobs_[i].high, origin_[i]);
            SetKnob(knobs_[i], static_cast<std::int32_t>(std::lround(std::clamp(value, low, high))));
        }
        RebuildTables(statistics_, true);
        scores_ = Scores();
    }

    /// What the fit minimises, but for the linear model: the true loss with the prior.
    double Objective(const std::vector<double>& steps) const {
        double sum = 0;
        for (const double step : steps) {
            sum += step * step / 2;
        }
        for (const Observation& observation : Observations(settings_.blend / 100.0, true)) {
            sum += static_cast<double>(observation.weight) *
                   SampleLoss(static_cast<double>(observation.score), static_cast<double>(observation.target), scale_);
        }
        return sum;
    }

    /// One linear model, its best point, and as much of the way there as the evaluation itself agrees with. Answers the
    /// number of knobs that occur.
    std::size_t Pass() {
        Progress progress("slopes", knobs_.size());
        const SlopeTable table = MeasureSlopes(samples_, knobs_, statistics_, settings_.processes,
                                               [&progress](std::size_t done) { progress.Report(done); });
        std::vector<double> offsets;
        std::vector<char> occurs(knobs_.size());
        for (const Slope& slope : table.slopes) {
            occurs[slope.knob] = 1;
        }
        const auto occurring = static_cast<std::size_t>(std::ranges::count(occurs, 1));
        for (std::size_t i = 0; i < knobs_.size(); ++i) {
            offsets.push_back((KnobValue(knobs_[i]) - origin_[i]) / knobs_[i].spread);
        }
        const std::vector<double> goal =
            FitSteps(Observations(settings_.blend / 100.0, true), table, axes_, offsets, scale_, steps_);
        const double before = Objective(steps_);
        const std::vector<double> from = steps_;
        for (const double share : {1.0, 0.5, 0.25, 0.1}) {
            for (std::size_t d = 0; d < steps_.size(); ++d) {
                steps_[d] = from[d] + share * (goal[d] - from[d]);
            }
            SetKnobs(steps_);
            if (Objective(steps_) < before) {
                return occurring;
            }
        }
        steps_ = from;
        SetKnobs(steps_);
        return occurring;
    }

    std::size_t Games() const { return samples_.empty() ? 0 : static_cast<std::size_t>(samples_.back().game) + 1; }

    std::vector<CalibrationPoint> Calibration() const {
        constexpr std::int32_t BIN = 60;
        std::vector<CalibrationPoint> bins(2 * 1200 / BIN + 1);
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            const auto bin = static_cast<std::ptrdiff_t>(std::lround(scores_[i] / BIN)) + 1200 / BIN;
            if (IsHeldOut(samples_[i]) && bin >= 0 && bin < std::ssize(bins)) {
                CalibrationPoint& point = bins[static_cast<std::size_t>(bin)];
                point.score += static_cast<double>(scores_[i]);
                point.points += static_cast<double>(samples_[i].result);
                ++point.samples;
            }
        }
        std::erase_if(bins, [](const CalibrationPoint& point) { return point.samples < 20; });
        for (CalibrationPoint& point : bins) {
            point.score /= point.samples;
            point.points /= point.samples;
        }
        return bins;
    }

    /// Each parameter at its neutral value, all else as it stands.
    std::vector<Worth> Worths(const std::vector<double>& standing) {
        std::vector<Worth> worths;
        for (const Parameter& parameter : Parameters()) {
            std::vector<std::size_t> members;
            std::vector<std::int32_t> values;
            for (std::size_t i = 0; i < knobs_.size(); ++i) {
                if (knobs_[i].parameter == &parameter) {
                    members.push_back(i);
                    values.push_back(KnobValue(knobs_[i]));
                }
            }
            if (members.empty()) {
                continue;
            }
            const bool material = knobs_[members[0]].material;
            for (const std::size_t i : members) {
                SetKnob(knobs_[i], std::max(NeutralValue(parameter), knobs_[i].low));
            }
            RebuildTables(statistics_, material);
            std::vector<double> losses;
            for (const Sample& sample : held_out_) {
                losses.push_back(SampleLoss(EvaluateSample(sample), static_cast<double>(sample.result), scale_));
            }
            for (std::size_t i = 0; i < members.size(); ++i) {
                SetKnob(knobs_[members[i]], values[i]);
            }
            RebuildTables(statistics_, material);
            const auto [saved, error] = MeanDifference(losses, standing);
            worths.push_back({std::string(parameter.name), saved, error});
        }
        std::ranges::stable_sort(worths, std::greater{}, &Worth::saved);
        return worths;
    }

    const TuneSettings& settings_;
    std::vector<Sample> samples_;
    std::vector<Sample> held_out_;  // copies of those among them
    const MaterialStatistics& statistics_;
    std::vector<Knob> knobs_;
    std::vector<Axis> axes_;
    std::vector<std::int32_t> origin_;  // values of the knobs before the first pass
    std::vector<double> steps_;
    std::vector<float> scores_;
    double scale_ = 0;         // of the evaluation
    double search_scale_ = 0;  // of the searches' scores
};

}  // namespace

TuneResult TuneParameters(const TuneSettings& settings, std::vector<Sample> samples,
                          const MaterialStatistics& statistics) {
    Tuner tuner(settings, std::move(samples), statistics);
    Report report = tuner.Run();
    return {tuner.Knobs(), std::move(report)};
}
