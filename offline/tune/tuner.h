// One tuning run, from samples to a report.
#pragma once

#include <vector>

#include "eval/material_table.h"
#include "tune/knobs.h"
#include "tune/positions.h"
#include "tune/report.h"

struct TuneSettings {
    int passes = 3;    // above 0, as the others but `blend`
    int blend = 30;    // percent of the target that is the search's score
    int trust = 30;    // percent of a sample's evidence that counts
    int spread = 100;  // percent of the usual spread of the knobs
    int processes = 2;
};

struct TuneResult {
    std::vector<Knob> knobs;
    Report report;
};

/// Fits the parameters, which must stand at the values to begin with, their tables built; leaves them at the new ones.
/// Mirror images that differ become alike first. `samples` come in the order of their games; every tenth game is held
/// out. Prints a line for each pass.
TuneResult TuneParameters(const TuneSettings& settings, std::vector<Sample> samples,
                          const MaterialStatistics& statistics);
