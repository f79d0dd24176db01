// Games side by side: the position is one record a process, so each game that runs beside others has a process of its
// own, a worker, with its two engines as children.
//
// Two pipes join a worker to the match: orders, each the number of a game; and reports, each a ReportHeader with the
// game's PGN and then warnings behind it. A worker whose orders close calls its game off, ends its engines and goes;
// this also holds when the match has died.
#pragma once

#include "match/game.h"
#include "match/schedule.h"

#include <sys/types.h>

/// What is to be told of one engine behind a game.
struct SideReport {
    Answer afterwards;      // OK, CRASHED, STALLED or EARLY: its fault when the game was over
    std::int32_t phase;     // in the round of its varied options
    std::int64_t resident;  // bytes of memory, 0 for unknown
    std::int32_t ponders;
    std::int32_t ponder_hits;
};

struct ReportHeader {
    std::int32_t number;
    Result result;
    Reason reason;
    std::int32_t failed_to_start;
    std::uint32_t pgn_size;
    std::uint32_t warnings_size;
    SideReport sides[2];  // by colour
};

struct Report {
    ReportHeader header;
    std::string pgn;
    std::string warnings;  // whole lines; each worker tells them once
};

class Worker {
  public:
    /// Forks. `siblings` are the workers that stand already: their pipes are none of the new one's business.
    Worker(const MatchSettings& match, const Schedule& schedule, const std::vector<Worker>& siblings);
    ~Worker();
    Worker(Worker&& other) noexcept;
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    Worker& operator=(Worker&&) = delete;

    bool IsAlive() const { return process_ > 0; }
    bool IsIdle() const { return game_ < 0; }
    int Game() const { return game_; }
    int ReportDescriptor() const { return reports_; }

    /// Orders game `number`. A worker that is gone shows at the next TakeReport.
    void Order(int number);

    /// Reads what has come; call when ReportDescriptor is readable. Answers a whole report if there is one now. When
    /// the worker is gone, IsAlive is false afterwards.
    std::optional<Report> TakeReport();

    /// Calls off what it does. Finish waits for its end; whoever takes too long is killed.
    void CloseOrders();
    void Finish(TimePoint deadline);

  private:
    pid_t process_ = -1;
    int orders_ = -1;
    int reports_ = -1;
    int game_ = -1;
    std::string pending_;
};
