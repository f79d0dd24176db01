#include "match/worker.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

constexpr Milliseconds END_POLL{2};

void CloseOnce(int& descriptor) {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

bool WriteAll(int descriptor, const void* bytes, std::size_t size) {
    const char* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t count = write(descriptor, at, size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        at += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

bool ReadOrder(int descriptor, std::int32_t& number) {
    ssize_t count = 0;
    do {
        count = read(descriptor, &number, sizeof number);
    } while (count < 0 && errno == EINTR);
    return count == sizeof number;
}

void WarnOfOptions(const EngineSettings& settings, const UciEngine& engine) {
    for (const std::string& option : engine.UnknownOptions()) {
        std::fprintf(stderr, "warning: \"%s\" lists no option \"%s\"\n", settings.name.c_str(), option.c_str());
    }
}

/// The worker's whole life behind the fork.
void Work(const MatchSettings& match, const Schedule& schedule, int orders, int reports, bool warns) {
    WatchForStop(orders);
    UciEngine engines[2] = {{match.engines[0], match.patience}, {match.engines[1], match.patience}};
    std::int32_t number = 0;
    while (ReadOrder(orders, number)) {
        const int white = WhiteEngine(number);
        const GameOutcome outcome =
            PlayGame(match, number, schedule.OpeningOf(number, match.repeat), {&engines[white], &engines[1 - white]},
                     {&match.engines[white], &match.engines[1 - white]});
        if (std::exchange(warns, false)) {
            WarnOfOptions(match.engines[0], engines[0]);
            WarnOfOptions(match.engines[1], engines[1]);
        }
        if (outcome.stopped) {
            // No time for manners: the match is waiting.
            engines[0].Kill();
            engines[1].Kill();
            return;
        }
        const ReportHeader header{number, outcome.result, outcome.reason, outcome.failed_to_start ? 1 : 0,
                                  static_cast<std::uint32_t>(outcome.pgn.size())};
        if (!WriteAll(reports, &header, sizeof header) || !WriteAll(reports, outcome.pgn.data(), outcome.pgn.size())) {
            return;
        }
    }
    WatchForStop(-1);
    engines[0].Quit();
    engines[1].Quit();
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
        Work(match, schedule, orders[0], reports[1], siblings.empty());
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
    if (pending_.size() < sizeof report.header + report.header.pgn_size) {
        return std::nullopt;
    }
    report.pgn = pending_.substr(sizeof report.header, report.header.pgn_size);
    pending_.erase(0, sizeof report.header + report.header.pgn_size);
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
