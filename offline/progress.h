// What a program says on standard error while it works.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

/// A line that tells how far a long piece of work is: on a terminal in place, otherwise a new one now and then. Short
/// work says nothing.
class Progress {
  public:
    Progress(std::string what, std::uint64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Report(std::uint64_t done);

    /// A message of its own line.
    void Say(std::string_view message);

  private:
    using Clock = std::chrono::steady_clock;

    void Clear();

    std::string what_;
    std::uint64_t total_;
    bool terminal_;
    bool on_line_ = false;
    Clock::time_point next_;
};
