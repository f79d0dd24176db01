// The process clock.
#pragma once

#include <cstdint>

/// Centiseconds of a steady clock since the process started; wraps no sooner than after 248 days.
std::int32_t ClockCentiseconds();
