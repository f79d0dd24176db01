#include "movegen/picker.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <utility>

#include "movegen/castling.h"
#include "movegen/generator_parts.h"
#include "movegen/generators.h"
#include "movegen/ordering.h"

namespace {

constexpr int TRIED_PLACES = static_cast<int>(std::size(PlyRecord{}.TriedMoves));

/// (i + 1) squared by i = (depth + 4) / 4.
constexpr std::int32_t HistoryStep[17] = {1, 4, 9, 16, 25, 36, 49, 64, 81, 100, 121, 144, 169, 196, 225, 256, 289};

template <Colour us>
bool CanCastle(Move move) {
    if (move == Castling<us>::SHORT_MOVE) {
        return ShortCastlingIsOpen<us>() && ShortCastlingIsSafe<us>();
    }
    return move == Castling<us>::LONG_MOVE && LongCastlingIsOpen<us>() && LongCastlingIsSafe<us>();
}

/// Pawns one step from promotion with a free square ahead, highest square first for both colours.
template <Colour us>
void AppendPromotions(bool allKinds) {
    const Bitboard checks = KnightAttacks[thread_board.KingSquare[ChangeSide(us)]];
    Bitboard pawns = thread_board.Pieces[PAWN][us] & SEVENTH_RANK<us> & Retreat<us>(~thread_board.AllPieces);
    while (pawns) {
        const int from = PopHighestBit(pawns);
        const int to = from + FORWARD<us>;
        AppendPromotion(from, to, QUEEN);
        if (allKinds) {
            AppendPromotion(from, to, ROOK);
            AppendPromotion(from, to, KNIGHT);
            AppendPromotion(from, to, BISHOP);
        } else if (checks & Bit(to)) {
            AppendPromotion(from, to, KNIGHT);
        }
    }
}

/// The batch of captures and promotions; false when it is empty.
bool AddCaptures(std::uint8_t& qflags, bool safeCaptures) {
    const std::int32_t before = MoveCount;
    const Colour us = thread_board.SideToMove;
    const Bitboard targets = thread_board.ColourPieces[ChangeSide(us)];
    if (safeCaptures) {
        GenerateSafeCaptures(targets);
    } else {
        GenerateCaptures(targets);
    }
    // Rook and bishop promotions are worth a look near the root only.
    const bool allKinds = !safeCaptures && Ply <= Iteration / 2;
    if (us == WHITE) {
        AppendPromotions<WHITE>(allKinds);
    } else {
        AppendPromotions<BLACK>(allKinds);
    }
    if (MoveCount == before) {
        qflags |= QFLAG_NO_CAPTURES;
        return false;
    }
    return true;
}

/// The quiet batch; false when it is empty.
bool AddQuiets(bool futile, int plane, bool safeQuiets) {
    const std::int32_t before = MoveCount;
    if (futile) {
        GenerateChecks(plane);
    } else if (safeQuiets) {
        GenerateSafeQuiets(plane);
    } else {
        GenerateQuiets(plane);
    }
    return MoveCount != before;
}

/// One candidate of a table stage: appended if it is new at this ply and can be played.
bool Offer(Move move) {
    if (move == 0 || WasTried(move) || !AddIfPseudoLegal(move)) {
        return false;
    }
    NoteTried(move);
    return true;
}

}  // namespace

int NextStage(int stage, bool futile, int plane, std::uint8_t& qflags, bool safeCaptures, bool safeQuiets) {
    PlyRecord& record = PlyState[Ply];
    if (record.InCheck) {
        return GenerateEvasions(stage);
    }
    const Move threat = record.ThreatMove;
    assert(Ply == 0 || GamePly > 0);
    switch (stage) {
        case STAGE_START:
            if (AddCaptures(qflags, safeCaptures)) {
                return STAGE_CAPTURES;
            }
            [[fallthrough]];
        case STAGE_CAPTURES:
            record.TriedCount = 0;
            if (threat != 0 && Offer(RefutationsOf(threat).first)) {
                return STAGE_REFUTATION_1;
            }
            [[fallthrough]];
        case STAGE_REFUTATION_1:
            if (threat != 0 && Offer(RefutationsOf(threat).second)) {
                return STAGE_REFUTATION_2;
            }
            [[fallthrough]];
        case STAGE_REFUTATION_2:
            if (Offer(record.Killer1[thread_board.SideToMove])) {
                return STAGE_KILLER;
            }
            [[fallthrough]];
        case STAGE_KILLER:
            if (Ply >= 1 && Offer(CounterMovesTo(GameHistory[GamePly - 1].move).first)) {
                return STAGE_COUNTER_1;
            }
            [[fallthrough]];
        case STAGE_COUNTER_1:
            if (Ply >= 1 && Offer(CounterMovesTo(GameHistory[GamePly - 1].move).second)) {
                return STAGE_COUNTER_2;
            }
            [[fallthrough]];
        case STAGE_COUNTER_2:
            return AddQuiets(futile, plane, safeQuiets) ? STAGE_QUIETS : STAGE_NONE;
        default:
            return STAGE_NONE;
    }
}

bool IsPseudoLegal(Move move) {
    if (IsCastling(move)) {
        return thread_board.SideToMove == WHITE ? CanCastle<WHITE>(move) : CanCastle<BLACK>(move);
    }
    const int from = MoveFrom(move);
    const int to = MoveTo(move);
    const Bitboard own = thread_board.ColourPieces[thread_board.SideToMove];
    // Between holds `to` itself, so along a line only a move to an empty square passes; off the lines it is empty.
    return thread_board.Board[from] == static_cast<std::uint32_t>(MovePiece(move)) &&
           thread_board.Board[to] == static_cast<std::uint32_t>(MoveCaptured(move)) && (own & Bit(from)) != 0 &&
           (own & Bit(to)) == 0 && (Between[to][from] & thread_board.AllPieces) == 0;
}

bool AddIfPseudoLegal(Move move) {
    if (!IsPseudoLegal(move)) {
        return false;
    }
    MoveList[MoveCount++] = {move, 0, SAFETY_UNKNOWN};
    return true;
}

void NoteTried(Move move) {
    PlyRecord& record = PlyState[Ply];
    if (record.TriedCount < TRIED_PLACES) {
        record.TriedMoves[record.TriedCount++] = move;
    }
}

bool WasTried(Move move) {
    const PlyRecord& record = PlyState[Ply];
    const Move* const end = record.TriedMoves + record.TriedCount;
    return std::find(record.TriedMoves, end, move) != end;
}

void SelectBest(int first, int last) {
    int best = first;
    for (int i = first + 1; i < last; ++i) {
        if (MoveList[i].Score > MoveList[best].Score) {
            best = i;
        }
    }
    if (best != first) {
        std::swap(MoveList[first], MoveList[best]);
    }
}

std::int32_t HistoryStepOf(std::int32_t depth) {
    return HistoryStep[std::clamp((depth + 4) / 4, 0, 16)];
}

void UpdateMoveStats(std::int32_t depth, Move move, int plane, bool inCheck, std::int32_t safety) {
    assert(IsQuiet(move));
    if (safety == SAFETY_UNKNOWN) {
        safety = MoveSafety(move);
    }
    std::int32_t& history = QuietHistoryOf(move, inCheck ? CHECK_PLANE : plane & 1, safety != LOSING);
    history += (HISTORY_MAX - history) * HistoryStepOf(depth) >> 9;

    if (inCheck) {
        if (GamePly >= 1) {
            EvasionsOf(GameHistory[GamePly - 1].move).Remember(move);
        }
        return;
    }
    PlyRecord& record = PlyState[Ply];
    const Colour us = thread_board.SideToMove;
    if (move != record.Killer1[us]) {
        record.Killer2[us] = record.Killer1[us];
        record.Killer1[us] = move;
    }
    if (GamePly >= 1) {
        CounterMovesTo(GameHistory[GamePly - 1].move).Remember(move);
    }
    if (GamePly >= 2) {
        FollowUpsOf(GameHistory[GamePly - 2].move).Remember(move);
    }
    if (record.ThreatMove != 0) {
        RefutationsOf(record.ThreatMove).Remember(move);
    }
}

void PenaliseQuiets(int first, int last, int plane, std::int32_t step) {
    for (int i = first; i < last; ++i) {
        MoveEntry& entry = MoveList[i];
        if (!IsQuiet(entry.Move)) {
            continue;
        }
        if (entry.Safety == SAFETY_UNKNOWN) {
            entry.Safety = MoveSafety(entry.Move);
        }
        std::int32_t& history = QuietHistoryOf(entry.Move, plane, entry.Safety != LOSING);
        history -= history * step >> 9;
    }
}
