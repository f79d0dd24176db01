// What is not worth searching near the horizon: quiet moves that come too late, and moves that even with their
// gain stay below alpha.

#include <algorithm>
#include <cstdlib>

#include "eval/built_in_piece_square.h"
#include "eval/evaluation.h"
#include "position/piece_square.h"
#include "search/search_node.h"

namespace {

/// Quiet moves that a node may see before the rest is dropped: by improving, by depth / 2.
constexpr std::int32_t LateMoveCount[2][32] = {
    {2,  2,  3,  3,  4,  5,  6,  7,  9,  11, 13, 16, 19, 21, 24, 28,
     31, 35, 38, 42, 46, 51, 55, 60, 65, 70, 75, 80, 86, 91, 97, 103},
    {3,  4,  5,  6,  8,  10, 12, 15, 18,  21,  25,  29,  33,  37,  42,  47,
     52, 57, 62, 68, 74, 81, 87, 94, 101, 108, 115, 123, 131, 139, 147, 156}};

/// Centipawns by the number of quiet moves seen.
constexpr std::int32_t FutilityMoveBonus[8] = {30, 12, 5, 0, -5, -7, -9, -10};

/// By PieceWeight of the enemy and of the side to move. The rows are read capped: promotions can make an army
/// heavier than a full one.
constexpr std::int32_t FutilityEnemyWeight[32] = {528, 528, 528, 119, 119, 160, 64, 95, 88, 67, 54, 33, 33, 33, 33};
constexpr std::int32_t FutilityOwnWeight[32] = {381, 381, 381, 128, 128, 201, 121, 121, 80, 58, 50, 57, 58, 50, 1};

/// By depth / 4.
constexpr std::int32_t FutilitySlope[5] = {0, 16, 18, 16, 19};
constexpr std::int32_t FutilityBase[5] = {0, 81, 323, 484, 2011};

/// Depth from which on the node has no futility terms.
constexpr std::int32_t FUTILITY_DEPTH = 5 * ONE_PLY;

/// The margin by which a node may lag behind alpha and still be worth its quiet moves.
std::int32_t FutilityMargin(const SearchNode& node) {
    const int d = node.depth / ONE_PLY;
    const int enemy = std::min(thread_board.PieceWeight[node.them], 31);
    const int own = std::min(thread_board.PieceWeight[node.us], 31);
    return (FutilityBase[d] * 100 >> 8) - (FutilityEnemyWeight[enemy] * FutilitySlope[d] >> 8) -
           (FutilitySlope[d] * FutilityOwnWeight[own] >> 8) + 20;
}

/// What the moving piece gains by the piece-square tables, tapered with the phase of the position.
std::int32_t PositionalGain(Move move, Colour us) {
    RefreshPhases();
    const int from = PieceSquareIndex(MovePiece(move), us, MoveFrom(move));
    const int to = PieceSquareIndex(MovePiece(move), us, MoveTo(move));
    const std::int32_t phase = thread_board.current_phase;
    return ((PieceSquareEnd[to] - PieceSquareEnd[from]) * phase +
            (256 - phase) * (PieceSquareOpen[to] - PieceSquareOpen[from])) >>
           8;
}

}  // namespace

void SetFutility(SearchNode& node) {
    const bool hasPieces = (thread_board.PieceWeight[WHITE] | thread_board.PieceWeight[BLACK]) != 0;
    if (node.depth >= FUTILITY_DEPTH || std::abs(node.alpha) > 32499 || !hasPieces) {
        return;
    }
    node.moveFutility = true;
    node.margin = FutilityMargin(node);
    node.futile = node.eval < node.alpha - node.margin;
    node.safeCaptures = node.depth < 8 && node.eval - 100 < node.alpha;
    node.safeQuiets = node.depth < 12;
}

bool AnswersThreat(const SearchNode& node, Move move, std::int32_t safety) {
    const Move threat = node.here.ThreatMove;
    if (threat == 0 || safety == LOSING) {
        return false;
    }
    const int target = MoveTo(threat);
    if (MoveFrom(move) == target) {
        return true;  // the attacked piece moves away
    }
    const int victim = MoveCaptured(threat);
    // Cover helps only where the capture costs the enemy something; a king (10000) cannot take a covered piece.
    if (victim != NO_PIECE && PieceValue[MovePiece(threat)] >= PieceValue[victim] &&
        ((AttacksFrom(MovePiece(move), node.us, MoveTo(move)) & Bit(target)) != 0 || DiscoversAttackOn(move, target))) {
        return true;
    }
    return (Between[MoveFrom(threat)][target] & Bit(MoveTo(move))) != 0;
}

bool IsTooLate(const SearchNode& node, const MoveEntry& entry, bool answersThreat) {
    const bool mayDrop = !node.IsPV() && node.alpha >= -29999 && node.depth < 64;
    const bool plainMove = entry.Score < 30000 && !answersThreat && node.here.MoveFlags == 0;
    return mayDrop && plainMove && node.quietCount >= LateMoveCount[node.improving][node.depth / 2];
}

bool IsFutile(const SearchNode& node, const MoveEntry& entry) {
    const std::int32_t value = node.eval + FutilityMoveBonus[std::min(node.quietCount, 7)] +
                               (std::max(entry.Score, 0) * 26 >> 8) + (node.margin * 32 >> 8) +
                               PositionalGain(entry.Move, node.us);
    return value < node.alpha;
}
