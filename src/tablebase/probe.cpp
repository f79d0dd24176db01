// Table lookups made into answers: a small search over captures goes before each, because the tables hold any value
// where a capture is best, and en passant, of which they know nothing, is tried on top.
//
// No more than four men can be taken from a table's six, and the distance of a position may be asked from one ply
// above: so far below its position goes a probe, and PlyState has room for it.
#include "tablebase/probe.h"

#include "movegen/exchange.h"
#include "movegen/generators.h"
#include "movegen/search_records.h"
#include "position/attacks.h"
#include "position/board.h"
#include "tablebase/tables.h"

#include <algorithm>

namespace {

static_assert(PLY_BOUND + TableMen - 1 < PLY_RECORDS);

// Below every WDL value: no legal en passant.
constexpr std::int32_t NO_EN_PASSANT = -3;

/// The moves that a probe lists, MoveList from `base` up, are gone when it ends, however it ends.
struct ScratchMoves {
    const std::int32_t base = MoveCount;

    ScratchMoves() = default;
    ScratchMoves(const ScratchMoves&) = delete;
    ScratchMoves& operator=(const ScratchMoves&) = delete;
    ~ScratchMoves() { MoveCount = base; }
};

bool InCheck() {
    return PlyState[Ply].InCheck != 0;
}

void ListCaptures() {
    if (InCheck()) {
        GenerateEvasionsPlain();
    } else {
        GenerateCaptures(thread_board.ColourPieces[ChangeSide(thread_board.SideToMove)]);
    }
}

void ListAll() {
    ListCaptures();
    if (!InCheck()) {
        GeneratePromotions();
        GenerateQuiets(1);
    }
}

/// For a move of one of the lists above. Two pawns leave their squares by en passant: only making it tells.
bool IsLegalHere(Move move) {
    if (InCheck()) {
        return true;
    }
    if (!IsEnPassant(move)) {
        return !IsMoveIllegal(move);
    }
    const Colour us = thread_board.SideToMove;
    MakeMove(move, 1);
    const bool legal = !SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]);
    UnmakeMove();
    return legal;
}

/// What `probe` says of the position after `move`, from the mover's side.
template <typename Probe>
std::int32_t TryMove(Move move, Probe probe) {
    PlyState[Ply + 1].InCheck = GivesCheck(move) ? 1 : 0;
    MakeMove(move, 1);
    ++Ply;
    const std::int32_t value = -probe();
    --Ply;
    UnmakeMove();
    return value;
}

/// ProbeWdlTable. A damaged file may hold what is no WDL value: that is no answer.
std::int32_t TableWdl(std::int32_t& success) {
    const std::int32_t value = ProbeWdlTable(success);
    if (value < -2 || value > 2) {
        success = PROBE_FAILED;
    }
    return value;
}

/// WDL value within a window, captures first; en passant is not looked at.
std::int32_t ProbeAlphaBeta(std::int32_t alpha, std::int32_t beta, std::int32_t& success) {
    const ScratchMoves scratch;
    ListCaptures();
    for (int i = scratch.base; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (MoveCaptured(move) == NO_PIECE || !IsLegalHere(move)) {
            continue;
        }
        const std::int32_t value = TryMove(move, [&] { return ProbeAlphaBeta(-beta, -alpha, success); });
        if (success == PROBE_FAILED) {
            return 0;
        }
        if (value >= beta) {
            success = PROBE_WINNING_CAPTURE;
            return value;
        }
        alpha = std::max(alpha, value);
    }
    const std::int32_t value = TableWdl(success);
    if (success == PROBE_FAILED) {
        return 0;
    }
    if (alpha >= value) {
        success = alpha > 0 ? PROBE_WINNING_CAPTURE : PROBE_DONE;
        return alpha;
    }
    success = PROBE_DONE;
    return value;
}

/// The best WDL value that en passant reaches, NO_EN_PASSANT if it is not legal. Leaves its list for HasOtherMove.
std::int32_t ProbeEnPassant(std::int32_t& success) {
    const std::int32_t first = MoveCount;
    if (InCheck()) {
        GenerateEvasions(STAGE_START);
    } else {
        GenerateCaptures(thread_board.ColourPieces[ChangeSide(thread_board.SideToMove)]);
        GeneratePromotions();  // for HasOtherMove
    }
    const std::int32_t end = MoveCount;
    std::int32_t best = NO_EN_PASSANT;
    for (int i = first; i < end; ++i) {
        const Move move = MoveList[i].Move;
        if (!IsEnPassant(move) || !IsLegalHere(move)) {
            continue;
        }
        best = std::max(best, TryMove(move, [&] { return ProbeAlphaBeta(-2, 2, success); }));
        if (success == PROBE_FAILED) {
            return NO_EN_PASSANT;
        }
    }
    return best;
}

bool ListHoldsOtherMove(int first) {
    for (int i = first; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (!IsEnPassant(move) && IsLegalHere(move)) {
            return true;
        }
    }
    return false;
}

/// Whether a legal move beside en passant keeps the side to move from having to take. The list is that of
/// ProbeEnPassant, from `first` up.
bool HasOtherMove(int first) {
    if (ListHoldsOtherMove(first)) {
        return true;
    }
    if (InCheck()) {
        return false;
    }
    const std::int32_t quiets = MoveCount;
    GenerateQuiets(1);
    return ListHoldsOtherMove(quiets);
}

/// WDL value within a window after a move that may have been a double push: en passant is looked at.
std::int32_t ProbeAfterPush(std::int32_t alpha, std::int32_t beta, std::int32_t& success) {
    return EnPassantPawn() < 0 ? ProbeAlphaBeta(alpha, beta, success) : ProbeWdl(success);
}

/// The distance in a move that zeroes and keeps a win.
constexpr std::int32_t ZeroingWin(std::int32_t wdl) {
    return wdl == 2 ? 1 : 101;
}

std::int32_t ProbeDtzOf(std::int32_t& success, bool fromOtherSide);

/// The distance of a won position whose table holds the other side to move: by the best quiet move of a piece. Zeroing
/// moves that win have been tried before. Mate ends the count as a zeroing move does: it counts one ply, not two.
std::int32_t WinByOnePly(std::int32_t& success) {
    const ScratchMoves scratch;
    ListAll();
    std::int32_t best = NO_DTZ;
    for (int i = scratch.base; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (MoveCaptured(move) != NO_PIECE || MovePiece(move) == PAWN || !IsLegalHere(move)) {
            continue;
        }
        bool mates = false;
        const std::int32_t value = TryMove(move, [&] {
            mates = InCheck() && IsCheckmated();
            return ProbeDtzOf(success, true);
        });
        if (success == PROBE_FAILED) {
            return 0;
        }
        if (value > 0) {
            best = std::min(best, mates ? 1 : value + 1);
        }
    }
    return best;
}

/// The same for a lost position: the longest of all legal moves. A side that is mated is at -1.
std::int32_t LossByOnePly(std::int32_t wdl, std::int32_t& success) {
    const ScratchMoves scratch;
    ListAll();
    std::int32_t best = -1;
    for (int i = scratch.base; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (!IsLegalHere(move)) {
            continue;
        }
        const std::int32_t value = TryMove(move, [&] {
            if (thread_board.FiftyCounter != 0) {
                return ProbeDtzOf(success, true) + 1;
            }
            if (wdl == -2) {
                return 1;
            }
            return ProbeAfterPush(1, 2, success) == 2 ? 0 : 101;
        });
        if (success == PROBE_FAILED) {
            return 0;
        }
        best = std::min(best, value);
    }
    return best;
}

/// Whether a pawn move that takes nothing keeps a win of `wdl`; not so after a failed probe.
bool PawnMoveWins(std::int32_t wdl, std::int32_t& success) {
    const ScratchMoves scratch;
    ListAll();
    for (int i = scratch.base; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (MovePiece(move) != PAWN || MoveCaptured(move) != NO_PIECE || IsEnPassant(move) || !IsLegalHere(move)) {
            continue;
        }
        const std::int32_t value = TryMove(move, [&] { return ProbeAfterPush(-2, 1 - wdl, success); });
        if (success == PROBE_FAILED) {
            return false;
        }
        if (value == wdl) {
            return true;
        }
    }
    return false;
}

/// The best WDL value that a capture reaches, not above 2; -2 also where there is none.
std::int32_t ProbeCaptures(std::int32_t& success) {
    const ScratchMoves scratch;
    ListCaptures();
    std::int32_t best = -2;
    for (int i = scratch.base; i < MoveCount && best < 2; ++i) {
        const Move move = MoveList[i].Move;
        if (MoveCaptured(move) == NO_PIECE || !IsLegalHere(move)) {
            continue;
        }
        best = std::max(best, TryMove(move, [&] { return ProbeAlphaBeta(-2, -best, success); }));
        if (success == PROBE_FAILED) {
            return 0;
        }
    }
    return best;
}

/// ProbeDtz without en passant. `fromOtherSide`: the call comes from a position one ply above whose table holds this
/// side to move. A table that then denies it again is no good, and would send the probe round in circles.
std::int32_t ProbeDtzNoEp(std::int32_t& success, bool fromOtherSide) {
    const std::int32_t capture = ProbeCaptures(success);
    if (success == PROBE_FAILED) {
        return 0;
    }
    if (capture >= 2) {
        success = PROBE_WINNING_CAPTURE;
        return 1;
    }
    std::int32_t wdl = TableWdl(success);
    if (success == PROBE_FAILED) {
        return 0;
    }
    success = PROBE_DONE;
    if (capture >= wdl) {
        wdl = capture;
        if (wdl > 0) {
            success = PROBE_WINNING_CAPTURE;
            return ZeroingWin(wdl);
        }
    }
    if (wdl == 0) {
        return 0;
    }
    if (wdl > 0) {
        const bool wins = PawnMoveWins(wdl, success);
        if (success == PROBE_FAILED) {
            return 0;
        }
        success = PROBE_DONE;
        if (wins) {
            return ZeroingWin(wdl);
        }
    }
    const std::int32_t dtz = ProbeDtzTable(wdl, success);
    if (success == PROBE_FAILED || (success == PROBE_OTHER_SIDE && fromOtherSide)) {
        success = PROBE_FAILED;
        return 0;
    }
    if (success > 0) {
        const std::int32_t distance = dtz + (wdl % 2 == 0 ? 1 : 101);
        return wdl > 0 ? distance : -distance;
    }
    success = PROBE_DONE;
    const std::int32_t distance = wdl > 0 ? WinByOnePly(success) : LossByOnePly(wdl, success);
    success = success != PROBE_FAILED ? PROBE_DONE : PROBE_FAILED;
    return distance;
}

std::int32_t ProbeDtzOf(std::int32_t& success, bool fromOtherSide) {
    success = PROBE_DONE;
    const std::int32_t dtz = ProbeDtzNoEp(success, fromOtherSide);
    if (success == PROBE_FAILED || EnPassantPawn() < 0) {
        return dtz;
    }
    const ScratchMoves scratch;
    const std::int32_t taking = ProbeEnPassant(success);
    if (success == PROBE_FAILED) {
        return 0;
    }
    if (taking == NO_EN_PASSANT) {
        return dtz;
    }
    const std::int32_t zeroing = WdlToDtz[taking + 2];
    if (dtz < -100) {
        return zeroing >= 0 ? zeroing : dtz;
    }
    if (dtz < 0) {
        return zeroing;
    }
    if (dtz > 100) {
        return zeroing > 0 ? zeroing : dtz;
    }
    if (dtz > 0) {
        return zeroing == 1 ? zeroing : dtz;
    }
    return zeroing >= 0 || !HasOtherMove(scratch.base) ? zeroing : dtz;
}

}  // namespace

std::int32_t ProbeWdl(std::int32_t& success) {
    success = PROBE_DONE;
    const std::int32_t wdl = ProbeAlphaBeta(-2, 2, success);
    if (success == PROBE_FAILED || EnPassantPawn() < 0) {
        return wdl;
    }
    const ScratchMoves scratch;
    const std::int32_t taking = ProbeEnPassant(success);
    if (success == PROBE_FAILED) {
        return 0;
    }
    if (taking == NO_EN_PASSANT) {
        return wdl;
    }
    if (taking >= wdl) {
        return taking;
    }
    // A loss by en passant in what the table calls a draw counts only if the capture is forced.
    return wdl != 0 || HasOtherMove(scratch.base) ? wdl : taking;
}

std::int32_t ProbeDtz(std::int32_t& success) {
    return ProbeDtzOf(success, false);
}
