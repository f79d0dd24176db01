// Search: the alpha-beta routine for nodes of the principal variation and zero-window nodes alike. What a node does
// is the sequence of steps in Search; rules of more than a few lines stand in files of their own.

#include "search/search.h"

#include <algorithm>
#include <cassert>

#include "book/learning.h"
#include "eval/evaluation.h"
#include "movegen/ordering.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/search_node.h"
#include "search/transposition.h"
#include "tablebase/probe.h"

namespace {

// Before the first move.

/// Counts the node; cuts it by mate distance; polls.
std::optional<std::int32_t> EnterNode(SearchNode& node) {
    node.here.BestMove = 0;
    ++Nodes;
    if (LowestScore() > node.alpha) {
        if (LowestScore() >= node.beta) {
            return LowestScore();
        }
        node.alpha = LowestScore();
    }
    if (HighestScore() <= node.alpha) {
        return node.alpha;
    }
    SelDepth = std::max(SelDepth, Ply);
    if (--PollCountdown < 0 && PollInput(false)) {
        thread_board.SearchAborted = 1;
        return 0;
    }
    if (OutOfRoom()) {
        return Evaluate();
    }
    return std::nullopt;
}

/// The depth that a null move leaves: less for a side with pieces enough.
std::int32_t NullDepth(const SearchNode& node) {
    return node.depth - (thread_board.PieceWeight[node.us] > 8 && node.depth >= 24 ? 20 : 16);
}

/// Reads what the probe has left, before the searches below overwrite it.
SingularCandidate SingularCandidateOf(const SearchNode& node) {
    const bool stands = node.depth >= 32 && ProbeValid != 0 && node.depth - 12 <= ProbeDepth && SingularActive == 0 &&
                        node.nodeType <= 0;
    return {stands, ProbeLower};
}

/// Where the tables know the position and no count of quiet moves is running.
std::optional<std::int32_t> ProbeTablebases(const SearchNode& node) {
    if (NoTablebaseProbe != 0 || thread_board.TotalPieces > TablebasePieces || thread_board.FiftyCounter != 0 ||
        thread_board.CastlingFlags != 0) {
        return std::nullopt;
    }
    std::int32_t success = 0;
    const std::int32_t wdl = ProbeWdl(success);
    if (success == 0) {
        return std::nullopt;
    }
    ++TbHits;
    const std::int32_t win = TABLEBASE_WIN - Ply;
    const std::int32_t score = wdl == 2 ? win : wdl == -2 ? -win : 2 * wdl;
    TTStore(node.depth + 24, node.hashMove, score, BOUND_EXACT, false, node.qflags, 0);
    return score;
}

/// Only at nodes of the engine's own side, and high up: the lookup reads a file.
std::optional<std::int32_t> LearntScore(const SearchNode& node) {
    if (node.depth <= 24 || UseLearningData == 0 || node.us != EngineSide || GamePly + DroppedPlies >= 120 ||
        thread_board.PieceWeight[WHITE] < 15 || thread_board.PieceWeight[BLACK] < 15 ||
        thread_board.FiftyCounter >= 70) {
        return std::nullopt;
    }
    const LearntPosition learnt = LearnLookup(thread_board.PositionKey);
    if (!learnt.found || learnt.depth < node.depth) {
        return std::nullopt;
    }
    return learnt.score;
}

void EvaluateNode(SearchNode& node) {
    node.eval = Evaluate();
    node.here.StaticEval = node.eval;
    node.here.AttackMap[WHITE] = thread_eval_info.attacks[WHITE];
    node.here.AttackMap[BLACK] = thread_eval_info.attacks[BLACK];
    node.here.UnsafeMove = 0;
}

/// Static beta pruning: the node stands so far above beta that its moves need not be searched.
bool StandsAboveBeta(const SearchNode& node) {
    if (node.IsPV() || node.inCheck || node.depth >= 12 || node.eval - 40 < node.beta) {
        return false;
    }
    const std::uint32_t parentFlags = node.parent.MoveFlags;
    if (node.depth < 8) {
        return (parentFlags & FLAG_CREATES_THREAT) == 0;
    }
    // A plain move that follows an interesting one of the same side.
    const auto plain = [](std::uint32_t flags) { return (flags & ~std::uint32_t{FLAG_REDUCED}) == 0; };
    return node.eval - 120 >= node.beta && node.ply >= 2 && plain(parentFlags) &&
           !plain(PlyState[node.ply - 2].MoveFlags);
}

/// Lists the evasions and looks for a single one. False when the side to move is mated.
bool ListEvasions(SearchNode& node) {
    node.stage = GenerateEvasionsNow();
    if (node.stage == STAGE_NONE) {
        return false;
    }
    if (MoveCount == node.listBase + 1) {
        const Move reply = MoveList[node.listBase].Move;
        // To take a queen is an answer of its own, unless it is the queen that a promotion has just drawn here.
        const bool afterPromotion = GamePly >= 2 && MovePromotion(GameHistory[GamePly - 2].move) != NO_PIECE;
        if (MoveCaptured(reply) != QUEEN || afterPromotion) {
            node.singleReply = reply;
            if (node.hashMove == 0) {
                node.hashMove = reply;
            }
        }
    }
    return true;
}

/// Internal deepening: a shallower search of the node itself finds the move to begin with.
void DeepenInternally(SearchNode& node) {
    const Move threat = node.here.ThreatMove;
    SearchChild(node.alpha, node.beta, node.depth - 8, 0, 0);
    node.hashMove = node.here.BestMove;
    node.here.BestMove = 0;
    node.here.ThreatMove = threat;  // the inner search has written its own
}

/// Searches the hash move with the full window.
std::int32_t SearchHashMove(SearchNode& node, const SingularCandidate& candidate) {
    node.hashSafety = MoveSafety(node.hashMove);
    std::int32_t extension =
        AnnotateMove(node.extAllowed, node.mateThreat, node.depth, node.hashMove == node.singleReply, node.hashMove,
                     32700, node.IsPV(), node.alpha - node.eval, node.hashSafety);
    extension = ExtendIfSingular(node, candidate, extension);
    if (thread_board.SearchAborted) {
        return 0;
    }
    MakeSearchMove(node.hashMove, 1);
    ++Ply;
    const std::int32_t score = -SearchChild(-node.beta, -node.alpha, node.depth + extension, 1, -node.nodeType);
    --Ply;
    UnmakeMove();
    return score;
}

/// Stores the cut by `move` and answers `score`.
std::int32_t CutNode(SearchNode& node, Move move, std::int32_t safety, std::int32_t score, std::int32_t tried) {
    if (IsQuiet(move)) {
        UpdateMoveStats(node.depth, move, node.notBehind, node.inCheck, safety);
    }
    TTStore(node.depth, move, score, BOUND_LOWER, node.mateThreat, node.qflags, tried);
    MoveCount = node.listBase;
    node.here.BestMove = move;
    return score;
}

void NoteFailedCapture(SearchNode& node, Move move) {
    if (IsCapture(move) && TakesMoreValuable(move) && node.eval + 50 < node.entryAlpha) {
        node.badCapture = true;
    }
}

// The move loop.

bool IsImproving(const SearchNode& node) {
    if (node.ply < 2) {
        return true;
    }
    const PlyRecord& before = PlyState[node.ply - 2];
    return before.StaticEval <= node.eval || node.inCheck || before.InCheck != 0;
}

int NextStageOf(SearchNode& node) {
    return NextStage(node.stage, node.futile, node.notBehind, node.qflags, node.safeCaptures, node.safeQuiets);
}

/// True when some stage may have left moves out, so that an empty list proves no stalemate.
bool LeavesMovesOut(const SearchNode& node) {
    return node.futile || node.safeCaptures || node.safeQuiets;
}

/// Goes on to the next batch; after the last one back to the bad captures. False when nothing is left.
bool NextBatch(SearchNode& node) {
    if (node.stage == STAGE_NONE) {
        return false;
    }
    node.batchStart = node.next = MoveCount;
    node.stage = NextStageOf(node);
    if (node.stage != STAGE_NONE) {
        return true;
    }
    if (node.badFirst == node.badEnd) {
        return false;
    }
    MoveCount = node.badEnd;
    node.batchStart = node.next = node.badFirst;
    return true;
}

/// Selects the next move to look at: best first, batch by batch, bad captures last. False when none is left.
bool SelectMove(SearchNode& node) {
    for (;;) {
        if (node.next == MoveCount) {
            if (!NextBatch(node)) {
                return false;
            }
        }
        SelectBest(node.next, MoveCount);
        node.index = node.next++;
        const MoveEntry& entry = MoveList[node.index];
        if (entry.Move == node.hashMove || (node.stage == STAGE_QUIETS && WasTried(entry.Move))) {
            continue;
        }
        if (node.stage == STAGE_CAPTURES && entry.Score < 0) {
            node.badFirst = node.index;
            node.badEnd = node.next = MoveCount;
            continue;
        }
        // En passant is tested once it is made.
        if (IsEnPassant(entry.Move) || !IsMoveIllegal(entry.Move)) {
            return true;
        }
    }
}

/// Type of the child that `node` searches next: the expected kind for the first move, a cut node afterwards.
int ChildType(const SearchNode& node) {
    return node.searched == 1 ? -node.nodeType : -1;
}

/// Quiet moves of the quiet stage and quiet evasions are searched shallower first, once the first of them and
/// whatever failed before it have shown that the node is no easy one.
bool IsReducible(const SearchNode& node, Move move) {
    return node.lmrAllowed && move != node.singleReply &&
           (node.stage == STAGE_QUIETS || (node.stage == STAGE_EVASIONS && IsQuiet(move)));
}

/// The margin scout of zero-window nodes: a move whose child stands clearly above its window at reduced depth is
/// dismissed with the value found there.
std::optional<std::int32_t> MarginScout(const SearchNode& node, const MoveEntry& entry, std::int32_t fullDepth) {
    const bool losing = entry.Safety == LOSING;
    if (!losing && node.eval + PieceValue[MoveCaptured(entry.Move)] >= node.alpha - 20) {
        return std::nullopt;
    }
    const std::uint32_t flags = node.here.MoveFlags;
    const bool zeroWindow = node.scoutBound == node.alpha + 1;
    const bool dull = flags < 33 && (flags == 0 || losing);
    if (ChildType(node) == 0 || !zeroWindow || fullDepth < 12 || !dull) {
        return std::nullopt;
    }
    const std::int32_t raise =
        ScoutIndexMargin[std::min(node.index - node.listBase, 7)] + ScoutMargin[std::min(fullDepth / 4, 15)];
    const std::int32_t lower = -node.scoutBound + raise;
    const std::int32_t upper = -node.alpha + raise;
    std::int32_t score = Search(lower, upper, 0, 1, -1);
    if (thread_board.SearchAborted || score < upper) {
        return std::nullopt;
    }
    const std::int32_t saved = fullDepth / 6 / ONE_PLY * ONE_PLY;  // whole plies
    score = Search(lower, upper, fullDepth - saved - 8, 1, -1);
    if (thread_board.SearchAborted || score < upper) {
        return std::nullopt;
    }
    return -score;
}

/// Extra depth after a fail high: for the refutation of a sacrifice, and for a late move against a reduced one.
std::int32_t FailHighExtension(const SearchNode& node, Move move) {
    if (node.ply < 2 || IsCaptureOrPromotion(move)) {
        return 0;
    }
    const bool refutesReduced = (node.parent.MoveFlags & FLAG_REDUCED) != 0 && node.index - node.batchStart >= 4;
    return node.parent.UnsafeMove != 0 || refutesReduced ? ONE_PLY : 0;
}

/// Searches the move that stands on the board, reduced or scouted first, and once more where it beats alpha.
/// Ply and the marks of this ply are given back; the move stays made. A stopped search answers anything.
std::int32_t SearchMove(SearchNode& node, const MoveEntry& entry, const MoveInWork& work) {
    PlyRecord& here = node.here;
    const std::int32_t alpha = node.alpha;
    const std::int32_t fullDepth = node.depth + work.extension;
    const int childType = ChildType(node);
    const std::int32_t unsafe = entry.Safety == LOSING;

    std::optional<std::int32_t> settled;
    if (IsReducible(node, work.move) && (++node.lmrCount >= 2 || node.badCapture)) {
        // Reduced search: the move is settled unless it beats alpha.
        const std::int32_t reduced = node.depth + ReducedDepthChange(node, entry, work);
        here.UnsafeMove = unsafe;
        here.MoveFlags |= FLAG_REDUCED;
        ++Ply;
        const std::int32_t score = -SearchChild(-alpha - 1, -alpha, reduced, 1, childType);
        here.MoveFlags &= ~std::uint32_t{FLAG_REDUCED};
        if (score <= alpha) {
            settled = score;
        }
    } else {
        here.UnsafeMove = unsafe;
        ++Ply;
        settled = MarginScout(node, entry, fullDepth);
    }

    if (!settled && !thread_board.SearchAborted) {
        settled = -SearchChild(-node.scoutBound, -alpha, fullDepth, 1, childType);
    }
    here.UnsafeMove = 0;
    if (thread_board.SearchAborted) {
        --Ply;
        return 0;
    }

    // A stopped search has no score to count.
    std::int32_t score = *settled;
    if (IsCapture(work.move) && !node.inCheck && PlyState[Ply].InCheck == 0) {
        CountCapture(CaptureStatIndex(work.move, node.us, entry.Safety), score > alpha);
    }
    // One search more at most: the deeper one has the full window already.
    if (score > alpha) {
        const std::int32_t extra = FailHighExtension(node, work.move);
        if (work.drawishCut || extra != 0) {
            const std::int32_t deeper = fullDepth + (work.drawishCut ? ONE_PLY : 0) + extra;
            score = -SearchChild(-node.beta, -alpha, deeper, 1, node.IsPV() ? 0 : 1);
        } else if (score < node.beta && node.beta > node.scoutBound) {
            score = -SearchChild(-node.beta, -score, fullDepth, 1, 0);
        }
    }
    --Ply;
    return score;
}

}  // namespace

std::int32_t SearchChild(std::int32_t alpha, std::int32_t beta, std::int32_t depth, int allowNull, int nodeType) {
    return depth < ONE_PLY ? Quiescence(alpha, beta, 0, nodeType) : Search(alpha, beta, depth, allowNull, nodeType);
}

std::int32_t Search(std::int32_t alphaOf, std::int32_t betaOf, std::int32_t depthOf, int allowNull, int nodeType) {
    assert(Ply >= 1 && alphaOf < betaOf);
    SearchNode node(alphaOf, betaOf, depthOf, nodeType);
    PlyRecord& here = node.here;

    // 1. Mate distance, poll, room
    if (const auto score = EnterNode(node)) {
        return *score;
    }

    // 2. Material that draws or that needs no great depth
    const bool thinArmies = HasThinArmies(node);
    if (thinArmies) {
        if (const auto score = MaterialExit(node)) {
            return *score;
        }
    }

    // 3. Draws by rule
    if (IsDrawnBySearchRules(node.beta)) {
        return 0;
    }
    node.pawnlessDrawish = thinArmies && IsPawnlessDrawish();
    const std::int32_t nullDepth = NullDepth(node);

    // 4. Transposition table
    bool nullAllowed = allowNull != 0;
    const ProbeResult probe = TTProbe(node.depth, node.alpha, node.beta, node.IsPV(), node.mateThreat, nullAllowed);
    node.hashMove = probe.Move;
    if (probe.cutoff) {
        here.BestMove = probe.Move;
        return probe.score;
    }
    const SingularCandidate candidate = SingularCandidateOf(node);

    // 5. Endgame tablebases
    if (const auto score = ProbeTablebases(node)) {
        return *score;
    }

    // 6. What an earlier game has taught of this position
    if (const auto score = LearntScore(node)) {
        return *score;
    }

    // 7. Static evaluation
    EvaluateNode(node);

    // 8. Static beta pruning
    if (StandsAboveBeta(node)) {
        return node.beta;
    }
    node.notBehind = node.eval + 100 >= node.alpha;

    // 9. Null move
    Move threat = 0;
    if (nullAllowed && NullMoveIsSound(node, nullDepth)) {
        if (const auto score = SearchNullMove(node, nullDepth, threat)) {
            return *score;
        }
    }

    // 10. What the opponent threatens: the answer to the null move, else what its last move carries
    here.ThreatMove = threat != 0 ? threat : node.parent.CreatedThreat;

    // 11. Evasions
    node.listBase = MoveCount;
    node.extAllowed = Ply < ExtensionLimit();
    if (node.inCheck && !ListEvasions(node)) {
        return Ply - MATE_SCORE;
    }

    // 12. A threat of mate gives a reduced node a ply back
    if (node.mateThreat && (node.parent.MoveFlags & FLAG_REDUCED) != 0) {
        node.depth += ONE_PLY;
    }

    // 13. Internal deepening
    if (node.IsPV() && node.hashMove == 0 && node.depth >= 20 && node.eval + 250 > node.beta) {
        DeepenInternally(node);
        if (thread_board.SearchAborted) {
            MoveCount = node.listBase;
            return 0;
        }
    }

    // 14. Hash move
    node.entryAlpha = node.alpha;
    node.scoutBound = node.beta;
    if (node.hashMove != 0) {
        const std::int32_t score = SearchHashMove(node, candidate);
        if (thread_board.SearchAborted) {
            MoveCount = node.listBase;
            return 0;
        }
        if (score >= node.beta) {
            return CutNode(node, node.hashMove, node.hashSafety, score, 0);
        }
        node.searched = node.tried = 1;
        node.alpha = std::max(score, node.alpha);
        node.scoutBound = node.alpha + 1;
        NoteFailedCapture(node, node.hashMove);
    }
    node.bestMove = node.hashMove;
    node.bestSafety = node.hashSafety;

    // 15. Futility of the node, first batch
    SetFutility(node);
    node.improving = IsImproving(node);
    node.lmrAllowed = node.depth >= 8;
    node.batchStart = node.next = node.listBase;
    if (!node.inCheck) {
        node.stage = NextStageOf(node);
        if (node.stage == STAGE_NONE) {
            if (!LeavesMovesOut(node)) {
                return 0;  // stalemate
            }
            TTStore(node.depth, 0, node.alpha, BOUND_UPPER, node.mateThreat, node.qflags, 0);
            return node.alpha;
        }
    }

    while (SelectMove(node)) {
        MoveEntry& entry = MoveList[node.index];

        // 16. Extension
        MoveInWork work{.move = entry.Move, .extension = 0, .drawishCut = false, .answersThreat = false};
        work.extension = AnnotateMove(node.extAllowed, false, node.depth, work.move == node.singleReply, work.move,
                                      entry.Score, node.IsPV(), node.alpha - node.eval, entry.Safety);
        if (node.pawnlessDrawish && node.searched != 0 && IsQuiet(work.move)) {
            work.extension -= ONE_PLY;
            work.drawishCut = true;
        }

        // 17. Late move pruning
        if (node.stage == STAGE_QUIETS) {
            ++node.quietCount;
            work.answersThreat = AnswersThreat(node, work.move, entry.Safety);
            if (IsTooLate(node, entry, work.answersThreat)) {
                continue;
            }
        }

        // 18. Futility of the move: it counts as tried, so that the node is no stalemate
        if (node.moveFutility && (node.stage == STAGE_QUIETS || node.stage == STAGE_EVASIONS) && IsQuiet(work.move) &&
            here.MoveFlags == 0 && IsFutile(node, entry)) {
            ++node.tried;
            continue;
        }

        // 19. Make the move. En passant that turns out illegal does not count as searched: the next move would lose
        // its place as the first, and a node of the principal variation its open child.
        MakeSearchMove(work.move, node.searched == 0);
        if (!node.inCheck && EnPassantWasIllegal(work.move, node.us)) {
            UnmakeMove();
            continue;
        }
        ++node.searched;
        ++node.tried;

        // 20. Search it
        const std::int32_t score = SearchMove(node, entry, work);
        UnmakeMove();
        if (thread_board.SearchAborted) {
            MoveCount = node.listBase;
            return 0;
        }

        // 21. Best move, cut
        if (score > node.alpha) {
            node.bestMove = work.move;
            node.bestSafety = entry.Safety;
            if (score >= node.beta) {
                if (IsQuiet(work.move)) {
                    PenaliseQuiets(node.batchStart, node.index, node.inCheck ? CHECK_PLANE : node.notBehind,
                                   HistoryStepOf(node.depth));
                }
                return CutNode(node, node.bestMove, node.bestSafety, score, node.tried);
            }
            node.alpha = score;
        }
        node.scoutBound = node.alpha + 1;
        NoteFailedCapture(node, work.move);
    }

    // 22. No move is left
    MoveCount = node.listBase;
    if (node.tried == 0 && !LeavesMovesOut(node)) {
        return 0;  // stalemate: a mated side has left for want of evasions
    }
    if (node.alpha > node.entryAlpha) {
        here.BestMove = node.bestMove;
        TTStore(node.depth, node.bestMove, node.alpha, BOUND_EXACT, node.mateThreat, node.qflags, 0);
    } else {
        TTStore(node.depth, node.bestMove, node.alpha, BOUND_UPPER, node.mateThreat, node.qflags, 0);
    }
    return node.alpha;
}
