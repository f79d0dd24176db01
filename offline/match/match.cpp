#include "match/match.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <set>

#include "games/rules.h"
#include "match/command_line.h"
#include "match/memory_log.h"
#include "match/standing.h"
#include "match/worker.h"

namespace {

constexpr int EXIT_DONE = 0;
constexpr int EXIT_FAILED = 1;
constexpr int EXIT_INTERRUPTED = 130;

/// An engine that has failed to start this often without a game in between will not start at all.
constexpr int MAX_FAILED_STARTS = 3;

/// What workers get to end their engines: more than those get for quitting.
constexpr Milliseconds FINISH_TIME{10000};

/// The write end of the pipe that makes a signal visible to poll.
int InterruptPipe = -1;

void NoteInterrupt(int) {
    const int saved = errno;
    const ssize_t ignored = write(InterruptPipe, "", 1);
    static_cast<void>(ignored);
    errno = saved;
}

int CatchInterrupts() {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return -1;
    }
    InterruptPipe = ends[1];
    struct sigaction action {};
    action.sa_handler = NoteInterrupt;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(number, &action, nullptr);
    }
    signal(SIGPIPE, SIG_IGN);  // who is gone is found out by reading
    return ends[0];
}

bool Complain(const std::string& text) {
    std::fprintf(stderr, "quorvanth-match: %s\n", text.c_str());
    return false;
}

bool MakeSchedule(const MatchSettings& match, Schedule& schedule) {
    schedule.pairings = Pairings(match.engines.size(), match.tournament);
    if (match.openings.empty()) {
        schedule.openings = {{std::string(START_FEN), {}}};
        schedule.order = {0};
        return true;
    }
    std::string error;
    schedule.openings = ReadOpenings(match.openings, match.opening_plies, error, match.opening_format);
    if (schedule.openings.empty()) {
        return Complain("openings file \"" + match.openings + "\": " + error);
    }
    schedule.order = ShuffledOrder(schedule.openings.size(), match.seed);
    if (!match.random_order) {
        std::ranges::sort(schedule.order);
    }
    return true;
}

/// What is played, in one line.
std::string Announcement(const MatchSettings& match, const Schedule& schedule) {
    const bool tournament = match.engines.size() > 2;
    std::string text;
    for (const EngineSettings& engine : match.engines) {
        text += text.empty() ? "" : tournament ? ", " : " - ";
        text += engine.name + " (" + LimitsText(engine.limits) + ")";
    }
    if (tournament) {
        text.insert(0, match.tournament == Tournament::GAUNTLET ? "Gauntlet: " : "Round robin: ");
        text += ", " + std::to_string(schedule.pairings.size()) + " pairings of";
    } else {
        text += ",";
    }
    return text + " " + std::to_string(match.games) + " games, " + std::to_string(schedule.openings.size()) +
           " openings, seed " + std::to_string(match.seed) + "\n";
}

/// On a terminal one line that is written over; in a file a line a game.
class ProgressLine {
  public:
    void Show(const Standing& standing, const std::string& game) const {
        if (terminal_) {
            std::fprintf(stderr, "\r\x1b[K%s", standing.Progress().c_str());
        } else {
            std::fprintf(stderr, "%s; %s\n", game.c_str(), standing.Progress().c_str());
        }
        std::fflush(stderr);
    }
    void Leave() const {
        if (terminal_) {
            std::fputs("\n", stderr);
        }
    }

  private:
    bool terminal_ = isatty(STDERR_FILENO) == 1;
};

class Match {
  public:
    Match(const MatchSettings& settings, const Schedule& schedule, std::ofstream& pgn, int interrupts)
        : settings_(settings),
          schedule_(schedule),
          pgn_(pgn),
          interrupts_(interrupts),
          standing_(settings, schedule),
          memory_(settings),
          games_(settings.games * static_cast<int>(schedule.pairings.size())),
          failed_starts_(settings.engines.size(), 0) {}

    int Play() {
        const int workers = std::min(settings_.concurrency, games_);
        workers_.reserve(static_cast<std::size_t>(workers));
        for (int i = 0; i < workers; ++i) {
            workers_.emplace_back(settings_, schedule_, workers_);
            if (!workers_.back().IsAlive()) {
                Complain("the system has no process for a game");
                workers_.pop_back();
                break;
            }
        }
        while (!over_ && HandOutGames()) {
            WaitForReports();
        }
        for (Worker& worker : workers_) {
            worker.CloseOrders();
        }
        const TimePoint deadline = SteadyClock::now() + FINISH_TIME;
        for (Worker& worker : workers_) {
            worker.Finish(deadline);
        }
        progress_.Leave();
        return exit_code_;
    }

    std::string Table() const { return standing_.Table() + memory_.Text(); }

  private:
    void Stop(int exit_code) {
        over_ = true;
        exit_code_ = exit_code;
    }

    /// Answers whether any game is under way.
    bool HandOutGames() {
        bool busy = false;
        bool alive = false;
        for (Worker& worker : workers_) {
            if (worker.IsAlive() && worker.IsIdle() && next_game_ < games_) {
                worker.Order(next_game_++);
            }
            alive |= worker.IsAlive();
            busy |= worker.IsAlive() && !worker.IsIdle();
        }
        if (!alive) {
            Complain("no worker is left");
            Stop(EXIT_FAILED);
        }
        return busy;
    }

    void WaitForReports() {
        std::vector<pollfd> waits{{interrupts_, POLLIN, 0}};
        for (const Worker& worker : workers_) {
            waits.push_back({worker.ReportDescriptor(), POLLIN, 0});
        }
        if (poll(waits.data(), static_cast<nfds_t>(waits.size()), -1) <= 0) {
            return;
        }
        if (waits[0].revents != 0) {
            Stop(EXIT_INTERRUPTED);
            return;
        }
        for (std::size_t i = 0; i < workers_.size() && !over_; ++i) {
            if (waits[i + 1].revents != 0) {
                Hear(i);
            }
        }
    }

    void Hear(std::size_t number) {
        Worker& worker = workers_[number];
        const int game = worker.Game();
        if (const std::optional<Report> report = worker.TakeReport()) {
            Tell(*report);
            Count(*report);
            const auto engines = schedule_.EnginesOf(report->header.number);
            for (const Colour side : {WHITE, BLACK}) {
                const SideReport& told = report->header.sides[side];
                memory_.Add(number, engines[side], told.phase, told.resident);
            }
        } else if (!worker.IsAlive() && game >= 0) {
            Complain("the worker of round " + std::to_string(game + 1) + " has died; the round does not count");
        }
    }

    /// What workers warn of, once each, and faults that no result shows.
    void Tell(const Report& report) {
        for (std::string_view rest = report.warnings; !rest.empty();) {
            const std::string line(rest.substr(0, rest.find('\n') + 1));
            rest.remove_prefix(line.size());
            if (warnings_.insert(line).second) {
                std::fputs(line.c_str(), stderr);
            }
        }
        std::fputs(standing_.FaultLines(report.header).c_str(), stderr);
    }

    void Count(const Report& report) {
        const ReportHeader& header = report.header;
        standing_.Add(header);
        progress_.Show(standing_, standing_.GameLine(header));
        if (pgn_.is_open() && !(pgn_ << report.pgn << std::flush)) {
            Complain("cannot write the PGN file \"" + settings_.pgn + "\"");
            Stop(EXIT_FAILED);
        }
        CountFailedStarts(header);
        if (standing_.Verdict() != SprtVerdict::OPEN) {
            Stop(EXIT_DONE);
        }
    }

    void CountFailedStarts(const ReportHeader& header) {
        const auto engines = schedule_.EnginesOf(header.number);
        const std::size_t loser = engines[header.result == Result::WHITE_WINS ? BLACK : WHITE];
        if (header.failed_to_start == 0) {
            failed_starts_[engines[WHITE]] = failed_starts_[engines[BLACK]] = 0;
        } else if (++failed_starts_[loser] >= MAX_FAILED_STARTS) {
            Complain("\"" + settings_.engines[loser].name + "\" does not start; the match ends here");
            Stop(EXIT_FAILED);
        }
    }

    const MatchSettings& settings_;
    const Schedule& schedule_;
    std::ofstream& pgn_;
    int interrupts_;
    Standing standing_;
    MemoryLog memory_;
    ProgressLine progress_;
    std::vector<Worker> workers_;
    std::set<std::string> warnings_;
    int games_;
    int next_game_ = 0;
    std::vector<int> failed_starts_;
    bool over_ = false;
    int exit_code_ = EXIT_DONE;
};

}  // namespace

int PlayMatch(const MatchSettings& match) {
    InitializeRules();
    Schedule schedule;
    if (!MakeSchedule(match, schedule)) {
        return EXIT_FAILED;
    }
    std::ofstream pgn;
    if (!match.pgn.empty()) {
        pgn.open(match.pgn, std::ios::binary | std::ios::app);
        if (!pgn) {
            Complain("cannot write the PGN file \"" + match.pgn + "\"");
            return EXIT_FAILED;
        }
    }
    const int interrupts = CatchInterrupts();
    if (interrupts < 0) {
        Complain("the system has no pipe");
        return EXIT_FAILED;
    }
    std::fputs(Announcement(match, schedule).c_str(), stdout);
    std::fflush(stdout);
    Match games(match, schedule, pgn, interrupts);
    const int exit_code = games.Play();
    std::fputs(games.Table().c_str(), stdout);
    std::fflush(stdout);
    return exit_code;
}
