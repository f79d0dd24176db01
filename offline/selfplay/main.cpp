// Games of the engine against itself, for statistics and tuning: many processes side by side, one file of games in
// the order of their numbers, the same bytes from the same arguments. A run that was interrupted goes on where its
// file ends.

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "descriptors.h"
#include "games/rules.h"
#include "read_number.h"
#include "selfplay/game_file.h"
#include "selfplay/self_game.h"

namespace {

constexpr std::string_view USAGE =
    "usage: quorvanth-selfplay -openings FILE -out FILE [OPTIONS]\n"
    "\n"
    "  -openings FILE   EPD, or PGN by its name's end .pgn or .txt\n"
    "  -out FILE        PGN; an interrupted run goes on where the file ends\n"
    "  -games N         how many in all (1000)\n"
    "  -nodes N         a move (5000)\n"
    "  -random N        random half-moves behind the opening (0)\n"
    "  -balance N       centipawns that a start with random moves may be worth; drawn anew beyond (no bound)\n"
    "  -seed N          of the openings' order and the random moves (1)\n"
    "  -processes N     side by side (2); the games do not depend on it\n"
    "\n"
    "values.txt is read from the working directory.\n";

struct Settings {
    std::string openings;
    std::string out;
    int games = 1000;
    int processes = 2;
    std::uint64_t seed = 1;
    SelfGameSettings game;
};

bool ReadArguments(std::span<char*> arguments, Settings& settings) {
    for (std::size_t i = 0; i + 1 < arguments.size(); i += 2) {
        const std::string_view name = arguments[i];
        const std::string_view value = arguments[i + 1];
        bool good = true;
        if (name == "-openings") {
            settings.openings = value;
        } else if (name == "-out") {
            settings.out = value;
        } else if (name == "-games") {
            good = ReadNumber(value, 1, 100'000'000, settings.games);
        } else if (name == "-nodes") {
            good = ReadNumber<std::int64_t>(value, 1, 1'000'000'000, settings.game.nodes);
        } else if (name == "-random") {
            good = ReadNumber(value, 0, 100, settings.game.random_plies);
        } else if (name == "-balance") {
            good = ReadNumber(value, 1, 30'000, settings.game.balance);
        } else if (name == "-seed") {
            good = ReadNumber<std::uint64_t>(value, 0, ~std::uint64_t{0}, settings.seed);
        } else if (name == "-processes") {
            good = ReadNumber(value, 1, 256, settings.processes);
        } else {
            good = false;
        }
        if (!good) {
            std::fprintf(stderr, "quorvanth-selfplay: not understood: %s %s\n", arguments[i], arguments[i + 1]);
            return false;
        }
    }
    if (arguments.size() % 2 != 0 || settings.openings.empty() || settings.out.empty()) {
        std::fwrite(USAGE.data(), 1, USAGE.size(), stderr);
        return false;
    }
    return true;
}

/// What a worker sends for each game, before its text.
struct GameHeader {
    int number;
    std::uint32_t length;
};

/// Every game whose number leaves `first`'s remainder by `step`. Never returns.
[[noreturn]] void RunWorker(const Settings& settings, const std::vector<Opening>& openings, int first, int step,
                            int out) {
    // The engine polls its input and prints; both lead nowhere here. A pipe that nobody writes to is never ready.
    int quiet[2];
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (pipe(quiet) != 0 || nowhere < 0 || dup2(quiet[0], STDIN_FILENO) < 0 || dup2(nowhere, STDOUT_FILENO) < 0) {
        _exit(1);
    }
    PrepareSelfPlay();
    const std::vector<std::size_t> order = ShuffledOrder(openings.size(), settings.seed);
    for (int number = first; number < settings.games; number += step) {
        // Once all openings have been played they come again, each time with one random move more.
        SelfGameSettings game = settings.game;
        game.random_plies += number / static_cast<int>(openings.size());
        const std::size_t place = static_cast<std::size_t>(number) % openings.size();
        const std::string pgn = PlaySelfGame(number, openings[order[place]], game, settings.seed);
        const GameHeader header{number, static_cast<std::uint32_t>(pgn.size())};
        std::string message(sizeof(header), '\0');
        std::memcpy(message.data(), &header, sizeof(header));
        message += pgn;
        if (!WriteAll(out, message.data(), message.size())) {
            _exit(1);
        }
    }
    _exit(0);
}

class Progress {
  public:
    explicit Progress(int games, int before) : games_(games), before_(before) {}

    void Show(int done) {
        const auto now = std::chrono::steady_clock::now();
        if (done < games_ && now - shown_ < (terminal_ ? std::chrono::seconds(1) : std::chrono::seconds(60))) {
            return;
        }
        shown_ = now;
        const double seconds = std::chrono::duration<double>(now - start_).count();
        const double rate = seconds > 0 ? (done - before_) / seconds : 0;
        constexpr int WIDTH = 30;
        const int filled = static_cast<int>(std::int64_t{WIDTH} * done / games_);
        const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                                std::string(static_cast<std::size_t>(WIDTH - filled), '.');
        const long left = rate > 0 ? static_cast<long>((games_ - done) / rate) : 0;
        std::fprintf(stderr, "%s[%s] %d/%d games, %.2f games/s, %ld:%02ld:%02ld left%s", terminal_ ? "\r\x1b[K" : "",
                     bar.c_str(), done, games_, rate, left / 3600, left / 60 % 60, left % 60,
                     terminal_ && done < games_ ? "" : "\n");
        std::fflush(stderr);
    }

  private:
    int games_;
    int before_;
    bool terminal_ = isatty(STDERR_FILENO) == 1;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point shown_ = start_;
};

/// One worker's pipe, and what has come through it so far.
struct Channel {
    int in = -1;
    std::string bytes;

    /// False when the worker has closed its end.
    bool Read() {
        char buffer[65536];
        const ssize_t count = read(in, buffer, sizeof(buffer));
        if (count <= 0) {
            return false;
        }
        bytes.append(buffer, static_cast<std::size_t>(count));
        return true;
    }

    /// The next whole game, if there is one.
    bool TakeGame(int& number, std::string& pgn) {
        GameHeader header{};
        if (bytes.size() < sizeof(header)) {
            return false;
        }
        std::memcpy(&header, bytes.data(), sizeof(header));
        if (bytes.size() < sizeof(header) + header.length) {
            return false;
        }
        number = header.number;
        pgn = bytes.substr(sizeof(header), header.length);
        bytes.erase(0, sizeof(header) + header.length);
        return true;
    }
};

bool StartWorkers(const Settings& settings, const std::vector<Opening>& openings, int first,
                  std::vector<Channel>& channels) {
    for (int i = 0; i < settings.processes; ++i) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            return false;
        }
        const pid_t child = fork();
        if (child < 0) {
            return false;
        }
        if (child == 0) {
            RunWorker(settings, openings, first + i, settings.processes, ends[1]);
        }
        close(ends[1]);
        channels.push_back({ends[0], {}});
    }
    return true;
}

/// Takes the workers' games until all have closed. False when the file cannot be written.
bool CollectGames(std::vector<Channel>& channels, GameFile& file, Progress& progress) {
    while (!channels.empty()) {
        std::vector<pollfd> waits;
        waits.reserve(channels.size());
        for (const Channel& channel : channels) {
            waits.push_back({channel.in, POLLIN, 0});
        }
        if (poll(waits.data(), waits.size(), -1) < 0) {
            continue;
        }
        for (std::size_t i = channels.size(); i-- > 0;) {
            if (waits[i].revents != 0 && !channels[i].Read()) {
                close(channels[i].in);
                channels.erase(channels.begin() + static_cast<std::ptrdiff_t>(i));
                continue;
            }
            int number = 0;
            for (std::string pgn; channels[i].TakeGame(number, pgn);) {
                if (!file.Add(number, std::move(pgn))) {
                    return false;
                }
                progress.Show(file.Games());
            }
        }
    }
    return true;
}

int Fail(const std::string& text) {
    std::fprintf(stderr, "quorvanth-selfplay: %s\n", text.c_str());
    return 1;
}

}  // namespace

int main(int count, char** values) {
    Settings settings;
    if (!ReadArguments(std::span(values + 1, static_cast<std::size_t>(std::max(count - 1, 0))), settings)) {
        return 2;
    }
    InitializeRules();
    std::string error;
    constexpr int ALL_PLIES = 1000;
    const OpeningFormat format = settings.openings.ends_with(".txt") ? OpeningFormat::PGN : OpeningFormat::BY_NAME;
    const std::vector<Opening> openings = ReadOpenings(settings.openings, ALL_PLIES, error, format);
    if (openings.empty()) {
        return Fail(settings.openings + ": " + error);
    }
    GameFile file;
    if (const std::string problem = file.Open(settings.out); !problem.empty()) {
        return Fail(problem);
    }
    Progress progress(settings.games, file.Games());
    std::vector<Channel> channels;
    if (!StartWorkers(settings, openings, file.Games(), channels)) {
        return Fail("the system has no more processes");
    }
    if (!CollectGames(channels, file, progress)) {
        return Fail(settings.out + " cannot be written");
    }
    while (wait(nullptr) > 0) {
    }
    return file.Games() >= settings.games ? 0 : Fail("a worker has ended early; run again to go on");
}
