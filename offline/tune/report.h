// What a tuning run tells people: a page of text and three drawings.
#pragma once

#include <string>
#include <vector>

#include "tune/knobs.h"

struct PassLoss {
    double training;
    double held_out;
};

/// Loss that a parameter saves on the held-out games, against its neutral value.
struct Worth {
    std::string name;
    double saved;  // nats a position
    double error;  // one standard error, by the scatter of games
};

/// Mean result of the held-out samples whose scores lie around `score`.
struct CalibrationPoint {
    double score;
    double points;
    double samples;
};

struct Report {
    std::size_t games;
    std::size_t training;  // samples
    std::size_t held_out;
    std::size_t knobs;
    std::size_t answered;  // knobs to which any sample answers
    double scale;
    std::vector<PassLoss> passes;      // the first before any change
    double gain_error;                 // one standard error of what the held-out loss has lost in all
    std::vector<std::int32_t> before;  // values of the knobs
    std::vector<std::int32_t> after;
    std::vector<Worth> worth;
    std::vector<CalibrationPoint> calibration_before;
    std::vector<CalibrationPoint> calibration_after;
};

/// Writes report.md, loss.svg, calibration.svg and movers.svg into an existing directory; false when one cannot be
/// written.
bool WriteReport(const std::string& directory, const Report& report, const std::vector<Knob>& knobs);
