// How much shallower a late quiet move is searched at first.

#include <algorithm>

#include "eval/evaluation.h"
#include "eval/move_stats.h"
#include "movegen/ordering.h"
#include "search/search_node.h"

namespace {

/// By gap / 25, from -20 to 20.
constexpr std::int32_t ReductionByGap[41] = {
    -100, -100, -100, -100, -100, -100, -100, -100, -24, -24, -24, -24, -24, -24, -4,  -3,  -3,  -2,  -2,  3,  4,
    3,    -3,   -3,   -3,   -3,   -4,   -4,   -6,   -6,  -6,  -6,  -15, -15, -15, -15, -15, -15, -15, -15, -15};

/// By MoveFrequency.
constexpr std::int32_t FrequencyBonus[11] = {4, 2, 1, 0, -1, -2, -3, -4, -5, -6, -8};

/// What the evaluation after the move says about it.
struct Prospect {
    std::int32_t after;  // our view
    std::int32_t gain;   // by which it stands above the node's evaluation
    std::int32_t gap;    // by which it falls short of alpha
};

Prospect ProspectOfMove(const SearchNode& node) {
    const std::int32_t after = -Evaluate();
    return {after, std::max(after - node.eval, 0), node.alpha - after};
}

/// The higher, the less is expected of the move.
std::int32_t ReductionScore(const SearchNode& node, Move move, std::int32_t gap) {
    const bool isAllNode = node.nodeType > 0;
    std::int32_t score = node.lmrCount;
    if (isAllNode) {
        score += 7;
    } else if (gap > 300) {
        score -= node.IsPV() ? 8 : 4;
    } else {
        score -= node.IsPV() ? 33 : 13;
    }
    if ((node.here.MoveFlags & FLAG_CHECK) != 0 && !isAllNode) {
        score -= 9;
    }
    const std::int32_t frequency =
        MoveFrequency[EndingByFormula(node.us)][HistoryClass[MovePiece(move)]][move & 0xfff][node.us];
    return score - ReductionByGap[std::clamp(gap / 25, -20, 20) + 20] + FrequencyBonus[std::clamp(frequency, 0, 10)];
}

/// A reduction by score and count, and whether the extra reduction may follow.
struct BaseReduction {
    std::int32_t change;
    bool mayGrow;
};

BaseReduction ReductionByScore(std::int32_t score, std::int32_t lmrCount) {
    if (score <= -34) {
        return {-4, true};
    }
    if (score <= -3) {
        return {-8, true};
    }
    if (lmrCount < 3) {
        return {-8, false};
    }
    if (score <= 25) {
        return {-12, true};
    }
    if (lmrCount < 5) {
        return {-12, false};
    }
    return {score <= 42 ? -16 : -20, true};
}

/// Up to two plies more for moves that come very late and leave us worse than before the opponent's move. The
/// second ply asks for everything that the first does.
std::int32_t ExtraReduction(const SearchNode& node, const MoveEntry& entry, std::int32_t change,
                            const Prospect& prospect) {
    // The root has no ply two above it: at ply 1 that ply counts as not in check.
    const bool wasInCheck = node.ply >= 2 && PlyState[node.ply - 2].InCheck != 0;
    if (node.depth + change < 8 || node.lmrCount < 13 || node.stage == STAGE_EVASIONS || wasInCheck ||
        prospect.after >= -node.parent.StaticEval) {
        return 0;
    }
    const bool hopeless = node.depth + change - 4 >= 8 && !node.improving && node.lmrCount >= 17 && entry.Score < 1;
    return hopeless ? -8 : -4;
}

/// The bounds on the reduction of a move that loses nothing.
std::int32_t LimitForSafeMove(const SearchNode& node, std::int32_t change, const Prospect& prospect,
                              bool answersThreat) {
    const std::uint32_t flags = node.here.MoveFlags;
    if (flags != 0 || node.lmrCount < 8) {
        change = std::max(change, 4 - node.depth);
    }
    const bool active = (flags & (FLAG_CHECK | FLAG_PASSED_PUSH)) != 0;
    const bool gains = 0 < prospect.gap && prospect.gap < prospect.gain && prospect.gain >= 6 && node.lmrCount < 16;
    if (active || gains) {
        change = std::max(change, -8);
    }
    if (node.stage == STAGE_EVASIONS || answersThreat) {
        change = std::max(change, 8 - node.depth);
    }
    return change;
}

}  // namespace

std::int32_t ReducedDepthChange(const SearchNode& node, const MoveEntry& entry, const MoveInWork& work) {
    const Prospect prospect = ProspectOfMove(node);
    const BaseReduction base = ReductionByScore(ReductionScore(node, work.move, prospect.gap), node.lmrCount);
    std::int32_t change = work.extension + base.change;
    if (base.mayGrow) {
        change += ExtraReduction(node, entry, change, prospect);
    }
    if (entry.Safety != LOSING) {
        change = LimitForSafeMove(node, change, prospect, work.answersThreat);
    }
    return std::min(change, -8);
}
