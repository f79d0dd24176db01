// The whole match: openings, workers, the stop rule, the PGN file, the progress line and the table.
#pragma once

#include "match/settings.h"

#include <string>

/// Plays it and prints the table on standard output; progress goes to standard error. Answers the exit code: 0 when
/// the match ran to its end or its test to a verdict, 1 when it could not go on, 130 when it was interrupted.
int PlayMatch(const MatchSettings& match);
