// quorvanth-tune: fits the numbers of the evaluation to the results of games.

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "eval/init.h"
#include "read_number.h"
#include "tune/positions.h"
#include "tune/report.h"
#include "tune/slopes.h"
#include "tune/tuner.h"
#include "values/named_values.h"
#include "values/store_values.h"
#include "whole_file.h"

namespace {

constexpr std::string_view USAGE =
    "usage: quorvanth-tune -games FILE... -values NAMED -out NAMED -report DIR [OPTIONS]\n"
    "\n"
    "  -games FILE...   PGN with the engine's scores as comments, as quorvanth-selfplay writes it\n"
    "  -values NAMED    the numbers to begin with\n"
    "  -out NAMED       the same file with the tuned numbers\n"
    "  -report DIR      for report.md and its drawings; made if need be\n"
    "  -passes N        (3)\n"
    "  -positions N     of one game, at most (10)\n"
    "  -blend N         percent of the target that is the search's score, the rest is the result (30)\n"
    "  -trust N         percent of a position's evidence that counts: positions of a game share their result (30)\n"
    "  -spread N        percent of the usual distance that the numbers are expected to move (100)\n"
    "  -processes N     (2)\n"
    "  -seed N          of the choice of positions (1)\n";

struct Settings {
    std::vector<std::string> games;
    std::string values;
    std::string out;
    std::string report;
    TuneSettings tune;
    SampleSettings samples;
};

bool ReadArguments(std::span<char*> arguments, Settings& settings) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view name = arguments[i];
        const std::string_view value = i + 1 < arguments.size() ? arguments[i + 1] : "";
        bool good = !value.empty();
        if (name == "-games") {
            while (i + 1 < arguments.size() && *arguments[i + 1] != '-') {
                settings.games.emplace_back(arguments[++i]);
            }
            continue;
        }
        if (name == "-values") {
            settings.values = value;
        } else if (name == "-out") {
            settings.out = value;
        } else if (name == "-report") {
            settings.report = value;
        } else if (name == "-passes") {
            good = ReadNumber(value, 1, 100, settings.tune.passes);
        } else if (name == "-positions") {
            good = ReadNumber(value, 1, 1000, settings.samples.per_game);
        } else if (name == "-blend") {
            good = ReadNumber(value, 0, 100, settings.tune.blend);
        } else if (name == "-trust") {
            good = ReadNumber(value, 1, 100, settings.tune.trust);
        } else if (name == "-spread") {
            good = ReadNumber(value, 1, 1000, settings.tune.spread);
        } else if (name == "-processes") {
            good = ReadNumber(value, 1, 256, settings.tune.processes);
        } else if (name == "-seed") {
            good = ReadNumber<std::uint64_t>(value, 0, ~std::uint64_t{0}, settings.samples.seed);
        } else {
            good = false;
        }
        if (!good) {
            std::fprintf(stderr, "quorvanth-tune: not understood: %s\n", arguments[i]);
            return false;
        }
        ++i;
    }
    if (settings.games.empty() || settings.values.empty() || settings.out.empty() || settings.report.empty()) {
        std::fwrite(USAGE.data(), 1, USAGE.size(), stderr);
        return false;
    }
    return true;
}

bool ReadFile(const std::string& path, std::string& text) {
    const bool read = ReadWholeFile(path, text);
    if (!read) {
        std::fprintf(stderr, "quorvanth-tune: %s cannot be read\n", path.c_str());
    }
    return read;
}

bool SampleGames(const Settings& settings, std::vector<Sample>& samples) {
    int games = 0;
    int unreadable = 0;
    for (const std::string& path : settings.games) {
        std::string text;
        if (!ReadFile(path, text)) {
            return false;
        }
        SamplePositions(text, settings.samples, games, unreadable, samples);
    }
    std::printf("%d games", games);
    if (unreadable != 0) {
        std::printf(", %d unreadable", unreadable);
    }
    std::printf("\n");
    std::fflush(stdout);
    if (samples.empty()) {
        std::fprintf(stderr, "quorvanth-tune: no positions with a score and a result in these games\n");
        return false;
    }
    return true;
}

/// The tunable numbers as they stand, beside those of the file.
void TakeValues(FileValues& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Parameter& parameter = Parameters()[i];
        for (int place = 0; parameter.store == ParameterStore::TABLE && place < parameter.places; ++place) {
            values[i][static_cast<std::size_t>(place)] = parameter.values[EntryOfPlace(parameter, place)];
        }
    }
}

int Tune(const Settings& settings) {
    std::string text;
    FileValues values;
    if (!ReadFile(settings.values, text)) {
        return 1;
    }
    if (const std::string problem = ReadNamedValues(text, values); !problem.empty()) {
        std::fprintf(stderr, "%s: %s\n", settings.values.c_str(), problem.c_str());
        return 1;
    }
    if (mkdir(settings.report.c_str(), 0777) != 0 && errno != EEXIST) {
        std::fprintf(stderr, "%s: cannot be made\n", settings.report.c_str());
        return 1;
    }
    PrepareEvaluation();
    EvaluationStatistics lists = StoreFileValues(values);
    const MaterialStatistics statistics{
        .imbalance = lists.imbalance.data(), .army = lists.army.data(), .time_factor = lists.time_factors.data()};
    BuildEvaluationTables(statistics);

    std::vector<Sample> samples;
    if (!SampleGames(settings, samples)) {
        return 1;
    }
    const TuneResult result = TuneParameters(settings.tune, std::move(samples), statistics);
    TakeValues(values);
    std::string updated;
    if (const std::string problem = UpdateNamedText(text, values, updated); !problem.empty()) {
        std::fprintf(stderr, "%s: %s\n", settings.values.c_str(), problem.c_str());
        return 1;
    }
    if (!WriteWholeFile(settings.out, updated) || !WriteReport(settings.report, result.report, result.knobs)) {
        std::fprintf(stderr, "quorvanth-tune: the results cannot be written\n");
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Settings settings;
    if (!ReadArguments(std::span(argv + 1, static_cast<std::size_t>(std::max(argc - 1, 0))), settings)) {
        return 2;
    }
    return Tune(settings);
}
