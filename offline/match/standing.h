// The count of a match, and its texts.
#pragma once

#include "match/ratings.h"
#include "match/worker.h"

#include <string>
#include <vector>

/// The columns of faults: crash, illegal move, time, stall.
inline constexpr std::size_t FAULTS = 4;

struct SideCount {
    std::int64_t wins = 0;
    std::int64_t draws = 0;
    std::int64_t losses = 0;
    std::array<std::int64_t, FAULTS> faults{};
    std::int64_t ponders = 0;
    std::int64_t ponder_hits = 0;
};

/// Two engines against each other.
struct PairingCount {
    SideCount sides[2][2];                 // first engine or second, colour
    std::array<std::int64_t, 5> pairs{};   // of complete pairs, by half points of the first engine
    std::vector<signed char> half_points;  // of the game of each pair that came in first, -1 for none

    /// First engine lost, drew, won.
    std::array<std::int64_t, 3> Games() const;
    std::int64_t Played() const;
};

class Standing {
  public:
    /// Both must outlive it.
    Standing(const MatchSettings& match, const Schedule& schedule);

    /// Counts the game, and the faults after its end.
    void Add(const ReportHeader& report);

    std::int64_t GamesPlayed() const;
    double Ratio() const;  // log-likelihood ratio; 0 without a test
    SprtVerdict Verdict() const;

    /// One line without its end: how it stands.
    std::string Progress() const;

    /// What ended a game and how: "Round 3: A - B 1-0, checkmate".
    std::string GameLine(const ReportHeader& report) const;

    /// A whole line for each fault when the game was over; mostly empty.
    std::string FaultLines(const ReportHeader& report) const;

    /// The final table, many lines.
    std::string Table() const;

  private:
    bool IsTournament() const { return pairings_.size() > 1; }
    const PairingCount& Single() const { return pairings_.front(); }
    Counts Units(const PairingCount& pairing, const std::array<std::int64_t, 3>& games) const;
    std::string EloText(const PairingCount& pairing) const;
    SideCount SideOf(std::size_t engine, Colour colour) const;
    SideCount TotalOf(std::size_t engine) const;
    std::string Leaders() const;
    std::string CrossTable() const;
    std::string CrossRow(std::size_t engine, const std::vector<std::size_t>& ranking) const;
    std::string PairingLines() const;
    std::string EngineRows() const;
    std::string SprtLine() const;
    std::string EndingsLine() const;
    std::string PonderLines() const;

    const MatchSettings& match_;
    const Schedule& schedule_;
    std::vector<PairingCount> pairings_;  // as in the schedule
    std::array<std::int64_t, REASONS> reasons_{};
};
