// The root list before the first iteration: which moves, in which order, and what is known of them.
#include "eval/evaluation.h"
#include "movegen/exchange.h"
#include "movegen/generators.h"
#include "movegen/legal_moves.h"
#include "movegen/picker.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/settings.h"
#include "search/clock.h"
#include "search/front_end.h"
#include "search/root.h"
#include "search/thinking_output.h"
#include "search/transposition.h"

#include <algorithm>
#include <cstdio>
#include <span>

namespace {

// Iteration while the list is generated: deep enough for the generators to look at every move.
constexpr std::int32_t GENERATION_ITERATION = 10;

bool SideToMoveInCheck() {
    const Colour us = thread_board.SideToMove;
    return SquareAttacked(ChangeSide(us), thread_board.KingSquare[us]);
}

void SortByScore(int first) {
    for (int place = first; place < MoveCount; ++place) {
        SelectBest(place, MoveCount);
    }
}

void AppendTacticalMoves() {
    const int first = MoveCount;
    GenerateCaptures(thread_board.ColourPieces[ChangeSide(thread_board.SideToMove)]);
    GeneratePromotions();
    SortByScore(first);
}

void AppendKiller(Move killer) {
    PlyRecord& root = PlyState[0];
    if (killer != 0 && !WasTried(killer) && AddIfPseudoLegal(killer)) {
        root.TriedMoves[root.TriedCount++] = killer;
    }
}

void AppendQuietMoves(Move killer1, Move killer2) {
    const int first = MoveCount;
    GenerateQuiets(1);
    int kept = first;
    for (int i = first; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (move != 0 && move != killer1 && move != killer2) {
            MoveList[kept++] = MoveList[i];
        }
    }
    MoveCount = kept;
    SortByScore(first);
}

void GenerateRootMoves() {
    PlyRecord& root = PlyState[0];
    root.TriedCount = 0;
    if (root.InCheck != 0) {
        GenerateEvasions(STAGE_START);
        return;
    }
    const Move killer1 = root.Killer1[thread_board.SideToMove];
    const Move killer2 = root.Killer2[thread_board.SideToMove];
    AppendTacticalMoves();
    AppendKiller(killer1);
    AppendKiller(killer2);
    AppendQuietMoves(killer1, killer2);
}

bool IsAskedFor(Move move) {
    const std::span asked(SearchMoves, static_cast<std::size_t>(SearchMoveCount));
    return asked.empty() || std::ranges::find(asked, move) != asked.end();
}

/// The square of the enemy's capture that led to the root, -1 if the last move was none.
int RecaptureSquare() {
    if (GamePly == 0) {
        return -1;
    }
    const Move last = GameHistory[GamePly - 1].move;
    return MoveCaptured(last) != 0 ? MoveTo(last) : -1;
}

/// Squeezes out what is illegal or not asked for, and finds the easy move. Only the Move word moves down: Score and
/// Safety stay at the places where the generators wrote them.
void KeepLegalMoves() {
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    const int recaptureSquare = RecaptureSquare();
    int recaptures = 0;
    int kept = 0;
    EasyMove = 0;
    for (int i = 0; i < MoveCount; ++i) {
        const Move move = MoveList[i].Move;
        if (!IsAskedFor(move)) {
            continue;
        }
        MakeMove(move, 1);
        RootProbe(-MATE_SCORE, MATE_SCORE);  // renews the entry's generation
        if (!SquareAttacked(them, thread_board.KingSquare[us])) {
            if (MoveTo(move) == recaptureSquare && MoveList[i].Score >= 1) {
                ++recaptures;
                EasyMove = move;
            }
            RootGivesCheck[kept] = SideToMoveInCheck() ? 1 : 0;
            if (kept > 0) {
                RootScores[kept] = 0;
            }
            MoveList[kept++].Move = move;
        }
        UnmakeMove();
    }
    if (recaptures != 1) {
        EasyMove = 0;
    }
    MoveCount = kept;
}

/// Brings the hash move to the head of the list if it is in it. The scores stay: only the head has one yet.
void PromoteHashMove(Move hashMove) {
    int place = 0;
    while (place < MoveCount && MoveList[place].Move != hashMove) {
        ++place;
    }
    if (place == 0 || place == MoveCount) {
        return;
    }
    const std::int32_t score = RootScores[0];
    MoveRootEntry(place, 0);
    RootScores[0] = score;
    RootScores[1] = 0;
}

/// An answer for the front end before the first iteration has run.
void PrintFirstReport() {
    Iteration = 0;
    SelDepth = 0;
    RootMoveIndex = 0;
    if (UciMode != 0 && MultiPV >= 2) {
        ReportMultiPv(0, 3);
    } else {
        ReportRoot(3);
    }
    std::fflush(stdout);
}

}  // namespace

int PrepareRootMoves() {
    const std::int32_t guess = EngineSide == PrevRootSide ? PrevRootScore : -PrevRootScore;
    // A position that is only assumed must not be claimed as a result: a front end would take the false claim for a
    // forfeit. Think announces it when the assumed move has been played.
    const bool assumed = PonderSearch != 0 && HintSearch == 0;
    if (!assumed) {
        AnnounceDraws();
    }

    MoveCount = 0;
    Ply = 0;
    const ProbeResult entry = RootProbe(-MATE_SCORE, MATE_SCORE);
    RootScores[0] = entry.kind != 0 && entry.cutoff ? entry.score : guess;

    Iteration = GENERATION_ITERATION;
    RefreshLazyWindow(RootScores[0]);  // no lazy exit at the root: the window holds its balance
    PlyState[0].InCheck = SideToMoveInCheck() ? 1 : 0;
    PlyState[0].StaticEval = Evaluate();
    PlyState[0].AttackMap[WHITE] = PlyState[0].AttackMap[BLACK] = 0;

    GenerateRootMoves();
    KeepLegalMoves();
    if (MoveCount == 0) {
        if (!assumed && (SearchMoveCount == 0 || !HasLegalMove())) {
            AnnounceNoMoves(PlyState[0].InCheck != 0);
        }
        return 1;
    }
    if (entry.kind != 0 && entry.Move != 0) {
        PromoteHashMove(entry.Move);
        PrintFirstReport();
    }
    return 0;
}

bool HasLegalMove() {
    const std::int32_t count = MoveCount;
    GenerateLegalMoves(LEGALITY_WINDOW);
    const bool found = MoveCount > LEGALITY_WINDOW;
    MoveCount = count;
    return found;
}
