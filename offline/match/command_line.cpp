#include "match/command_line.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "match/schedule.h"
#include "match/uci_engine.h"
#include "read_number.h"

namespace {

constexpr int MAX_GAMES = 10'000'000;  // of all pairings together
constexpr std::size_t MAX_ENGINES = 64;
constexpr int MAX_CONCURRENCY = 512;
constexpr double MAX_SECONDS = 1e6;

bool ReadSeconds(std::string_view text, Milliseconds& value) {
    double seconds = 0;
    if (!ReadNumber(text, 0.0, MAX_SECONDS, seconds)) {
        return false;
    }
    value = Milliseconds(std::llround(seconds * 1000));
    return true;
}

/// [moves/]seconds[+increment]
bool ReadClock(std::string_view text, Limits& limits) {
    Limits read = limits;
    read.clock = true;
    read.period = 0;
    read.increment = Milliseconds{0};
    if (const std::size_t slash = text.find('/'); slash != std::string_view::npos) {
        if (!ReadNumber(text.substr(0, slash), 1, 1000, read.period)) {
            return false;
        }
        text.remove_prefix(slash + 1);
    }
    const std::size_t plus = text.find('+');
    if (plus != std::string_view::npos && !ReadSeconds(text.substr(plus + 1), read.increment)) {
        return false;
    }
    if (!ReadSeconds(text.substr(0, plus), read.base) || (read.base + read.increment).count() == 0) {
        return false;
    }
    limits = read;
    return true;
}

bool SetText(std::string_view value, std::string& text) {
    text = value;
    return !value.empty();
}

bool HasLimit(const Limits& limits) {
    return limits.clock || limits.nodes > 0 || limits.depth > 0;
}

bool SetSwitch(std::string_view value, bool& state) {
    state = value == "on";
    return value == "on" || value == "off";
}

/// Values separated by commas. Said twice of one option, the second list holds.
bool SetVaried(EngineSettings& engine, std::string_view name, std::string_view list) {
    VariedOption option{std::string(name), {}};
    for (std::size_t comma = 0; comma != std::string_view::npos;) {
        comma = list.find(',');
        option.values.emplace_back(list.substr(0, comma));
        list.remove_prefix(std::min(comma, list.size() - 1) + 1);
        if (option.values.back().empty()) {
            return false;
        }
    }
    std::erase_if(engine.varied, [name](const VariedOption& other) { return other.name == name; });
    engine.varied.push_back(std::move(option));
    return !name.empty();
}

/// One `key=value` of -engine and -each.
bool SetEngine(EngineSettings& engine, std::string_view key, std::string_view value) {
    if (key.starts_with("option.")) {
        engine.options.emplace_back(key.substr(7), value);
        return key.size() > 7;
    }
    if (key.starts_with("vary.")) {
        return SetVaried(engine, key.substr(5), value);
    }
    if (key == "arg") {
        engine.arguments.emplace_back(value);
        return true;
    }
    return key == "cmd"       ? SetText(value, engine.command)
           : key == "dir"     ? SetText(value, engine.directory)
           : key == "name"    ? SetText(value, engine.name)
           : key == "ponder"  ? SetSwitch(value, engine.ponder)
           : key == "restart" ? SetSwitch(value, engine.restart)
           : key == "tc"      ? ReadClock(value, engine.limits)
           : key == "nodes"   ? ReadNumber<std::int64_t>(value, 1, std::int64_t{1} << 60, engine.limits.nodes)
           : key == "depth"   ? ReadNumber(value, 1, 1000, engine.limits.depth)
                              : false;
}

bool SetOpenings(MatchSettings& settings, std::string_view key, std::string_view value) {
    if (key == "format" && (value == "pgn" || value == "epd")) {
        settings.opening_format = value == "pgn" ? OpeningFormat::PGN : OpeningFormat::EPD;
        return true;
    }
    if (key == "order" && (value == "random" || value == "sequential")) {
        settings.random_order = value == "random";
        return true;
    }
    return key == "file"    ? SetText(value, settings.openings)
           : key == "plies" ? ReadNumber(value, 0, 10000, settings.opening_plies)
                            : false;
}

bool SetSprt(SprtSettings& sprt, std::string_view key, std::string_view value) {
    return key == "elo0"    ? ReadNumber(value, -1000.0, 1000.0, sprt.elo0)
           : key == "elo1"  ? ReadNumber(value, -1000.0, 1000.0, sprt.elo1)
           : key == "alpha" ? ReadNumber(value, 1e-6, 0.499, sprt.alpha)
           : key == "beta"  ? ReadNumber(value, 1e-6, 0.499, sprt.beta)
                            : false;
}

bool SetDraw(DrawRule& rule, std::string_view key, std::string_view value) {
    return key == "from"    ? ReadNumber(value, 1, 10000, rule.from)
           : key == "moves" ? ReadNumber(value, 1, 1000, rule.moves)
           : key == "score" ? ReadNumber(value, 0, 100000, rule.score)
                            : false;
}

bool SetResign(ResignRule& rule, std::string_view key, std::string_view value) {
    return key == "moves"   ? ReadNumber(value, 1, 1000, rule.moves)
           : key == "score" ? ReadNumber(value, 1, 100000, rule.score)
                            : false;
}

/// Walks the arguments; the first mistake stands in `error` and ends the walk.
class Arguments {
  public:
    Arguments(std::span<const std::string_view> arguments, std::string& error) : rest_(arguments), error_(error) {}

    bool AtEnd() const { return rest_.empty(); }

    std::string_view Take() {
        const std::string_view argument = rest_.front();
        rest_ = rest_.subspan(1);
        return argument;
    }

    /// Hands every `key=value` up to the next option to `set`, which answers whether it is one.
    template <typename Set>
    bool TakePairs(std::string_view option, Set set) {
        while (!AtEnd() && !rest_.front().starts_with('-')) {
            const std::string_view argument = Take();
            const std::size_t equals = argument.find('=');
            if (equals == std::string_view::npos || !set(argument.substr(0, equals), argument.substr(equals + 1))) {
                return Fail(std::string(option) + " does not take \"" + std::string(argument) + "\"");
            }
        }
        return true;
    }

    /// Hands the one value of an option to `set`.
    template <typename Set>
    bool TakeValue(std::string_view option, Set set) {
        if (AtEnd()) {
            return Fail(std::string(option) + " needs a value");
        }
        const std::string_view argument = Take();
        return set(argument) || Fail(std::string(option) + " does not take \"" + std::string(argument) + "\"");
    }

    bool Fail(std::string text) {
        error_ = std::move(text);
        return false;
    }

  private:
    std::span<const std::string_view> rest_;
    std::string& error_;
};

/// The engines by their own words and those of -each, own words last: the last of two counts.
struct EngineWords {
    using Words = std::vector<std::pair<std::string_view, std::string_view>>;
    std::vector<Words> own;
    Words each;
};

bool ReadEngineOption(std::string_view option, Arguments& arguments, EngineWords& words) {
    if (option == "-restart") {
        return arguments.TakeValue(option, [&words](std::string_view value) {
            words.each.emplace_back("restart", value);
            bool ignored = false;
            return SetSwitch(value, ignored);
        });
    }
    if (option == "-engine") {
        if (words.own.size() == MAX_ENGINES) {
            return arguments.Fail("there is no room for more than " + std::to_string(MAX_ENGINES) + " engines");
        }
        words.own.emplace_back();
    }
    auto& list = option == "-each" ? words.each : words.own.back();
    return arguments.TakePairs(option, [&list](std::string_view key, std::string_view value) {
        EngineSettings trial;
        list.emplace_back(key, value);
        return SetEngine(trial, key, value);
    });
}

bool SetTournament(std::string_view value, Tournament& tournament) {
    tournament = value == "gauntlet" ? Tournament::GAUNTLET : Tournament::ROUND_ROBIN;
    return value == "gauntlet" || value == "roundrobin";
}

bool ReadOption(std::string_view option, Arguments& arguments, MatchSettings& settings) {
    const auto number = [&](int low, int high, int& value) {
        return arguments.TakeValue(option, [&](std::string_view text) { return ReadNumber(text, low, high, value); });
    };
    const auto pairs = [&](auto& rule, auto set) {
        return arguments.TakePairs(option,
                                   [&](std::string_view key, std::string_view value) { return set(rule, key, value); });
    };
    const auto text = [&](std::string& value) {
        return arguments.TakeValue(option, [&](std::string_view given) { return SetText(given, value); });
    };
    if (option == "-games") {
        return number(1, MAX_GAMES, settings.games);
    }
    if (option == "-concurrency") {
        return number(1, MAX_CONCURRENCY, settings.concurrency);
    }
    if (option == "-tournament") {
        return arguments.TakeValue(option,
                                   [&](std::string_view given) { return SetTournament(given, settings.tournament); });
    }
    if (option == "-repeat" || option == "-norepeat") {
        settings.repeat = option == "-repeat";
        return true;
    }
    if (option == "-seed") {
        return arguments.TakeValue(option, [&](std::string_view given) {
            return ReadNumber<std::uint64_t>(given, 0, ~std::uint64_t{0}, settings.seed);
        });
    }
    if (option == "-margin") {
        int milliseconds = 0;
        const bool read = number(0, 3600000, milliseconds);
        settings.margin = Milliseconds(milliseconds);
        return read;
    }
    if (option == "-patience") {
        return arguments.TakeValue(option, [&](std::string_view given) {
            return ReadSeconds(given, settings.patience) && settings.patience.count() > 0;
        });
    }
    return option == "-openings" ? pairs(settings, SetOpenings)
           : option == "-pgn"    ? text(settings.pgn)
           : option == "-event"  ? text(settings.event)
           : option == "-sprt"   ? pairs(settings.sprt.emplace(), SetSprt)
           : option == "-draw"   ? pairs(settings.draw.emplace(), SetDraw)
           : option == "-resign" ? pairs(settings.resign.emplace(), SetResign)
                                 : arguments.Fail("there is no option \"" + std::string(option) + "\"");
}

bool IsProgram(const std::filesystem::path& path) {
    std::error_code ignored;
    return !std::filesystem::is_directory(path, ignored) && access(path.c_str(), X_OK) == 0;
}

bool IsOnSearchPath(const std::string& name) {
    const char* const search_path = std::getenv("PATH");
    std::string_view rest = search_path != nullptr ? search_path : "/usr/bin:/bin";
    while (!rest.empty()) {
        const std::string_view directory = rest.substr(0, rest.find(':'));
        if (IsProgram(std::filesystem::path(directory) / name)) {
            return true;
        }
        rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
    }
    return false;
}

/// A path is meant from where the match is started, whatever directory the engine runs in.
bool FindProgram(EngineSettings& engine, std::string& error) {
    if (engine.command.empty()) {
        error = "-engine needs cmd=PROGRAM";
        return false;
    }
    if (engine.name.empty()) {
        engine.name = std::filesystem::path(engine.command).filename().string();
    }
    std::error_code failure;
    if (engine.command.find('/') != std::string::npos) {
        engine.command = std::filesystem::absolute(engine.command, failure).string();
        if (!IsProgram(engine.command)) {
            error = "\"" + engine.command + "\" is no program that can be run";
            return false;
        }
    } else if (!IsOnSearchPath(engine.command)) {
        error = "there is no program \"" + engine.command + "\" on the search path; a path needs a slash";
        return false;
    }
    if (!engine.directory.empty() && !std::filesystem::is_directory(engine.directory, failure)) {
        error = "\"" + engine.directory + "\" is no directory";
        return false;
    }
    return true;
}

bool CheckEngines(const EngineWords& words, MatchSettings& settings, std::string& error) {
    if (words.own.size() < 2) {
        error = "a match needs two engines: -engine cmd=PROGRAM -engine cmd=PROGRAM";
        return false;
    }
    for (const EngineWords::Words& own : words.own) {
        EngineSettings& engine = settings.engines.emplace_back();
        for (const auto* list : {&words.each, &own}) {
            for (const auto& [key, value] : *list) {
                SetEngine(engine, key, value);
            }
        }
        if (!FindProgram(engine, error)) {
            return false;
        }
        if (!HasLimit(engine.limits)) {
            error = "\"" + engine.name + "\" has no limit: tc=SECONDS+INCREMENT, nodes=N or depth=N";
            return false;
        }
        if (VariedRound(engine) == 0) {
            error = "the varied options of \"" + engine.name + "\" come round only after more than " +
                    std::to_string(MAX_VARIED_ROUND) + " games";
            return false;
        }
        const auto first = std::ranges::find(settings.engines, engine.name, &EngineSettings::name);
        if (&*first != &engine) {
            error = (words.own.size() == 2 ? "both" : "two") + std::string(" engines are called \"") + engine.name +
                    "\": tell them apart with name=";
            return false;
        }
    }
    return true;
}

bool CheckTournament(const MatchSettings& settings, std::string& error) {
    if (settings.sprt && settings.engines.size() > 2) {
        error = "-sprt tests two engines, and here are " + std::to_string(settings.engines.size());
        return false;
    }
    const std::size_t pairings = Pairings(settings.engines.size(), settings.tournament).size();
    if (static_cast<std::size_t>(settings.games) > MAX_GAMES / pairings) {
        error = "-games is too much: " + std::to_string(settings.games) + " games of each of " +
                std::to_string(pairings) + " pairings";
        return false;
    }
    return true;
}

std::string SecondsText(Milliseconds time) {
    std::string text = std::to_string(time.count() / 1000);
    if (const std::int64_t rest = time.count() % 1000; rest != 0) {
        const std::string digits = std::to_string(1000 + rest).substr(1);
        text += '.';
        text += digits.substr(0, digits.find_last_not_of('0') + 1);
    }
    return text;
}

}  // namespace

const std::string_view USAGE = R"(usage: quorvanth-match -engine WORDS -engine WORDS ... [-each WORDS] [OPTIONS]

words of an engine, and of -each for all:
  cmd=PROGRAM          path or name of a UCI engine
  name=NAME            in the table and the PGN; the program's own name if not given
  dir=DIRECTORY        where it runs
  arg=TEXT             an argument of its command line; may be repeated
  option.NAME=VALUE    a UCI option; may be repeated
  vary.NAME=V1,V2,...  a UCI option that changes from game to game, in turn; may be repeated
  ponder=on            it thinks in the opponent's time (off)
  restart=on           it is ended by quit after every game, and started anew (off)
  tc=[MOVES/]SECONDS[+INCREMENT]   its clock, such as 5+0.05
  nodes=N, depth=N     a limit for every move, with a clock or without

options:
  -games N             (100); of each pairing, where there are more than two engines
  -tournament roundrobin|gauntlet   everybody against everybody, or the first engine against each of the others, where
                       there are more than two (roundrobin)
  -concurrency N       games side by side (1)
  -openings file=FILE [format=pgn|epd] [order=random|sequential] [plies=N]
  -repeat, -norepeat   each opening twice with colours swapped, or once (-repeat)
  -seed N              of the random order (1)
  -restart on|off      restart=on for all engines (off)
  -pgn FILE            the games are appended to it
  -event TEXT          the PGN's Event tag
  -margin MS           milliseconds that a clock may be overstepped (10)
  -patience SECONDS    for every answer that no clock bounds; then the engine is killed (30)
  -sprt [elo0=0] [elo1=5] [alpha=0.05] [beta=0.05]     stop when the test is decided; two engines
  -draw [from=40] [moves=8] [score=10]                 adjudicate draws
  -resign [moves=3] [score=900]                        adjudicate wins
)";

bool ReadCommandLine(std::span<const std::string_view> arguments, MatchSettings& settings, std::string& error) {
    Arguments walk(arguments, error);
    EngineWords words;
    while (!walk.AtEnd()) {
        const std::string_view option = walk.Take();
        const bool of_engine = option == "-engine" || option == "-each" || option == "-restart";
        if (!(of_engine ? ReadEngineOption(option, walk, words) : ReadOption(option, walk, settings))) {
            return false;
        }
    }
    if (settings.sprt && settings.sprt->elo0 >= settings.sprt->elo1) {
        error = "-sprt needs elo0 below elo1";
        return false;
    }
    return CheckEngines(words, settings, error) && CheckTournament(settings, error);
}

std::string ClockText(const Limits& limits) {
    if (!limits.clock) {
        return {};
    }
    std::string text = limits.period > 0 ? std::to_string(limits.period) + "/" : "";
    text += SecondsText(limits.base);
    if (limits.increment.count() > 0) {
        text += '+';
        text += SecondsText(limits.increment);
    }
    return text;
}

std::string LimitsText(const Limits& limits) {
    std::string text = limits.clock ? "tc=" : "";
    text += ClockText(limits);
    const auto append = [&text](std::string_view name, std::int64_t value) {
        if (value > 0) {
            text += text.empty() ? "" : " ";
            text += name;
            text += std::to_string(value);
        }
    };
    append("nodes=", limits.nodes);
    append("depth=", limits.depth);
    return text;
}
