#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "platform/process.h"

namespace {

void (*exit_step)() = nullptr;

void EndNow(int) {
    _exit(0);
}

}  // namespace

void SetExitStep(void (*step)()) {
    exit_step = step;
}

void ExitEngine(int code) {
    if (exit_step != nullptr) {
        // Cleared first, so that a failure inside the step cannot run it again.
        void (*const step)() = exit_step;
        exit_step = nullptr;
        step();
    }
    std::fflush(stdout);
    std::exit(code);
}

// A handler of its own and not the system's default: a parent may have left the signal ignored.
void EndWhenOutputCloses() {
    std::signal(SIGPIPE, EndNow);
}

void IgnoreInterrupts() {
    std::signal(SIGINT, SIG_IGN);
}
