#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <utility>

namespace {

constexpr std::chrono::milliseconds TERMINAL_STEP{500};
constexpr std::chrono::milliseconds LOG_STEP{10000};

}  // namespace

Progress::Progress(std::string what, std::uint64_t total)
    : what_(std::move(what)),
      total_(std::max<std::uint64_t>(total, 1)),
      terminal_(isatty(STDERR_FILENO) != 0),
      next_(Clock::now() + (terminal_ ? TERMINAL_STEP : LOG_STEP)) {}

Progress::~Progress() {
    Clear();
}

void Progress::Report(std::uint64_t done) {
    const Clock::time_point now = Clock::now();
    if (now < next_) {
        return;
    }
    next_ = now + (terminal_ ? TERMINAL_STEP : LOG_STEP);
    std::fprintf(stderr, "%s%s: %" PRIu64 "%%%s", terminal_ ? "\r" : "", what_.c_str(), done * 100 / total_,
                 terminal_ ? "" : "\n");
    std::fflush(stderr);
    on_line_ = terminal_;
}

void Progress::Say(std::string_view message) {
    Clear();
    std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
}

void Progress::Clear() {
    if (on_line_) {
        std::fputs("\r\033[K", stderr);
        on_line_ = false;
    }
}
