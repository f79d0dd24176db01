// What is interesting about a move before it is made: the depth it gets, and the marks that this ply and the next
// read afterwards.

#include <algorithm>

#include "search/search_node.h"

namespace {

/// Kinds of piece that count as equal in a recapture.
constexpr std::uint8_t RecaptureClass[8] = {0, 5, 2, 1, 0, 3, 2, 4};

/// The most that a move is searched deeper than its node: a capture into a pawn ending.
constexpr std::int32_t PAWN_ENDING_CAP = ONE_PLY;

/// One move on its way through the steps.
struct Annotation {
    Move move;
    Colour us;
    bool isPV;
    std::int32_t gap;
    std::int32_t small;  // amounts of an extension
    std::int32_t large;
    std::int32_t extension = -ONE_PLY;
    std::int32_t cap = 0;
    int threats = 0;

    std::int32_t Result() const { return std::min(extension, cap); }
};

bool LeavesPawnEnding(Move move) {
    const int captured = MoveCaptured(move);
    return PieceValue[captured] > PieceValue[PAWN] && MovePromotion(move) == NO_PIECE &&
           thread_board.PieceWeight[WHITE] + thread_board.PieceWeight[BLACK] == PieceUnits[captured];
}

/// True when the last move was a capture of the same kind of piece on the same square, not extended itself.
bool IsRecapture(Move move) {
    if (GamePly == 0 || (Ply >= 1 && (PlyState[Ply - 1].MoveFlags & FLAG_RECAPTURE) != 0)) {
        return false;
    }
    const Move last = GameHistory[GamePly - 1].move;
    return MoveTo(move) == MoveTo(last) && RecaptureClass[MoveCaptured(move)] == RecaptureClass[MoveCaptured(last)];
}

/// The extensions of captures; answers their flags.
std::uint32_t AnnotateCapture(Annotation& a) {
    std::uint32_t flags = 0;
    if (LeavesPawnEnding(a.move)) {
        a.cap = PAWN_ENDING_CAP;
        flags |= FLAG_PAWN_ENDING;
        a.extension += a.large;
    }
    // Only a capture that makes up for the gap counts, and a recapture only at a node that is not far ahead.
    if (PieceValue[MoveCaptured(a.move)] + 60 > a.gap) {
        flags |= FLAG_BALANCE;
        if (a.gap > -120 && IsRecapture(a.move)) {
            flags |= FLAG_RECAPTURE;
            a.extension += a.small;
        }
    }
    return flags;
}

/// The next step of a pawn that stands on `square`, a queen promotion on the last rank; 0 if it is blocked.
Move NextStep(int square, Colour us) {
    const int rank = RelativeRank(square, us);
    if (rank == 7) {
        return 0;
    }
    const int next = square + (us == WHITE ? 8 : -8);
    if (thread_board.Board[next] != NO_PIECE) {
        return 0;
    }
    return BuildMove(square, next, PAWN, NO_PIECE, rank == 6 ? QUEEN : NO_PIECE);
}

/// The push of a passed pawn to its fourth rank or beyond.
void AnnotatePassedPush(Annotation& a, PlyRecord& here) {
    const int rank = RelativeRank(MoveTo(a.move), a.us);
    if (MovePiece(a.move) != PAWN || rank < 3 || !IsPassedFrom(MoveFrom(a.move), a.us)) {
        return;
    }
    const bool inRange = -299 <= a.gap && a.gap < 1000;
    if (inRange) {
        a.threats = a.isPV && rank >= 5 ? 2 : 1;
    }
    here.CreatedThreat = NextStep(MoveTo(a.move), a.us);
    here.MoveFlags |= FLAG_PASSED_PUSH | FLAG_CREATES_THREAT;
}

/// Counts the captures that the piece threatens from its new square, up to two in all.
void CountAttacks(Annotation& a, PlyRecord& here) {
    const int from = MoveFrom(a.move);
    const int to = MoveTo(a.move);
    const int piece = MovePiece(a.move);
    // The move is not made yet: lines still end at the square that the piece leaves.
    Bitboard targets = AttacksFrom(piece, a.us, to) & thread_board.ColourPieces[ChangeSide(a.us)];
    while (targets != 0 && a.threats < 2) {
        const int target = PopLowestBit(targets);
        const int victim = static_cast<int>(thread_board.Board[target]);
        const std::int32_t reach = PieceValue[victim] + (victim == PAWN ? 60 : 120);
        if (reach > a.gap && ThreatHolds(target, from, piece, victim)) {
            ++a.threats;
            const bool promotes = piece == PAWN && RelativeRank(target, a.us) == 7;
            here.CreatedThreat = BuildMove(to, target, piece, victim, promotes ? QUEEN : NO_PIECE);
        }
    }
}

void KnowSafety(Move move, std::int32_t& safety) {
    if (safety == SAFETY_UNKNOWN) {
        safety = MoveSafety(move);
    }
}

}  // namespace

std::int32_t AnnotateMove(bool extAllowed, bool mateThreat, std::int32_t depth, bool isSingleReply, Move move,
                          std::int32_t score, bool isPV, std::int32_t gap, std::int32_t& safety) {
    PlyRecord& here = PlyState[Ply];
    Annotation a{.move = move,
                 .us = thread_board.SideToMove,
                 .isPV = isPV,
                 .gap = gap,
                 .small = extAllowed ? 3 : 1,
                 .large = extAllowed ? 4 : 2};
    here.CreatedThreat = 0;
    std::uint32_t flags = 0;

    // 1. The only evasion loses no depth; the hash move under a threat of mate loses less.
    if (isSingleReply) {
        a.extension = 0;
        flags = FLAG_BALANCE;
    }
    if (mateThreat) {
        flags |= FLAG_MATE_THREAT;
        a.extension += a.small;
    }

    // 2. Captures.
    if (IsCapture(move) && score >= 0) {
        flags |= AnnotateCapture(a);
    }
    here.MoveFlags = flags;

    // 3. Checks.
    if (GivesCheck(move)) {
        PlyState[Ply + 1].InCheck = 1;
        KnowSafety(move, safety);
        if (safety != LOSING || DiscoversCheck(move) || isPV) {
            a.extension += a.large;
        }
        here.MoveFlags |= FLAG_CHECK;
    } else {
        PlyState[Ply + 1].InCheck = 0;
    }
    if (safety == LOSING) {
        return a.Result();
    }

    // 4. Threats: a passed pawn that goes on, the captures that the piece would make next.
    AnnotatePassedPush(a, here);
    if (a.threats < 2) {
        CountAttacks(a, here);
        if (a.threats == 0) {
            return a.Result();
        }
    }

    // 5. A threat by a piece that will be taken is none.
    KnowSafety(move, safety);
    if (safety == LOSING) {
        here.CreatedThreat = 0;
        return a.Result();
    }
    here.MoveFlags |= FLAG_CREATES_THREAT;
    if (a.threats >= 2 && depth + a.extension < ONE_PLY) {
        a.extension += a.large;
    }
    return a.Result();
}
