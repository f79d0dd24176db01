// One node of Search: what its steps share, and the steps that stand in files of their own.
//
// The node lives on the stack of Search, which is written as the sequence of its steps; everything else that a
// node owns is its PlyRecord and its stretch of MoveList from listBase up. For the search's own files only.
#pragma once

#include "eval/evaluation.h"
#include "movegen/exchange.h"
#include "movegen/generators.h"
#include "movegen/picker.h"
#include "movegen/search_records.h"
#include "position/attacks.h"
#include "position/board.h"
#include "search/search.h"
#include "search/transposition.h"

#include <optional>

/// One ply of depth, in quarter plies.
inline constexpr std::int32_t ONE_PLY = 4;

/// MakeMove, and the child's table slots on their way from memory while the parent is still at work.
inline void MakeSearchMove(Move move, int save) {
    MakeMove(move, save);
    PrefetchTransposition();
    PrefetchEvaluation();
}

struct SearchNode {
    SearchNode(std::int32_t alphaOf, std::int32_t betaOf, std::int32_t depthOf, int nodeTypeOf)
        : alpha(alphaOf),
          beta(betaOf),
          depth(depthOf),
          nodeType(nodeTypeOf),
          us(thread_board.SideToMove),
          them(ChangeSide(us)),
          here(PlyState[Ply]),
          parent(PlyState[Ply - 1]),
          ply(Ply),
          inCheck(here.InCheck != 0) {}

    bool IsPV() const { return nodeType == 0; }

    std::int32_t alpha;  // rises with the moves
    std::int32_t beta;
    std::int32_t depth;  // may still change before the first move
    int nodeType;
    Colour us;
    Colour them;
    PlyRecord& here;
    const PlyRecord& parent;  // its MoveFlags and UnsafeMove describe the move that led here
    std::int32_t ply;         // Ply of this node, also while a child is being searched
    bool inCheck;

    // Known before the first move.
    std::int32_t eval = 0;
    int notBehind = 0;        // eval + 100 reaches alpha: the plane of QuietHistory
    bool mateThreat = false;  // a null move was answered by mate, here or when the table's entry was made
    bool pawnlessDrawish = false;
    bool extAllowed = false;  // extensions at their full amounts
    Move hashMove = 0;
    std::int32_t hashSafety = SAFETY_UNKNOWN;
    Move singleReply = 0;
    std::uint8_t qflags = 0;  // what the generators find empty here; the probe's byte is not taken over
    std::int32_t listBase = 0;

    // The move loop's terms.
    std::int32_t entryAlpha = 0;  // alpha before the first move
    std::int32_t scoutBound = 0;  // upper bound of the next move: beta, then alpha + 1 once a move is searched
    bool moveFutility = false;
    bool futile = false;
    bool safeCaptures = false;
    bool safeQuiets = false;
    std::int32_t margin = 0;  // of futility
    bool improving = false;
    bool lmrAllowed = false;

    // The walk through the list.
    int stage = STAGE_START;
    std::int32_t batchStart = 0;
    std::int32_t next = 0;      // first place that has not been worked
    std::int32_t index = 0;     // place of the move in work
    std::int32_t badFirst = 0;  // bad captures put aside: [badFirst, badEnd)
    std::int32_t badEnd = 0;

    // Counters and results.
    std::int32_t tried = 0;     // moves searched or dropped by futility
    std::int32_t searched = 0;  // the hash move included
    std::int32_t lmrCount = 0;
    std::int32_t quietCount = 0;
    bool badCapture = false;  // a capture of a more valuable piece has failed at a node that is behind
    Move bestMove = 0;
    std::int32_t bestSafety = SAFETY_UNKNOWN;
};

/// What the steps of one move hand to each other.
struct MoveInWork {
    Move move;
    std::int32_t extension;  // of AnnotateMove, less the ply that drawishCut takes
    bool drawishCut;
    bool answersThreat;
};

// Small things that both routines ask.

/// The worst and best that can still come of this node: mated here or two plies on, mating next.
inline std::int32_t LowestScore() {
    return Ply - 2 * PlyState[Ply].InCheck - (MATE_SCORE - 2);
}
inline std::int32_t HighestScore() {
    return MATE_SCORE - 1 - Ply;
}

/// The records above PLY_BOUND and the list above MOVE_LIST_SEARCH_END are not the node's to use: a node that
/// comes so far answers with its static value.
inline bool OutOfRoom() {
    return Ply >= PLY_BOUND || MoveCount > MOVE_LIST_SEARCH_END;
}

/// The ply from which on extensions are cut down in Search and stop in Quiescence.
inline std::int32_t ExtensionLimit() {
    return Iteration * 3 + 8 < 90 ? Iteration * 3 + 8 : 90;
}

inline bool IsCapture(Move move) {
    return MoveCaptured(move) != NO_PIECE;
}
inline bool TakesMoreValuable(Move move) {
    return PieceValue[MoveCaptured(move)] > PieceValue[MovePiece(move)];
}

/// True when the en passant capture just made by `us` has left its king attacked, which no test before the move
/// sees: two pawns leave one line.
inline bool EnPassantWasIllegal(Move move, Colour us) {
    return IsEnPassant(move) && SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]);
}

/// True when no pawn of the other colour can stop or take a pawn of `colour` on its way from `square`.
inline bool IsPassedFrom(int square, Colour colour) {
    const Bitboard cone = colour == WHITE ? PassedMaskWhite[square] : PassedMaskBlack[square];
    return (cone & thread_board.Pieces[PAWN][ChangeSide(colour)]) == 0;
}

/// Rank 0..7 as `colour` counts it.
inline int RelativeRank(int square, Colour colour) {
    return colour == WHITE ? RankOf(square) : 7 - RankOf(square);
}

// draw_rules.cpp

/// Both armies are so thin that the exits below apply: zero-window nodes only.
bool HasThinArmies(const SearchNode& node);

/// Draws that the material alone settles, given the window. May lower node.depth instead.
std::optional<std::int32_t> MaterialExit(SearchNode& node);

/// Pawnless and hardly winnable: quiet moves of such a node lose a ply.
bool IsPawnlessDrawish();

// null_move.cpp

/// All that must hold before the side to move passes, given the depth that would remain.
bool NullMoveIsSound(const SearchNode& node, std::int32_t nullDepth);

/// Passes and searches the rest by a staircase of depths up to `nullDepth`. A value ends the node: beta, or 0
/// when the search was stopped. Otherwise `threat` is the move that refuted the pass, 0 if none is known, and
/// node.mateThreat is set when it mates. FiftyCounter stays one higher until the node is left.
std::optional<std::int32_t> SearchNullMove(SearchNode& node, std::int32_t nullDepth, Move& threat);

// singular.cpp

/// The score to beat and its depth, as the table's entry had them when the node was probed.
struct SingularCandidate {
    bool stands;
    std::int32_t score;
};

/// The hash move's extension after the test whether any other move comes near it; `extension` unchanged when one
/// does or when the search was stopped.
std::int32_t ExtendIfSingular(const SearchNode& node, const SingularCandidate& candidate, std::int32_t extension);

// futility.cpp

/// Sets the futility terms of the node for its present depth, alpha and eval.
void SetFutility(SearchNode& node);

/// True when a quiet move does something about ThreatMove: the attacked piece moves, the square is covered, or
/// the line is blocked. `safety` is the move's.
bool AnswersThreat(const SearchNode& node, Move move, std::int32_t safety);

/// Late move pruning of the quiet stage.
bool IsTooLate(const SearchNode& node, const MoveEntry& entry, bool answersThreat);

/// Per-move futility: even with its positional gain the quiet move stays below alpha.
bool IsFutile(const SearchNode& node, const MoveEntry& entry);

// reductions.cpp

/// Depth change of the reduced search of `work`, at most -8. The move stands on the board, Ply is the node's.
std::int32_t ReducedDepthChange(const SearchNode& node, const MoveEntry& entry, const MoveInWork& work);
