// Ordering scores and the statistics behind them: the history of quiet moves, the win rate of captures, and
// five kinds of remembered moves. Owner of the tables: movegen/ordering.cpp; written by UpdateMoveStats and
// PenaliseQuiets (movegen/picker.h) and, for captures, by the search through CountCapture.
//
// The scoring functions are inline: the generators call one of them for every move they store.
#pragma once

#include "movegen/search_records.h"
#include "position/board.h"

/// By PieceCode: king and knight 0, pawn and bishop 1, rook 2, queen 3.
inline constexpr std::int32_t HistoryClass[8] = {0, 0, 0, 1, 0, 2, 1, 3};
inline constexpr std::int32_t DenseCode[8] = {0, 1, 2, 3, 0, 4, 5, 6};

/// Victims and attackers in capture ordering, by PieceCode. Unlike PieceValue the king is 950.
inline constexpr std::int32_t OrderValue[8] = {0, 950, 300, 100, 0, 500, 300, 900};

/// By win rate / 16.
inline constexpr std::int32_t GoodCaptureBonus[17] = {-40, -30, -20, -10, 0,  10,  20,  30, 40,
                                                      50,  60,  70,  80,  90, 100, 110, 120};
inline constexpr std::int32_t BadCaptureBonus[17] = {-128000, -64000, -32000, 0,     10000, 20000, 30000, 40000, 50000,
                                                     50000,   50000,  50000,  50000, 50000, 50000, 50000, 50000};

inline constexpr std::int32_t SAFE_CAPTURE = 100000;
inline constexpr std::int32_t SAFE_CAPTURING_PROMOTION = 108000;
inline constexpr std::int32_t NO_VICTIM_SCORE = 100901;        // en passant, promotion on an empty square
inline constexpr std::int32_t EVADING_CAPTURE = 537030912;     // lifts a good capture above every quiet evasion
inline constexpr std::int32_t EVADING_EN_PASSANT = 537131813;  // EVADING_CAPTURE + NO_VICTIM_SCORE

/// A capture's record counts from this many tries on.
inline constexpr std::int32_t CAPTURE_RECORD_TRIES = 9;

/// The plane of QuietHistory that serves nodes in check.
inline constexpr int CHECK_PLANE = 2;
inline constexpr std::int32_t HISTORY_MAX = 32700;

/// [safe][plane][class][from-to][colour], values 0..HISTORY_MAX. safe: Safety is not 0. plane: 2 in check, else
/// 1 when the static evaluation + 100 reaches alpha.
extern std::int32_t QuietHistory[2][3][4][4096][2];

/// The counter of one move of the side to move. `plane` 0..2.
inline std::int32_t& QuietHistoryOf(Move move, int plane, bool safe) {
    return QuietHistory[safe][plane][HistoryClass[MovePiece(move)]][move & 0xfff][thread_board.SideToMove];
}

/// Tries and wins of captures, indexed by CaptureStatIndex; wins never exceed tries.
inline constexpr int CAPTURE_STATS = 1 << 20;
extern std::int32_t CaptureTries[CAPTURE_STATS];
extern std::int32_t CaptureWins[CAPTURE_STATS];

/// Index for a capture by `colour` with the given Safety. The colour and the safety fall inside the from field:
/// some squares share a counter, by design.
inline std::int32_t CaptureStatIndex(Move move, Colour colour, std::int32_t safety) {
    const int bad = safety != SAFE;
    return (MoveCaptured(move) * 8 + MovePiece(move)) | (MoveTo(move) << 6) | (MoveFrom(move) << 12) | (colour << 13) |
           (bad << 14);
}

/// Counts one searched capture: one try, one win if it raised alpha; above 256 tries both are halved.
void CountCapture(std::int32_t index, bool win);

/// A pair of remembered moves: a new move pushes the first into the second unless it already stands first.
struct MoveSlots {
    Move first;
    Move second;
    void Remember(Move move) {
        if (move != first) {
            second = first;
            first = move;
        }
    }
};

extern MoveSlots CounterMoves[64][8][2];    // to and DenseCode of the last move; colour to move
extern MoveSlots FollowUps[64][8][2];       // to and DenseCode of the move before the last; colour
extern MoveSlots Refutations[64][8][8][2];  // to, DenseCode and captured DenseCode of the threat; colour
extern MoveSlots Evasions[64][64][2];       // to of the last move, own king square; colour

/// The slots that serve the side to move. A null move (0) as key shares the slots of square a1, code 0.
inline MoveSlots& CounterMovesTo(Move last) {
    return CounterMoves[MoveTo(last)][DenseCode[MovePiece(last)]][thread_board.SideToMove];
}
inline MoveSlots& FollowUpsOf(Move own) {
    return FollowUps[MoveTo(own)][DenseCode[MovePiece(own)]][thread_board.SideToMove];
}
inline MoveSlots& RefutationsOf(Move threat) {
    return Refutations[MoveTo(threat)][DenseCode[MovePiece(threat)]][DenseCode[MoveCaptured(threat)]]
                      [thread_board.SideToMove];
}
inline MoveSlots& EvasionsOf(Move last) {
    const Colour us = thread_board.SideToMove;
    return Evasions[MoveTo(last)][thread_board.KingSquare[us]][us];
}

/// Value of a capture by victim, attacker and record, without the bonus of the evasion stage. Raises `safety`
/// from LOSING to LOSING_BUT_GOOD_RECORD when the record of a losing capture lifts it above 0.
inline std::int32_t CaptureValue(Move move, std::int32_t& safety) {
    const int promotion = MovePromotion(move);
    int rate = 0;  // in sixteenths
    if (promotion == NO_PIECE || promotion == QUEEN) {
        const std::int32_t index = CaptureStatIndex(move, thread_board.SideToMove, safety);
        const std::int32_t tries = CaptureTries[index];
        if (tries >= CAPTURE_RECORD_TRIES) {
            rate = CaptureWins[index] * 256 / tries / 16;
        }
    }
    const std::int32_t value = OrderValue[MoveCaptured(move)] * 10 - OrderValue[MovePiece(move)];
    if (safety == SAFE) {
        return value + GoodCaptureBonus[rate] + (promotion != NO_PIECE ? SAFE_CAPTURING_PROMOTION : SAFE_CAPTURE);
    }
    const std::int32_t losing = value + BadCaptureBonus[rate];
    if (losing > 0) {
        safety = LOSING_BUT_GOOD_RECORD;
    }
    return losing;
}

/// Score of a capture, en passant or promotion. `safety` comes as SAFE or LOSING and may leave as
/// LOSING_BUT_GOOD_RECORD.
inline std::int32_t CaptureOrderScore(Move move, std::int32_t& safety) {
    return MoveCaptured(move) == NO_PIECE ? NO_VICTIM_SCORE : CaptureValue(move, safety);
}

/// Score of a quiet move: its history, with a bonus for the remembered continuation of the own last move. Of `plane`
/// only bit 0 counts; `inCheck` reads CHECK_PLANE in its place and gives no bonus.
inline std::int32_t QuietOrderScore(Move move, int plane, bool inCheck, std::int32_t safety) {
    const std::int32_t history = QuietHistoryOf(move, inCheck ? CHECK_PLANE : plane & 1, safety != LOSING);
    if (inCheck || GamePly < 2) {
        return history;
    }
    const MoveSlots& slots = FollowUpsOf(GameHistory[GamePly - 2].move);
    if (move == slots.first) {
        return history + (history * 148 >> 8);
    }
    if (move == slots.second) {
        return history + (history * 138 >> 8);
    }
    return history;
}

/// Score in the evasion stage: captures, then quiet evasions, then losing captures without a good record. A
/// promotion on an empty square counts as quiet here. `safety` as for CaptureOrderScore.
inline std::int32_t EvasionOrderScore(Move move, std::int32_t& safety) {
    if (MoveCaptured(move) != NO_PIECE) {
        const std::int32_t value = CaptureValue(move, safety);
        return value > 0 ? value + EVADING_CAPTURE : value;
    }
    if (IsEnPassant(move)) {
        return EVADING_EN_PASSANT;
    }
    const std::int32_t history = QuietHistoryOf(move, CHECK_PLANE, safety != LOSING);
    if (GamePly >= 1) {
        const MoveSlots& slots = EvasionsOf(GameHistory[GamePly - 1].move);
        if (move == slots.first) {
            return history + 80000;
        }
        if (move == slots.second) {
            return history + 40000;
        }
    }
    return history;
}

/// Zeroes QuietHistory; the killers of all plies; and, for ClearMoveStats, those and every table of this header.
void ClearQuietHistory();
void ClearKillers();
void ClearMoveStats();
