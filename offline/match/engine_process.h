// An engine as a child process: lines in through one pipe, lines out through another, never waiting without end.
//
// The child leads a process group of its own, so that an interrupt at the terminal does not reach it, and so that
// killing it takes along what a wrapper script started. Its error output goes nowhere.
#pragma once

#include "match/settings.h"

#include <sys/types.h>

#include <string>
#include <string_view>

using SteadyClock = std::chrono::steady_clock;
using TimePoint = SteadyClock::time_point;

enum class ReadOutcome {
    LINE,
    TIMEOUT,
    CLOSED,   // the engine's output has ended: it is gone
    STOPPED,  // the match is called off
    OTHER     // not this engine, but the other one has said something
};

enum class QuitOutcome {
    EXITED,
    CRASHED,  // by a signal
    KILLED    // it did not exit in time
};

/// A descriptor that becomes readable when the match is called off, -1 for none. Every wait watches it.
void WatchForStop(int descriptor);

class EngineProcess {
  public:
    EngineProcess() = default;
    ~EngineProcess();
    EngineProcess(const EngineProcess&) = delete;
    EngineProcess& operator=(const EngineProcess&) = delete;

    /// Starts the program; false when there is no process or no pipe to be had. A program that cannot be run shows as
    /// CLOSED at the first read.
    bool Start(const EngineSettings& settings);
    bool IsRunning() const { return process_ > 0; }

    /// Writes the line with its end; false when the engine is gone or does not read until the deadline.
    bool Send(std::string_view line, TimePoint deadline);

    /// The next line without its end. What is already there is delivered even after the deadline. While it waits it
    /// listens to `other`, too, if there is one.
    ReadOutcome ReadLine(std::string& line, TimePoint deadline, const EngineProcess* other = nullptr);

    /// Throws away what the engine has said so far.
    void ForgetOutput();

    /// Asks the engine to end, and kills it if it has not at the deadline, or when the match is called off.
    QuitOutcome Quit(TimePoint deadline);

    /// Bytes of its memory that are resident; 0 when it does not run or the system does not tell.
    std::int64_t ResidentBytes() const;

    /// Ends the engine now. No process is left behind.
    void Kill();

  private:
    bool TakeLine(std::string& line);
    ReadOutcome ReadMore(TimePoint deadline, const EngineProcess* other);

    pid_t process_ = -1;
    int to_engine_ = -1;
    int from_engine_ = -1;
    bool skipping_ = false;  // the rest of a line that was too long
    std::string pending_;
};
