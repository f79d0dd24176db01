// The fit of the evaluation's numbers to results: logistic regression on the linear model of MeasureSlopes, with a
// Gaussian prior on how far the numbers are likely to move along each axis.
#pragma once

#include <span>
#include <vector>

#include "tune/knobs.h"
#include "tune/slopes.h"

/// What one sample says. Samples with weight 0 are held out.
struct Observation {
    float score;   // of the present evaluation, centipawns for White
    float target;  // 0..1, expected points
    float weight;
};

/// Points that White may expect at `score` centipawns.
double ExpectedPoints(double score, double scale);

/// Cross entropy of one sample, in nats: at least 0.
double SampleLoss(double score, double target, double scale);

/// The scale that fits the observations best: centipawns by which the odds grow e times; 20 to 2000.
double FitScale(std::span<const Observation> observations);

/// How far each knob is from where the first pass began, in spreads, for `steps` along the axes.
std::vector<double> KnobOffsets(const std::vector<Axis>& axes, const std::vector<double>& steps, std::size_t knobs);

/// The steps along all axes that explain the targets best, with a prior of variance 1 on each. `offsets` is where
/// the knobs stand at the observations' scores; `steps` is where to begin.
std::vector<double> FitSteps(std::span<const Observation> observations, const SlopeTable& table,
                             const std::vector<Axis>& axes, const std::vector<double>& offsets, double scale,
                             std::vector<double> steps);
