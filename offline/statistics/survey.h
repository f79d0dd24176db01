// One pass over games for all statistics.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "statistics/material_results.h"
#include "statistics/move_counts.h"
#include "values/named_values.h"

/// Which moves count as decisions: those that carry a score as their comment, because moves of an opening are played
/// blindly, or all.
enum class CountedMoves { SCORED, ALL };

struct Survey {
    MaterialResults material;
    MoveCounts moves;
    std::int64_t games = 0;
    std::int64_t unreadable = 0;  // passed over
    std::int64_t positions = 0;
};

/// Makes the parameters those of `values`, and what of their tables the statistics need. Once before the first game;
/// fills what InitializeRules fills.
void PrepareSurvey(const FileValues& values);

/// Adds the games of a PGN text. Those that cannot be read are told with their line on standard error.
void SurveyGames(const std::string& name, std::string_view text, CountedMoves counted, Survey& survey);
