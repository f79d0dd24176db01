// The singular test: a hash move that no other move comes near to is searched less shallow.

#include <algorithm>

#include "search/search_node.h"

std::int32_t SingularActive;

namespace {

/// Quiet moves that a test looks at outside check.
constexpr int QUIETS_TRIED = 5;

/// Depth of the first, cheap test.
constexpr std::int32_t SHALLOW_DEPTH = ONE_PLY;

/// Holds what a test changes and gives it back however the test ends.
class SingularScope {
  public:
    SingularScope() : list(MoveCount), childInCheck(PlyState[Ply + 1].InCheck) { SingularActive = 1; }
    ~SingularScope() {
        MoveCount = list;
        PlyState[Ply + 1].InCheck = childInCheck;
        SingularActive = 0;
    }
    SingularScope(const SingularScope&) = delete;
    SingularScope& operator=(const SingularScope&) = delete;

  private:
    std::int32_t list;
    std::int32_t childInCheck;
};

/// Makes `move` and searches it against `threshold`. False when it reaches it; an illegal move does not.
bool StaysBelow(Move move, std::int32_t threshold, std::int32_t depth) {
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    MakeSearchMove(move, 1);
    if (SquareAttacked(them, thread_board.KingSquare[us])) {
        UnmakeMove();
        return true;
    }
    ++Ply;
    PlyState[Ply].InCheck = SquareAttacked(us, thread_board.KingSquare[them]);
    const std::int32_t score = -Search(-threshold, 1 - threshold, depth, 1, -1);
    --Ply;
    UnmakeMove();
    return score < threshold && !thread_board.SearchAborted;
}

/// True when no move but `move` reaches `threshold` at `depth`; false also when the search was stopped.
bool NoOtherMoveReaches(std::int32_t threshold, std::int32_t depth, Move move, int notBehind) {
    const SingularScope scope;
    const bool inCheck = PlyState[Ply].InCheck != 0;
    std::uint8_t qflags = 0;
    int stage = STAGE_START;
    for (;;) {
        std::int32_t next = MoveCount;
        stage = NextStage(stage, false, notBehind, qflags, false, false);
        if (stage == STAGE_NONE) {
            return true;
        }
        int quiets = 0;
        while (next < MoveCount) {
            SelectBest(next, MoveCount);
            const MoveEntry entry = MoveList[next++];
            if (entry.Move == move || (stage == STAGE_QUIETS && WasTried(entry.Move))) {
                continue;
            }
            if (stage == STAGE_CAPTURES && entry.Score < 0) {
                break;  // bad captures are not tried
            }
            // Counted before the move is made: an illegal one takes a place, too.
            if (stage == STAGE_QUIETS && !inCheck && ++quiets > QUIETS_TRIED) {
                break;
            }
            if (!StaysBelow(entry.Move, threshold, depth)) {
                return false;
            }
        }
    }
}

/// No other move reaches `threshold` in a one-ply test.
bool SingularShallowTest(std::int32_t threshold, Move move, int notBehind) {
    return NoOtherMoveReaches(threshold, SHALLOW_DEPTH, move, notBehind);
}

/// No other move reaches `threshold` seven plies shallower.
bool SingularTest(std::int32_t threshold, std::int32_t depth, Move move, int notBehind) {
    return NoOtherMoveReaches(threshold, std::max(depth - 28, ONE_PLY), move, notBehind);
}

}  // namespace

std::int32_t ExtendIfSingular(const SearchNode& node, const SingularCandidate& candidate, std::int32_t extension) {
    if (!candidate.stands || extension >= 0 || node.ply >= 100) {
        return extension;
    }
    const std::int32_t base = candidate.score - node.depth / 2;
    bool singular = node.depth >= 36 && SingularShallowTest(base - 60, node.hashMove, node.notBehind);
    if (!singular && !thread_board.SearchAborted) {
        singular = SingularTest(base - 10, node.depth, node.hashMove, node.notBehind);
    }
    if (!singular) {
        return extension;
    }
    return std::min(extension + (node.extAllowed ? 4 : 2), 0);
}
