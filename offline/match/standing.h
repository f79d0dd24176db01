// The count of a match, and its texts.
#pragma once

#include "match/game.h"

#include <string>
#include <vector>

/// Faults in the order of Reason, from CRASH on.
inline constexpr std::size_t FAULTS = 4;

struct SideCount {
    std::int64_t wins = 0;
    std::int64_t draws = 0;
    std::int64_t losses = 0;
    std::array<std::int64_t, FAULTS> faults{};
};

class Standing {
  public:
    explicit Standing(const MatchSettings& match);

    void Add(int number, Result result, Reason reason);

    std::int64_t GamesPlayed() const;
    double Ratio() const;  // log-likelihood ratio; 0 without a test
    SprtVerdict Verdict() const;

    /// One line without its end: how it stands.
    std::string Progress() const;

    /// What ended a game and how: "Round 3: A - B 1-0, checkmate".
    std::string GameLine(int number, Result result, Reason reason) const;

    /// The final table, many lines.
    std::string Table() const;

  private:
    std::array<std::int64_t, 3> GameCounts() const;  // first engine lost, drew, won
    Counts Units(const std::array<std::int64_t, 3>& games) const;
    std::string EloText() const;

    const MatchSettings& match_;
    SideCount sides_[2][2];                 // engine, colour
    std::array<std::int64_t, 5> pairs_{};   // of complete pairs, by half points of the first engine
    std::vector<signed char> half_points_;  // of the game of each pair that came in first, -1 for none
    std::array<std::int64_t, REASONS> reasons_{};
};
