// What the tuner may turn: the free numbers of the parameter list, and along which axes the games are expected
// to move them.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "eval/parameters.h"

/// One free number, with the entries that it fills.
struct Knob {
    const Parameter* parameter;
    std::array<int, 2> entries;  // of the parameter's values; the second is the first where there is no mirror image
    std::int32_t step;           // of the difference quotient, in the parameter's own unit
    double spread;               // how far one would expect the games to move it, in its own unit
    std::int32_t low;
    std::int32_t high;
    bool material;  // the material table reads it
};

/// All of them, in the order of the file. Left out are reserved places, statistics, what play does not read, what
/// other numbers say as well, what is no quantity (classes, thresholds) and what only guides the mating of a bare king,
/// about which results say nothing. All spreads are multiplied by `spread`, which is above 0.
std::vector<Knob> ListKnobs(double spread = 1.0);

std::int32_t KnobValue(const Knob& knob);

/// Both entries, whatever the bounds. The tables that are made of the parameters stay as they were.
void SetKnob(const Knob& knob, std::int32_t value);

/// A value of no effect: 0, or 1.0 for a factor.
std::int32_t NeutralValue(const Parameter& parameter);

/// A way in which numbers move together, each by its own spread times `weight`.
struct Axis {
    double weight;
    std::vector<int> knobs;
};

/// Each number alone, and what is expected of neighbours: whole tables, rows, ranks and files, opening and ending
/// together. They make a prior in which a table moves smoothly where there are few games.
std::vector<Axis> ListAxes(const std::vector<Knob>& knobs);
