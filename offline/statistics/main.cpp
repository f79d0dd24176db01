// quorvanth-statistics: counts games and writes what they say about material and moves into the named parameter file.

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "eval/parameters.h"
#include "read_number.h"
#include "statistics/material_fit.h"
#include "statistics/survey.h"
#include "whole_file.h"

namespace {

constexpr std::string_view USAGE =
    "usage: quorvanth-statistics -games FILE... -values NAMED -out NAMED [OPTIONS]\n"
    "\n"
    "  -games FILE...   PGN\n"
    "  -values NAMED    the named parameter file whose values the games are measured against\n"
    "  -out NAMED       the same file with new statistics\n"
    "  -against WHICH   what the engine says: by its material, or by the searches' scores in the games (material)\n"
    "  -prior N         games that speak for no difference, for each set and pair of armies (100)\n"
    "  -least N         games that a set or pair of armies must have (30)\n"
    "  -bound N         centipawns that a statistic may have (80)\n"
    "  -seen N          times that a move must have been possible (20)\n"
    "  -moves WHICH     count moves that are scored, or all (scored)\n";

struct Settings {
    std::vector<std::string> games;
    std::string values;
    std::string out;
    MaterialFitSettings fit;
    std::int64_t least_seen = 20;
    CountedMoves counted = CountedMoves::SCORED;
};

bool ReadOption(std::string_view name, std::string_view value, Settings& settings) {
    constexpr int MANY = 1'000'000'000;
    if (name == "-values") {
        settings.values = value;
    } else if (name == "-out") {
        settings.out = value;
    } else if (name == "-against" && (value == "material" || value == "search")) {
        settings.fit.against = value == "search" ? MeasuredAgainst::SEARCH : MeasuredAgainst::MATERIAL;
    } else if (name == "-prior") {
        return ReadNumber(value, 0, MANY, settings.fit.prior);
    } else if (name == "-least") {
        return ReadNumber(value, 1, MANY, settings.fit.least);
    } else if (name == "-bound") {
        return ReadNumber(value, 0, 1000, settings.fit.bound);
    } else if (name == "-seen") {
        return ReadNumber<std::int64_t>(value, 1, MANY, settings.least_seen);
    } else if (name == "-moves" && (value == "scored" || value == "all")) {
        settings.counted = value == "all" ? CountedMoves::ALL : CountedMoves::SCORED;
    } else {
        return false;
    }
    return true;
}

bool ReadArguments(std::span<char*> arguments, Settings& settings) {
    std::size_t i = 0;
    while (i < arguments.size()) {
        const std::string_view name = arguments[i++];
        if (name == "-games") {
            while (i < arguments.size() && *arguments[i] != '-') {
                settings.games.emplace_back(arguments[i++]);
            }
            continue;
        }
        const std::string_view value = i < arguments.size() ? arguments[i++] : "";
        if (!ReadOption(name, value, settings)) {
            std::fprintf(stderr, "quorvanth-statistics: not understood: %s %s\n", name.data(), value.data());
            return false;
        }
    }
    if (settings.games.empty() || settings.values.empty() || settings.out.empty()) {
        std::fwrite(USAGE.data(), 1, USAGE.size(), stderr);
        return false;
    }
    return true;
}

int Fail(const std::string& path, const std::string& problem) {
    std::fprintf(stderr, "quorvanth-statistics: %s: %s\n", path.c_str(), problem.c_str());
    return 1;
}

/// `values` with the statistics in the order of the file.
void TakeStatistics(const EvaluationStatistics& statistics, FileValues& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Parameter& parameter = Parameters()[i];
        for (int place = 0; place < parameter.places; ++place) {
            std::int64_t& value = values[i][static_cast<std::size_t>(place)];
            const auto entry = static_cast<std::size_t>(EntryOfPlace(parameter, place));
            if (parameter.store == ParameterStore::IMBALANCE) {
                value = statistics.imbalance[entry];
            } else if (parameter.store == ParameterStore::ARMY) {
                value = statistics.army[entry];
            } else if (parameter.store == ParameterStore::MOVE_COUNTS) {
                value = statistics.move_counts[entry];
            }
        }
    }
}

void PrintLargest(const char* title, std::vector<MaterialFinding> findings) {
    constexpr std::size_t SHOWN = 10;
    std::ranges::stable_sort(findings, [](const MaterialFinding& a, const MaterialFinding& b) {
        return std::abs(a.centipawns) != std::abs(b.centipawns) ? std::abs(a.centipawns) > std::abs(b.centipawns)
                                                                : a.games > b.games;
    });
    std::printf("\n%-22s %8s %8s %8s %10s\n", title, "games", "share", "expected", "centipawns");
    for (const MaterialFinding& finding : std::span(findings).first(std::min(findings.size(), SHOWN))) {
        std::printf("%-22s %8.0f %7.1f%% %7.1f%% %+10d\n", finding.name.c_str(), finding.games, 100 * finding.share,
                    100 * finding.expected, finding.centipawns);
    }
}

void PrintSummary(const Survey& survey, const MaterialFit& fit, const std::vector<std::int64_t>& counts) {
    std::int64_t kinds = 0;
    for (std::size_t place = 1; place < counts.size(); place += 2) {
        kinds += counts[place] != 0;
    }
    std::printf("games %" PRId64 ", unreadable %" PRId64 ", positions %" PRId64 "\n", survey.games, survey.unreadable,
                survey.positions);
    std::printf("moves counted %" PRId64 ", kinds of moves with counts %" PRId64 "\n", survey.moves.Decisions(), kinds);
    std::printf("scale of the logistic curve %.0f centipawns\n", fit.scale);
    std::printf("sets with a number %zu, pairs of armies with a number %zu\n", fit.sets.size(), fit.armies.size());
    PrintLargest("sets", fit.sets);
    PrintLargest("pairs of armies", fit.armies);
}

int Run(const Settings& settings) {
    std::string named;
    if (!ReadWholeFile(settings.values, named)) {
        return Fail(settings.values, "cannot be read");
    }
    FileValues values;
    if (const std::string problem = ReadNamedValues(named, values); !problem.empty()) {
        return Fail(settings.values, problem);
    }
    PrepareSurvey(values);
    Survey survey;
    for (const std::string& path : settings.games) {
        std::string text;
        if (!ReadWholeFile(path, text)) {
            return Fail(path, "cannot be read");
        }
        SurveyGames(path, text, settings.counted, survey);
    }
    if (survey.games == 0) {
        return Fail(settings.games.front(), "there is no game to count");
    }
    EvaluationStatistics statistics;
    const MaterialFit fit = FitMaterial(survey.material.Situations(), settings.fit, statistics);
    statistics.move_counts = survey.moves.Values(settings.least_seen);
    TakeStatistics(statistics, values);
    std::string updated;
    if (const std::string problem = UpdateNamedText(named, values, updated); !problem.empty()) {
        return Fail(settings.values, problem);
    }
    if (!WriteWholeFile(settings.out, updated)) {
        return Fail(settings.out, "cannot be written");
    }
    PrintSummary(survey, fit, statistics.move_counts);
    return 0;
}

}  // namespace

int main(int count, char** values) {
    Settings settings;
    if (!ReadArguments(std::span(values + 1, static_cast<std::size_t>(std::max(count - 1, 0))), settings)) {
        return 2;
    }
    return Run(settings);
}
