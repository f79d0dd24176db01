// Quiescence: captures, evasions, checks for a few plies and pushes to the seventh rank, below the depth at which
// Search stops. Depth counts down from 0: hash moves cost 2, captures 8, the single evasion 4, quiet checks nothing.

#include <algorithm>

#include "eval/evaluation.h"
#include "movegen/ordering.h"
#include "search/clock.h"
#include "search/search_node.h"
#include "search/transposition.h"

namespace {

/// QFlags bit: the generator of quiet checks found nothing in this position.
constexpr std::uint8_t QFLAG_NO_CHECKS = 1;

/// Beyond the extension limit the depth is set to this: no quiet checks from here on.
constexpr std::int32_t DEPTH_BEYOND_LIMIT = -16;

/// Quiet checks are tried down to this depth.
constexpr std::int32_t LAST_CHECK_DEPTH = -8;

/// The lowest depth that the table tells apart.
constexpr std::int32_t LOWEST_STORED_DEPTH = -12;

/// Step of the history penalty for quiet moves tried before a cut.
constexpr std::int32_t PENALTY_STEP = 4;

/// One node of Quiescence: what its steps share.
struct QuiescenceNode {
    std::int32_t alpha;
    std::int32_t beta;
    std::int32_t depth;
    int nodeType;
    Colour us;
    Colour them;
    PlyRecord& here;
    bool inCheck;
    std::int32_t limit;

    std::int32_t best;
    Move bestMove = 0;
    Move hashMove = 0;
    std::int32_t standPat = 0;  // only when not in check
    int notBehind = 1;
    bool tryChecks = false;
    std::int32_t entryAlpha = 0;  // alpha after the stand pat
    std::uint8_t qflags = 0;
    std::int32_t base = 0;  // MoveCount before generation
    std::int32_t step = -ONE_PLY;
    std::int32_t searched = 0;

    int Plane() const { return inCheck ? CHECK_PLANE : notBehind; }

    void Store(Move move, std::int32_t score, BoundKind kind, std::int32_t tried) const {
        TTStore(std::max(depth, LOWEST_STORED_DEPTH), move, score, kind, false, qflags, tried);
    }

    void Improve(Move move, std::int32_t score) {
        if (score > best) {
            best = score;
            bestMove = move;
        }
        alpha = std::max(alpha, score);
    }
};

// Generation.

/// The queen promotion and the promotion to a knight that attacks the king, for pawns with a free square ahead.
/// The verdict on the step is that of the queen: MoveSafety calls every other promotion unsafe by definition.
void AppendSafePromotions(Bitboard pawns, int forward, Bitboard knightChecks) {
    while (pawns != 0) {
        const int from = PopHighestBit(pawns);
        const int to = from + forward;
        AppendPromotion(from, to, QUEEN);
        if (MoveList[MoveCount - 1].Safety == LOSING) {
            --MoveCount;
        } else if ((knightChecks & Bit(to)) != 0) {
            AppendPromotion(from, to, KNIGHT);
        }
    }
}

/// Safe pushes to the last rank but one. They rank with the promotions.
void AppendSafePushes(Bitboard pawns, int forward) {
    while (pawns != 0) {
        const int from = PopHighestBit(pawns);
        const Move push = BuildMove(from, from + forward, PAWN);
        const std::int32_t safety = MoveSafety(push);
        if (safety != LOSING) {
            MoveList[MoveCount++] = {push, NO_VICTIM_SCORE, safety};
        }
    }
}

template <Colour us>
void GeneratePawnSteps() {
    constexpr int forward = us == WHITE ? 8 : -8;
    constexpr Bitboard seventh = us == WHITE ? RANK_8 >> 8 : RANK_1 << 8;
    constexpr Bitboard sixth = us == WHITE ? RANK_8 >> 16 : RANK_1 << 16;
    const Bitboard free = ~thread_board.AllPieces;
    const Bitboard movable = thread_board.Pieces[PAWN][us] & (us == WHITE ? free >> 8 : free << 8);
    AppendSafePromotions(movable & seventh, forward, KnightAttacks[thread_board.KingSquare[ChangeSide(us)]]);
    AppendSafePushes(movable & sixth, forward);
}

void GenerateTactical(QuiescenceNode& node) {
    if ((node.qflags & QFLAG_NO_CAPTURES) != 0) {
        return;
    }
    GenerateSafeCaptures(thread_board.ColourPieces[node.them]);
    if (node.us == WHITE) {
        GeneratePawnSteps<WHITE>();
    } else {
        GeneratePawnSteps<BLACK>();
    }
    if (MoveCount == node.base) {
        node.qflags |= QFLAG_NO_CAPTURES;
    }
}

// The moves.

/// The delta test: with its gain the move comes near enough to alpha.
bool PassesDelta(const QuiescenceNode& node, Move move) {
    const int promotion = MovePromotion(move);
    if (promotion != NO_PIECE && promotion != QUEEN) {
        return false;
    }
    const std::int32_t gain = CaptureGain(move);
    const std::int32_t missing = node.alpha - node.standPat - gain;
    if (missing < 58) {
        return true;
    }
    if (gain < 478) {
        return missing < 113 || (thread_board.PieceWeight[node.them] < 10 && node.standPat > -499);
    }
    return missing < 395;
}

/// True when the move of the capture stage is worth making. Sets InCheck of the next ply.
bool IsWorthSearching(const QuiescenceNode& node, const MoveEntry& entry) {
    const bool givesCheck = GivesCheck(entry.Move);
    PlyState[Ply + 1].InCheck = givesCheck;
    if (givesCheck) {
        return true;
    }
    if (!node.inCheck) {
        return PassesDelta(node, entry.Move);
    }
    return !(IsQuiet(entry.Move) && entry.Safety == LOSING && node.searched != 0);
}

/// The child of the move just made. `checkDepth` is the depth of a child in check whose own ply is below the limit.
std::int32_t SearchReply(const QuiescenceNode& node, std::int32_t depth, std::int32_t checkDepth) {
    ++Ply;
    const std::int32_t childDepth = PlyState[Ply].InCheck != 0 && Ply < node.limit ? checkDepth : depth;
    const std::int32_t score = -Quiescence(-node.beta, -node.alpha, childDepth, -node.nodeType);
    --Ply;
    return score;
}

/// The cut by MoveList[index].
std::int32_t CutNode(QuiescenceNode& node, std::int32_t index, std::int32_t score) {
    const MoveEntry entry = MoveList[index];
    MoveCount = node.base;
    node.Store(entry.Move, score, BOUND_LOWER, node.searched);
    node.here.BestMove = entry.Move;
    if (IsQuiet(entry.Move)) {
        PenaliseQuiets(node.base, index, node.Plane(), PENALTY_STEP);
        UpdateMoveStats(node.depth, entry.Move, node.notBehind, node.inCheck, entry.Safety);
    }
    return score;
}

/// Searches the moves listed from node.base up, best first. A value ends the node: a cut, or 0 when the search
/// was stopped.
template <bool quietChecks>
std::optional<std::int32_t> SearchList(QuiescenceNode& node) {
    for (std::int32_t index = node.base; index < MoveCount; ++index) {
        SelectBest(index, MoveCount);
        const MoveEntry& entry = MoveList[index];
        const Move move = entry.Move;
        if (move == node.hashMove) {
            continue;
        }
        // Evasions are legal; en passant is tested once it is made.
        if (!node.inCheck && !IsEnPassant(move) && IsMoveIllegal(move)) {
            continue;
        }
        if (quietChecks) {
            PlyState[Ply + 1].InCheck = 1;
        } else if (!IsWorthSearching(node, entry)) {
            continue;
        }

        MakeSearchMove(move, node.searched == 0);
        ++node.searched;
        if (!node.inCheck && EnPassantWasIllegal(move, node.us)) {
            UnmakeMove();
            continue;
        }
        const std::int32_t charged = quietChecks ? node.depth - ONE_PLY : node.depth + node.step - ONE_PLY;
        const std::int32_t score = SearchReply(node, charged, charged + ONE_PLY);
        UnmakeMove();
        if (thread_board.SearchAborted) {
            MoveCount = node.base;
            return 0;
        }
        if (IsCapture(move) && !node.inCheck && PlyState[Ply + 1].InCheck == 0) {
            CountCapture(CaptureStatIndex(move, node.us, entry.Safety), score > node.alpha);
        }
        node.Improve(move, score);
        if (score >= node.beta) {
            return CutNode(node, index, score);
        }
    }
    return std::nullopt;
}

// The steps before the list.

/// Counts the node and cuts it by mate distance. No poll here, the next node of Search polls: but on an absurd board,
/// a dozen queens a side, that node may be minutes away.
std::optional<std::int32_t> EnterNode(QuiescenceNode& node) {
    SelDepth = std::max(SelDepth, Ply);
    ++Nodes;
    if (--PollCountdown < OverduePoll && PollInput(false)) {
        thread_board.SearchAborted = 1;
        return 0;
    }
    node.here.BestMove = 0;
    if (LowestScore() > node.alpha) {
        if (LowestScore() >= node.beta) {
            return LowestScore();
        }
        node.alpha = LowestScore();
    }
    if (HighestScore() <= node.alpha) {
        return node.alpha;
    }
    if (OutOfRoom()) {
        return Evaluate();
    }
    return std::nullopt;
}

/// Evaluates; true when the side to move can rest on it.
bool StandsPat(QuiescenceNode& node) {
    node.standPat = Evaluate();
    node.here.AttackMap[WHITE] = thread_eval_info.attacks[WHITE];
    node.here.AttackMap[BLACK] = thread_eval_info.attacks[BLACK];
    node.best = std::max(node.best, node.standPat);
    node.alpha = std::max(node.alpha, node.standPat);
    node.notBehind = node.alpha <= node.standPat + 100;
    return node.standPat >= node.beta;
}

/// Searches the hash move. A value ends the node: a cut, or 0 when the search was stopped.
std::optional<std::int32_t> SearchHashMove(QuiescenceNode& node) {
    PlyState[Ply + 1].InCheck = GivesCheck(node.hashMove);
    MakeSearchMove(node.hashMove, 1);
    node.searched = 1;
    const std::int32_t score = SearchReply(node, node.depth - 2, node.depth + 2);
    UnmakeMove();
    if (thread_board.SearchAborted) {
        return 0;
    }
    node.Improve(node.hashMove, score);
    if (score < node.beta) {
        return std::nullopt;
    }
    node.Store(node.hashMove, score, BOUND_LOWER, 0);
    node.here.BestMove = node.hashMove;
    if (IsQuiet(node.hashMove)) {
        UpdateMoveStats(node.depth, node.hashMove, node.notBehind, node.inCheck, MoveSafety(node.hashMove));
    }
    return score;
}

}  // namespace

std::int32_t Quiescence(std::int32_t alphaOf, std::int32_t betaOf, std::int32_t depthOf, int nodeType) {
    QuiescenceNode node{.alpha = alphaOf,
                        .beta = betaOf,
                        .depth = depthOf,
                        .nodeType = nodeType,
                        .us = thread_board.SideToMove,
                        .them = ChangeSide(thread_board.SideToMove),
                        .here = PlyState[Ply],
                        .inCheck = PlyState[Ply].InCheck != 0,
                        .limit = ExtensionLimit(),
                        .best = std::max(LowestScore(), -MATE_SCORE)};

    // 1. Mate distance, room
    if (const auto score = EnterNode(node)) {
        return *score;
    }

    // 2. Draws by rule
    if (IsDrawnBySearchRules(node.beta)) {
        return 0;
    }

    // 3. Far from the root the quiet checks stop
    if (Ply > node.limit) {
        node.depth = DEPTH_BEYOND_LIMIT;
    }

    // 4. Material that stands far above the window. A lag below alpha is no exit
    std::int32_t balance = 0;
    if (LazyExit(balance) && balance >= node.beta) {
        return balance;
    }

    // 5. Transposition table
    const ProbeResult probe = TTProbeQ(node.depth, node.alpha, node.beta, nodeType == 0);
    node.qflags = probe.kind != 0 ? QFlags : std::uint8_t{0};
    node.hashMove = probe.Move;
    if (probe.cutoff) {
        node.here.BestMove = probe.Move;
        return probe.score;
    }
    if (probe.kind != 0 && ProbeBest > node.best) {
        node.best = ProbeBest;
        node.bestMove = probe.Move;
    }

    // 6. Nothing is known of this ply
    node.here.MoveFlags = 0;
    node.here.CreatedThreat = 0;
    node.here.AttackMap[WHITE] = 0;
    node.here.AttackMap[BLACK] = 0;

    // 7. Stand pat
    if (!node.inCheck && StandsPat(node)) {
        return node.standPat;
    }
    node.entryAlpha = node.alpha;

    // 8. Quiet checks, and with them a quiet hash move
    node.tryChecks = Iteration != 0 && Ply <= node.limit && node.depth >= LAST_CHECK_DEPTH && !node.inCheck &&
                     (node.qflags & QFLAG_NO_CHECKS) == 0;
    if (IsQuiet(node.hashMove) && !node.tryChecks) {
        node.hashMove = 0;
    }

    // 9. Hash move
    if (node.hashMove != 0) {
        if (const auto score = SearchHashMove(node)) {
            return *score;
        }
    }

    // 10. Captures and pushes, or evasions
    node.here.ThreatMove = 0;
    node.base = MoveCount;
    if (node.inCheck) {
        if (GenerateEvasionsNow() == STAGE_NONE) {
            return Ply - MATE_SCORE;
        }
        node.step = MoveCount == node.base + 1 && Ply < node.limit ? 0 : -ONE_PLY;
    } else {
        GenerateTactical(node);
    }
    if (const auto score = SearchList<false>(node)) {
        return *score;
    }

    // 11. Quiet checks
    if (node.tryChecks) {
        MoveCount = node.base;
        GenerateChecks(node.alpha <= node.standPat + 100);
        if (MoveCount == node.base) {
            node.qflags |= QFLAG_NO_CHECKS;
        } else if (const auto score = SearchList<true>(node)) {
            return *score;
        }
    }

    // 12. No cut
    MoveCount = node.base;
    if (node.alpha > node.entryAlpha) {
        node.Store(node.bestMove, node.alpha, BOUND_EXACT, 0);
        node.here.BestMove = node.bestMove;
    } else {
        node.Store(node.bestMove, node.best, BOUND_UPPER, 0);
    }
    return node.best;
}
