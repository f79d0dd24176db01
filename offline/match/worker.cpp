#include "match/worker.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>
#include <utility>

#include "descriptors.h"

namespace {

constexpr Milliseconds END_POLL{2};

bool ReadOrder(int descriptor, std::int32_t& number) {
    ssize_t count = 0;
    do {
        count = read(descriptor, &number, sizeof number);
    } while (count < 0 && errno == EINTR);
    return count == sizeof number;
}

/// An engine and what its worker knows of it. It is started at its first game, and stays.
struct Seat {
    Seat(const EngineSettings& engine_settings, Milliseconds patience)
        : settings(engine_settings), engine(engine_settings, patience) {}

    const EngineSettings& settings;
    UciEngine engine;
    bool warned = false;
};

std::string WarningsOf(Seat& seat) {
    std::string text;
    if (!std::exchange(seat.warned, true)) {
        for (const std::string& option : seat.engine.UnknownOptions()) {
            text += "warning: \"" + seat.settings.name + "\" lists no option \"" + option + "\"\n";
        }
    }
    return text;
}

/// Notes how the engine stands behind a game, and ends it if it is to start anew for the next.
SideReport Settle(Seat& seat, const GameOutcome& outcome, Colour colour) {
    const Answer afterwards = outcome.afterwards[colour];
    SideReport side{afterwards, seat.engine.Phase(), seat.engine.ResidentBytes(), outcome.ponders[colour],
                    outcome.ponder_hits[colour]};
    if (seat.settings.restart) {
        const Answer left = seat.engine.Leave();
        side.afterwards = afterwards == Answer::OK ? left : afterwards;
    }
    return side;
}

bool Tell(int reports, const ReportHeader& header, const std::string& pgn, const std::string& warnings) {
    return WriteAll(reports, &header, sizeof header) && WriteAll(reports, pgn.data(), pgn.size()) &&
           WriteAll(reports, warnings.data(), warnings.size());
}

/// The worker's whole life behind the fork.
void Work(const MatchSettings& match, const Schedule& schedule, int orders, int reports) {
    WatchForStop(orders);
    std::deque<Seat> seats;  // which stay where they are
    for (const EngineSettings& settings : match.engines) {
        seats.emplace_back(settings, match.patience);
    }
    std::int32_t number = 0;
    while (ReadOrder(orders, number)) {
        const auto places = schedule.EnginesOf(number);
        Seat& white = seats[places[WHITE]];
        Seat& black = seats[places[BLACK]];
        std::array<UciEngine*, 2> engines{};
        std::array<const EngineSettings*, 2> settings{};
        for (const Colour side : {WHITE, BLACK}) {
            engines[side] = &seats[places[side]].engine;
            settings[side] = &seats[places[side]].settings;
        }
        const GameOutcome outcome =
            PlayGame(match, number, schedule.OpeningOf(number, match.repeat), engines, settings);
        if (outcome.stopped) {
            // No time for manners: the match is waiting.
            for (Seat& seat : seats) {
                seat.engine.Kill();
            }
            return;
        }
        const std::string warnings = WarningsOf(white) + WarningsOf(black);
        ReportHeader header{number,
                            outcome.result,
                            outcome.reason,
                            outcome.failed_to_start ? 1 : 0,
                            static_cast<std::uint32_t>(outcome.pgn.size()),
                            static_cast<std::uint32_t>(warnings.size()),
                            {}};
        for (const Colour side : {WHITE, BLACK}) {
            header.sides[side] = Settle(seats[places[side]], outcome, side);
        }
        if (!Tell(reports, header, outcome.pgn, warnings)) {
            return;
        }
    }
    WatchForStop(-1);
    for (Seat& seat : seats) {
        seat.engine.Quit();
    }
}

}  // namespace

Worker::Worker(const MatchSettings& match, const Schedule& schedule, const std::vector<Worker>& siblings) {
    int orders[2] = {-1, -1};
    int reports[2] = {-1, -1};
    std::fflush(nullptr);
    if (pipe2(orders, O_CLOEXEC) == 0 && pipe2(reports, O_CLOEXEC) == 0) {
        process_ = fork();
    }
    if (process_ == 0) {
        // The match alone answers an interrupt; its workers see their orders close.
        signal(SIGINT, SIG_IGN);
        signal(SIGTERM, SIG_DFL);
        signal(SIGHUP, SIG_IGN);
        // An open copy of a sibling's orders would keep it from seeing their end.
        for (const Worker& sibling : siblings) {
            close(sibling.orders_);
            close(sibling.reports_);
        }
        close(orders[1]);
        close(reports[0]);
        Work(match, schedule, orders[0], reports[1]);
        _exit(0);
    }
    CloseOnce(orders[0]);
    CloseOnce(reports[1]);
    orders_ = orders[1];
    reports_ = reports[0];
}

Worker::~Worker() {
    Finish(SteadyClock::now());
}

Worker::Worker(Worker&& other) noexcept
    : process_(std::exchange(other.process_, -1)),
      orders_(std::exchange(other.orders_, -1)),
      reports_(std::exchange(other.reports_, -1)),
      game_(std::exchange(other.game_, -1)),
      pending_(std::move(other.pending_)) {}

void Worker::Order(int number) {
    game_ = number;
    const std::int32_t order = number;
    WriteAll(orders_, &order, sizeof order);
}

std::optional<Report> Worker::TakeReport() {
    char buffer[4096];
    const ssize_t count = read(reports_, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) {
        return std::nullopt;
    }
    if (count <= 0) {
        Finish(SteadyClock::now());
        return std::nullopt;
    }
    pending_.append(buffer, static_cast<std::size_t>(count));
    Report report{};
    if (pending_.size() < sizeof report.header) {
        return std::nullopt;
    }
    std::memcpy(&report.header, pending_.data(), sizeof report.header);
    const std::size_t warnings_at = sizeof report.header + report.header.pgn_size;
    const std::size_t end = warnings_at + report.header.warnings_size;
    if (pending_.size() < end) {
        return std::nullopt;
    }
    report.pgn = pending_.substr(sizeof report.header, report.header.pgn_size);
    report.warnings = pending_.substr(warnings_at, report.header.warnings_size);
    pending_.erase(0, end);
    game_ = -1;
    return report;
}

void Worker::CloseOrders() {
    CloseOnce(orders_);
}

void Worker::Finish(TimePoint deadline) {
    CloseOrders();
    // A report that nobody wants must not hold the worker up.
    CloseOnce(reports_);
    if (process_ <= 0) {
        return;
    }
    for (;;) {
        const pid_t ended = waitpid(process_, nullptr, WNOHANG);
        if (ended == process_ || (ended < 0 && errno != EINTR)) {
            break;
        }
        if (SteadyClock::now() >= deadline) {
            kill(process_, SIGKILL);
            while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
            }
            break;
        }
        poll(nullptr, 0, static_cast<int>(END_POLL.count()));
    }
    process_ = -1;
}
