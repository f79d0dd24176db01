// The command line of quorvanth-match.
#pragma once

#include "match/settings.h"

#include <span>
#include <string>
#include <string_view>

extern const std::string_view USAGE;

/// Reads the arguments behind the program's name. On a mistake answers false and says in `error` which.
bool ReadCommandLine(std::span<const std::string_view> arguments, MatchSettings& settings, std::string& error);

/// "5+0.05", "40/60+0.5"; empty without a clock.
std::string ClockText(const Limits& limits);

/// "tc=5+0.05 nodes=1000": the limits as the command line has them.
std::string LimitsText(const Limits& limits);
