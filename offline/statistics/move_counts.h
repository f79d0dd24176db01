// How often quiet moves of a kind were played when they could have been.
#pragma once

#include <cstdint>
#include <vector>

#include "position/types.h"

class MoveCounts {
  public:
    MoveCounts();

    /// Counts a decision on thread_board: `played`, one of the legal moves. The ending flag is the mover's, a Black
    /// move is counted under its squares turned top to bottom. Only quiet moves count, which are all that late-move
    /// reduction asks for: captures to the same squares are played far more often.
    void Count(Move played, const std::vector<Move>& legal);

    std::int64_t Decisions() const { return decisions_; }

    /// The values of the parameter file, with the pairs seen less than `least` times as 0 0.
    std::vector<std::int64_t> Values(std::int64_t least) const;

  private:
    std::vector<std::int64_t> values_;
    std::int64_t decisions_ = 0;
};
