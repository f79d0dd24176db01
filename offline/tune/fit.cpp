#include "tune/fit.h"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace {

constexpr int NEWTON_STEPS = 5;
constexpr int CONJUGATE_STEPS = 80;
constexpr double CONJUGATE_PRECISION = 1e-3;

using Vector = std::vector<double>;

double Dot(const Vector& a, const Vector& b) {
    return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

/// y += factor * x
void AddScaled(Vector& y, double factor, const Vector& x) {
    std::ranges::transform(y, x, y.begin(), [factor](double a, double b) { return a + factor * b; });
}

/// From steps along the axes to scores of the samples, and back.
class LinearMap {
  public:
    LinearMap(const SlopeTable& table, const std::vector<Axis>& axes, std::size_t knobs)
        : table_(table), axes_(axes), knobs_(knobs) {}

    /// What the offsets of the knobs add to every sample's score.
    Vector Scores(const Vector& offsets) const {
        Vector scores(Samples());
        const auto count = static_cast<std::ptrdiff_t>(Samples());
#pragma omp parallel for schedule(static)
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            double sum = 0;
            for (const Slope& slope : Row(static_cast<std::size_t>(i))) {
                sum += slope.value * offsets[slope.knob];
            }
            scores[static_cast<std::size_t>(i)] = sum * SLOPE_UNIT;
        }
        return scores;
    }

    /// The gradient along the axes, from that along the scores.
    Vector Gradient(const Vector& by_score) const {
        std::vector<Vector> parts(static_cast<std::size_t>(omp_get_max_threads()), Vector(knobs_));
        const auto count = static_cast<std::ptrdiff_t>(Samples());
#pragma omp parallel
        {
            Vector& own = parts[static_cast<std::size_t>(omp_get_thread_num())];
#pragma omp for schedule(static)
            for (std::ptrdiff_t i = 0; i < count; ++i) {
                const double factor = by_score[static_cast<std::size_t>(i)] * SLOPE_UNIT;
                for (const Slope& slope : Row(static_cast<std::size_t>(i))) {
                    own[slope.knob] += factor * slope.value;
                }
            }
        }
        // In one order, so that the same games give the same numbers.
        Vector by_knob(knobs_);
        for (const Vector& part : parts) {
            AddScaled(by_knob, 1.0, part);
        }
        Vector gradient(axes_.size());
        for (std::size_t d = 0; d < axes_.size(); ++d) {
            for (const int knob : axes_[d].knobs) {
                gradient[d] += axes_[d].weight * by_knob[static_cast<std::size_t>(knob)];
            }
        }
        return gradient;
    }

    Vector Offsets(const Vector& steps) const {
        return KnobOffsets(axes_, steps, knobs_);
    }

  private:
    std::size_t Samples() const {
        return table_.begin.size() - 1;
    }
    std::span<const Slope> Row(std::size_t i) const {
        return std::span(table_.slopes).subspan(table_.begin[i], table_.begin[i + 1] - table_.begin[i]);
    }

    const SlopeTable& table_;
    const std::vector<Axis>& axes_;
    std::size_t knobs_;
};

/// Solves (1 + Mᵀ diag(curvature) M) x = right.
Vector SolveConjugate(const LinearMap& map, const Vector& curvature, const Vector& right) {
    Vector x(right.size());
    Vector residual = right;
    Vector direction = right;
    double norm = Dot(residual, residual);
    const double goal = norm * CONJUGATE_PRECISION * CONJUGATE_PRECISION;
    for (int i = 0; i < CONJUGATE_STEPS && norm > goal; ++i) {
        Vector scores = map.Scores(map.Offsets(direction));
        std::ranges::transform(scores, curvature, scores.begin(), std::multiplies<>());
        Vector product = map.Gradient(scores);
        AddScaled(product, 1.0, direction);
        const double length = norm / Dot(direction, product);
        AddScaled(x, length, direction);
        AddScaled(residual, -length, product);
        const double next = Dot(residual, residual);
        std::ranges::transform(residual, direction, direction.begin(),
                               [&](double a, double b) { return a + next / norm * b; });
        norm = next;
    }
    return x;
}

}  // namespace

double ExpectedPoints(double score, double scale) {
    return 1.0 / (1.0 + std::exp(-score / scale));
}

double SampleLoss(double score, double target, double scale) {
    // log(1 + exp(-x)) without overflow.
    const auto soft = [](double x) { return x > 0 ? std::log1p(std::exp(-x)) : std::log1p(std::exp(x)) - x; };
    const double x = score / scale;
    return target * soft(x) + (1 - target) * soft(-x);
}

double FitScale(std::span<const Observation> observations) {
    const auto loss = [&](double scale) {
        double sum = 0;
        for (const Observation& observation : observations) {
            sum += observation.weight * SampleLoss(observation.score, observation.target, scale);
        }
        return sum;
    };
    // The loss has one minimum over 1/scale, and so over the scale: thirds of the bracket suffice.
    double low = 20;
    double high = 2000;
    while (high - low > 0.05) {
        const double left = low + (high - low) / 3;
        const double right = high - (high - low) / 3;
        if (loss(left) < loss(right)) {
            high = right;
        } else {
            low = left;
        }
    }
    return (low + high) / 2;
}

std::vector<double> KnobOffsets(const std::vector<Axis>& axes, const std::vector<double>& steps, std::size_t knobs) {
    Vector offsets(knobs);
    for (std::size_t d = 0; d < axes.size(); ++d) {
        const double step = axes[d].weight * steps[d];
        for (const int knob : axes[d].knobs) {
            offsets[static_cast<std::size_t>(knob)] += step;
        }
    }
    return offsets;
}

std::vector<double> FitSteps(std::span<const Observation> observations, const SlopeTable& table,
                             const std::vector<Axis>& axes, const std::vector<double>& offsets, double scale,
                             std::vector<double> steps) {
    const LinearMap map(table, axes, offsets.size());
    Vector by_score(observations.size());
    Vector curvature(observations.size());
    for (int newton = 0; newton < NEWTON_STEPS; ++newton) {
        Vector moved = map.Offsets(steps);
        AddScaled(moved, -1.0, offsets);
        const Vector change = map.Scores(moved);
        for (std::size_t i = 0; i < observations.size(); ++i) {
            const Observation& observation = observations[i];
            const double points = ExpectedPoints(observation.score + change[i], scale);
            by_score[i] = observation.weight * (observation.target - points) / scale;
            curvature[i] = observation.weight * points * (1 - points) / (scale * scale);
        }
        Vector descent = map.Gradient(by_score);
        AddScaled(descent, -1.0, steps);
        AddScaled(steps, 1.0, SolveConjugate(map, curvature, descent));
    }
    return steps;
}
