// The null move: a side that stands well enough to pass and still hold beta needs no search of its moves.

#include "search/search_node.h"
#include "search/transposition.h"

namespace {

/// Above this margin no single capture is feared; above PAWN_MARGIN not the loss of a pawn.
constexpr std::int32_t SAFE_MARGIN = 900;
constexpr std::int32_t PAWN_MARGIN = 100;

/// True when no capture by the other side takes away the margin by which the static value stands above beta.
bool ThreatFreeForNull(std::int32_t margin) {
    if (margin < 0) {
        return false;
    }
    if (margin > SAFE_MARGIN) {
        return true;
    }
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    Bitboard targets = thread_board.ColourPieces[us];
    if (margin > PAWN_MARGIN) {
        targets &= ~thread_board.Pieces[PAWN][us];
    }

    bool threatFree = true;
    thread_board.SideToMove = them;  // the exchange test is asked about the other side's captures
    Bitboard attackers = thread_board.ColourPieces[them];
    while (attackers != 0 && threatFree) {
        const int from = PopLowestBit(attackers);
        const int attacker = static_cast<int>(thread_board.Board[from]);
        Bitboard attacked = AttacksFrom(attacker, them, from) & targets;
        while (attacked != 0 && threatFree) {
            const int to = PopLowestBit(attacked);
            const int target = static_cast<int>(thread_board.Board[to]);
            threatFree = PieceValue[target] < margin || (PieceValue[attacker] > PieceValue[target] &&
                                                         !IsExchangeSafe(to, from, attacker, target, NO_PIECE));
        }
    }
    thread_board.SideToMove = us;
    return threatFree;
}

/// Passes. Keys stay as they are: PositionKey does not hold the side to move. The record keeps FiftyCounter + 1
/// for TakeBackPass; its move 0 ends every scan for repetitions and offers no en passant.
void Pass(PlyRecord& here) {
    HistoryRecord& record = GameHistory[GamePly];
    record.move = 0;
    record.fifty = thread_board.FiftyCounter + 1;
    here.MoveFlags = 0;
    here.CreatedThreat = 0;
    ++GamePly;
    ++Ply;
    PlyState[Ply].InCheck = 0;
    thread_board.FiftyCounter = 0;
    thread_board.SideToMove = ChangeSide(thread_board.SideToMove);
}

void TakeBackPass() {
    --Ply;
    --GamePly;
    thread_board.SideToMove = ChangeSide(thread_board.SideToMove);
    thread_board.FiftyCounter = GameHistory[GamePly].fifty;
}

}  // namespace

bool NullMoveIsSound(const SearchNode& node, std::int32_t nullDepth) {
    const std::int32_t weight = thread_board.PieceWeight[node.us];
    const bool windowOpen = node.alpha < MATE_BOUND && node.beta > -MATE_BOUND;
    const bool hasPieces = weight != 0 && (weight >= 6 || node.depth <= 24);
    if (!windowOpen || !hasPieces || node.IsPV() || node.inCheck) {
        return false;
    }
    if (node.alpha - node.eval >= (node.depth >= 8 ? 20 : 5)) {
        return false;
    }
    return nullDepth >= ONE_PLY || ThreatFreeForNull(node.eval - node.beta);
}

std::optional<std::int32_t> SearchNullMove(SearchNode& node, std::int32_t nullDepth, Move& threat) {
    // Only a node that survives every step is cut: the first shallow step that fails low ends the staircase.
    // The remainder keeps the sign of nullDepth, so the steps below a ply are one call of Quiescence.
    std::int32_t stepDepth = nullDepth % ONE_PLY;
    Pass(node.here);
    std::int32_t score = -SearchChild(-node.beta, 1 - node.beta, stepDepth, 0, -1);
    while (!thread_board.SearchAborted && score >= node.beta && stepDepth + ONE_PLY <= nullDepth) {
        stepDepth += ONE_PLY;
        score = -SearchChild(-node.beta, 1 - node.beta, stepDepth, 0, -1);
    }
    TakeBackPass();

    if (thread_board.SearchAborted) {
        return 0;
    }
    if (score >= node.beta) {
        TTStore(node.depth, 0, node.beta, BOUND_LOWER, node.mateThreat, node.qflags, 0);
        return node.beta;
    }
    threat = PlyState[Ply + 1].BestMove;
    if (score == Ply + 2 - MATE_SCORE) {  // mated by the very next move
        node.mateThreat = true;
    }
    return std::nullopt;
}
