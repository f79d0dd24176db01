#include "platform/clock.h"

#include <ctime>

namespace {

std::int64_t SteadyCentiseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 100 + now.tv_nsec / 10'000'000;
}

const std::int64_t process_start = SteadyCentiseconds();

}  // namespace

std::int32_t ClockCentiseconds() {
    return static_cast<std::int32_t>(SteadyCentiseconds() - process_start);
}
