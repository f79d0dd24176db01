// How much memory the engines hold, from game to game.
#pragma once

#include "match/settings.h"

#include <map>
#include <string>

/// Looks at the end of every game. A value that an option takes in turn may ask for more memory by itself, so only
/// games of the same phase compare; and each worker has an engine process of its own, so only games of the same worker.
class MemoryLog {
  public:
    explicit MemoryLog(const MatchSettings& match) : match_(match) {}

    void Add(std::size_t worker, std::size_t engine, int phase, std::int64_t bytes);

    /// For each engine, and each phase, a line: "Memory of A: first game 31.2 MB, largest 33.0 MB, last 32.9 MB". First
    /// and last are the largest ones of the workers.
    std::string Text() const;

  private:
    struct Span {
        std::int64_t first;
        std::int64_t last;
    };
    struct Entry {
        std::map<std::size_t, Span> workers;
        std::int64_t largest = 0;
    };

    const MatchSettings& match_;
    std::map<std::pair<std::size_t, int>, Entry> entries_;  // by engine and phase
};
