// The evaluation as a function of its numbers: its value at every sample, and how it changes with each number.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "eval/material_table.h"
#include "tune/knobs.h"
#include "tune/positions.h"

/// How a sample's evaluation answers to one knob, from White's view.
struct Slope {
    std::uint16_t knob;
    std::int16_t value;  // SLOPE_UNITs of a centipawn for each spread of the knob
};
inline constexpr double SLOPE_UNIT = 1.0 / 64;

/// By sample, those that are not 0: slopes[begin[i]] up to slopes[begin[i + 1]].
struct SlopeTable {
    std::vector<std::size_t> begin;
    std::vector<Slope> slopes;
};

/// Builds what the evaluation needs beside its parameters. Once, before anything below.
void PrepareEvaluation();

/// Builds the tables that the evaluation reads from the present parameters; the material table, which takes long, only
/// if `material`.
void RebuildTables(const MaterialStatistics& statistics, bool material);

/// Centipawns for White, without the damping of moves without progress. Changes thread_board.
std::int32_t EvaluateSample(const Sample& sample);

/// At the present parameters, by difference quotients. `processes` share the samples; the answer does not depend on
/// their number. `report` is told now and then how many of the knobs are done. Ends the process with a message when a
/// child fails.
SlopeTable MeasureSlopes(const std::vector<Sample>& samples, const std::vector<Knob>& knobs,
                         const MaterialStatistics& statistics, int processes,
                         const std::function<void(std::size_t)>& report);
