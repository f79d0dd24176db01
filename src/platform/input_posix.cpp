#include "platform/input.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

bool StandardInputReady() {
    return WaitForStandardInput(0);
}

bool WaitForStandardInput(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    // A hang-up or an error counts as ready: the read that follows finds out.
    return poll(&input, 1, milliseconds) > 0;
}

std::size_t ReadStandardInput(std::span<char> buffer) {
    ssize_t count = 0;
    do {
        count = read(STDIN_FILENO, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}
