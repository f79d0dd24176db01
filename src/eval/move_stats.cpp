#include "eval/move_stats.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "eval/parameters.h"
#include "movegen/ordering.h"

std::int32_t MoveFrequency[2][4][4096][2];

namespace {

/// played * 1000 / seen, 0 if seen is 0. The product of counts near the end of 64 bits would overflow: those go
/// through floating point, which is as exact as an answer of 32 bits needs. Readers index a table with the answer,
/// so that negative counts give 0.
std::int32_t PerMille(std::int64_t played, std::int64_t seen) {
    constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
    constexpr std::int64_t product_limit = std::numeric_limits<std::int64_t>::max() / 1000;
    if (seen == 0) {
        return 0;
    }
    if (played > product_limit || played < -product_limit) {
        const double ratio = static_cast<double>(played) * 1000.0 / static_cast<double>(seen);
        return static_cast<std::int32_t>(std::clamp(ratio, 0.0, static_cast<double>(highest)));
    }
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(played * 1000 / seen, 0, highest));
}

}  // namespace

void BuildMoveStats(std::span<const std::int64_t> counts) {
    std::memset(MoveFrequency, 0, sizeof MoveFrequency);
    if (counts.size() < static_cast<std::size_t>(MOVE_COUNT_VALUES)) {
        return;
    }
    const std::int64_t* pair = counts.data();
    for (auto& by_class : MoveFrequency) {
        for (const int code : MoveCountPiece) {
            for (int from = 0; from < 64; ++from) {
                for (int to = 0; to < 64; ++to, pair += 2) {
                    const std::int32_t frequency = PerMille(pair[0], pair[1]);
                    auto& by_move = by_class[HistoryClass[code]];
                    // Pieces that share a class: an earlier one's entry stays.
                    std::int32_t& white = by_move[from | (to << 6)][WHITE];
                    std::int32_t& black = by_move[MirrorRank(from) | (MirrorRank(to) << 6)][BLACK];
                    if (white == 0) {
                        white = frequency;
                    }
                    if (black == 0) {
                        black = frequency;
                    }
                }
            }
        }
    }
}
