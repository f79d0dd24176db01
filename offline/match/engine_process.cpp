#include "match/engine_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>

#include "descriptors.h"
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace {

/// A longer line is cut: no line that matters comes near it.
constexpr std::size_t MAX_LINE = 1 << 16;

constexpr int EXIT_NOT_RUN = 127;
constexpr Milliseconds EXIT_POLL{2};

/// More than a pipe holds. An engine that talks without pause must not hold up the game.
constexpr int MAX_LATE_READS = 64;

int StopDescriptor = -1;

/// poll's timeout up to the deadline, rounded up so that a wait never ends before it.
int MillisecondsTo(TimePoint deadline) {
    const auto left = std::chrono::ceil<Milliseconds>(deadline - SteadyClock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1'000'000'000));
}

enum class Wait { READY, TIMEOUT, STOPPED, OTHER };

/// Waits until the descriptor can be read or written, or has failed, or until `other`, if not -1, can be read.
Wait WaitFor(int descriptor, short events, TimePoint deadline, int other = -1) {
    for (;;) {
        // poll passes over a negative descriptor.
        std::array<pollfd, 3> waits{{{descriptor, events, 0}, {StopDescriptor, POLLIN, 0}, {other, POLLIN, 0}}};
        const int ready = poll(waits.data(), waits.size(), MillisecondsTo(deadline));
        if (ready > 0 && (waits[0].revents != 0 || waits[1].revents != 0)) {
            return waits[1].revents != 0 ? Wait::STOPPED : Wait::READY;
        }
        if (ready >= 0 && SteadyClock::now() >= deadline) {
            return Wait::TIMEOUT;
        }
        if (ready > 0) {
            return Wait::OTHER;
        }
        if (ready < 0 && errno != EINTR) {
            return Wait::TIMEOUT;
        }
    }
}

/// The child's side of the fork: pipes in place of input and output, then the program. Only calls that are allowed
/// between fork and exec.
[[noreturn]] void RunProgram(const EngineSettings& settings, char* const* arguments, int input, int output,
                             pid_t parent) {
    setpgid(0, 0);
#ifdef __linux__
    // Should the referee die, its engines die with it, even those that hang.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(EXIT_NOT_RUN);
    }
#else
    static_cast<void>(parent);
#endif
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        signal(number, SIG_DFL);
    }
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    if (settings.directory.empty() || chdir(settings.directory.c_str()) == 0) {
        execvp(arguments[0], arguments);
    }
    _exit(EXIT_NOT_RUN);
}

}  // namespace

void WatchForStop(int descriptor) {
    StopDescriptor = descriptor;
}

EngineProcess::~EngineProcess() {
    Kill();
}

bool EngineProcess::Start(const EngineSettings& settings) {
    Kill();
    std::array<int, 2> input{-1, -1};
    std::array<int, 2> output{-1, -1};
    // All of it is ready before the fork: the child must not allocate.
    std::vector<std::string> words{settings.command};
    words.insert(words.end(), settings.arguments.begin(), settings.arguments.end());
    std::vector<char*> arguments(words.size() + 1, nullptr);
    std::ranges::transform(words, arguments.begin(), [](std::string& word) { return word.data(); });
    const pid_t referee = getpid();
    if (pipe2(input.data(), O_CLOEXEC) == 0 && pipe2(output.data(), O_CLOEXEC) == 0) {
        process_ = fork();
        if (process_ == 0) {
            RunProgram(settings, arguments.data(), input[0], output[1], referee);
        }
    }
    CloseOnce(input[0]);
    CloseOnce(output[1]);
    to_engine_ = input[1];
    from_engine_ = output[0];
    if (process_ < 0) {
        Kill();
        return false;
    }
    setpgid(process_, process_);  // by both, whoever comes first
    fcntl(to_engine_, F_SETFL, O_NONBLOCK);
    fcntl(from_engine_, F_SETFL, O_NONBLOCK);
    return true;
}

bool EngineProcess::Send(std::string_view line, TimePoint deadline) {
    std::string text(line);
    text += '\n';
    std::string_view rest = text;
    while (!rest.empty()) {
        const ssize_t count = write(to_engine_, rest.data(), rest.size());
        if (count > 0) {
            rest.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            if (WaitFor(to_engine_, POLLOUT, deadline) != Wait::READY) {
                return false;
            }
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool EngineProcess::TakeLine(std::string& line) {
    const std::size_t end = pending_.find('\n');
    if (end == std::string::npos) {
        if (pending_.size() <= MAX_LINE) {
            return false;
        }
        // Delivered once, cut; what follows of it is passed over.
        const bool first = !skipping_;
        line = first ? pending_ : std::string();
        pending_.clear();
        skipping_ = true;
        return first;
    }
    line = pending_.substr(0, end);
    pending_.erase(0, end + 1);
    if (line.ends_with('\r')) {
        line.pop_back();
    }
    if (skipping_) {
        skipping_ = false;
        return TakeLine(line);
    }
    return true;
}

ReadOutcome EngineProcess::ReadMore(TimePoint deadline, const EngineProcess* other) {
    switch (WaitFor(from_engine_, POLLIN, deadline, other != nullptr ? other->from_engine_ : -1)) {
        case Wait::TIMEOUT:
            return ReadOutcome::TIMEOUT;
        case Wait::STOPPED:
            return ReadOutcome::STOPPED;
        case Wait::OTHER:
            return ReadOutcome::OTHER;
        case Wait::READY:
            break;
    }
    std::array<char, 8192> buffer;
    const ssize_t count = read(from_engine_, buffer.data(), buffer.size());
    if (count > 0) {
        pending_.append(buffer.data(), static_cast<std::size_t>(count));
        return ReadOutcome::LINE;
    }
    return count < 0 && (errno == EINTR || errno == EAGAIN) ? ReadOutcome::LINE : ReadOutcome::CLOSED;
}

ReadOutcome EngineProcess::ReadLine(std::string& line, TimePoint deadline, const EngineProcess* other) {
    for (int late_reads = 0; !TakeLine(line);) {
        if (const ReadOutcome outcome = ReadMore(deadline, other); outcome != ReadOutcome::LINE) {
            return outcome;
        }
        // A line without end keeps the pipe full.
        if (SteadyClock::now() > deadline && ++late_reads > MAX_LATE_READS) {
            return ReadOutcome::TIMEOUT;
        }
    }
    return ReadOutcome::LINE;
}

void EngineProcess::ForgetOutput() {
    std::string line;
    const TimePoint now = SteadyClock::now();
    for (int reads = 0; reads < MAX_LATE_READS && ReadMore(now, nullptr) == ReadOutcome::LINE; ++reads) {
        while (TakeLine(line)) {
        }
    }
    // The beginning of a line stays, for its end to come.
    while (TakeLine(line)) {
    }
}

QuitOutcome EngineProcess::Quit(TimePoint deadline) {
    if (!IsRunning()) {
        return QuitOutcome::EXITED;
    }
    // Its input stays open: an engine that ends only where that ends has not understood.
    Send("quit", deadline);
    int status = 0;
    while (waitpid(process_, &status, WNOHANG) == 0) {
        pollfd stop{StopDescriptor, POLLIN, 0};
        const bool stopped = poll(&stop, 1, static_cast<int>(EXIT_POLL.count())) > 0;
        if (stopped || SteadyClock::now() >= deadline) {
            Kill();
            return stopped ? QuitOutcome::EXITED : QuitOutcome::KILLED;
        }
        ForgetOutput();
    }
    // Reaped already; only what it may have started itself is left to end.
    kill(-process_, SIGKILL);
    process_ = -1;
    Kill();
    return WIFSIGNALED(status) ? QuitOutcome::CRASHED : QuitOutcome::EXITED;
}

std::int64_t EngineProcess::ResidentBytes() const {
    std::int64_t size = 0;
    std::int64_t resident = 0;  // both in pages
    if (!IsRunning() || !(std::ifstream("/proc/" + std::to_string(process_) + "/statm") >> size >> resident)) {
        return 0;
    }
    return resident * sysconf(_SC_PAGESIZE);
}

void EngineProcess::Kill() {
    if (process_ > 0) {
        kill(-process_, SIGKILL);
        kill(process_, SIGKILL);  // in case the group does not stand yet
        while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
        }
        process_ = -1;
    }
    CloseOnce(to_engine_);
    CloseOnce(from_engine_);
    pending_.clear();
    skipping_ = false;
}
