// Standard input, as the front end needs it of the system.
#pragma once

#include <cstddef>
#include <span>

/// True when a read of standard input will not block: bytes wait, or the input has closed.
bool StandardInputReady();

/// The same, after waiting at most `milliseconds`, for ever if that is negative. A signal ends the wait with false.
bool WaitForStandardInput(int milliseconds);

/// One blocking read into `buffer`, retried while interrupted. Answers the number of bytes, 0 when the input has
/// closed or failed.
std::size_t ReadStandardInput(std::span<char> buffer);
