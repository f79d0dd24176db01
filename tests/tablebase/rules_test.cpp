// The tables against the rules of chess: what they say of a position must follow from what they say of the positions
// that its legal moves lead to. QUORVANTH_RULE_POSITIONS sets the number of positions of each material.
#include "movegen/legal_moves.h"
#include "support/tablebases.h"
#include "table_folder.h"
#include "tablebase/probe.h"

#include <cstdlib>

namespace {

struct Verdict {
    int wdl = 0;
    int dtz = 0;
};

Verdict Probed() {
    EnterForProbe();
    std::int32_t wdl_success = 0;
    std::int32_t dtz_success = 0;
    const Verdict verdict = {ProbeWdl(wdl_success), ProbeDtz(dtz_success)};
    EXPECT_TRUE(wdl_success > 0 && dtz_success > 0) << WriteFen(0);
    return verdict;
}

std::vector<Move> MovesHere() {
    MoveCount = 0;
    GenerateLegalMoves(0);
    std::vector<Move> moves;
    for (int i = 0; i < MoveCount; ++i) {
        moves.push_back(MoveList[i].Move);
    }
    MoveCount = 0;
    return moves;
}

/// What a move comes to for the mover.
Verdict AfterMove(Move move) {
    MakeMove(move, 1);
    const bool zeroing = thread_board.FiftyCounter == 0;
    const Verdict after = Probed();
    const bool mate = PlyState[0].InCheck != 0 && MovesHere().empty();
    UnmakeMove();
    const int wdl = -after.wdl;
    const int ply = wdl > 0 ? 1 : -1;
    return {wdl, wdl == 0 ? 0 : mate ? 1 : zeroing ? WdlToDtz[wdl + 2] : ply - after.dtz};
}

void ExpectThatItFollows() {
    const Verdict here = Probed();
    const bool check = PlyState[0].InCheck != 0;
    Verdict best = check ? Verdict{-2, -1} : Verdict{};
    bool first = true;
    for (const Move move : MovesHere()) {
        const Verdict after = AfterMove(move);
        // The shortest win, the longest loss: of one sign the smaller distance.
        if (first || after.wdl > best.wdl || (after.wdl == best.wdl && after.dtz < best.dtz)) {
            best = after;
        }
        first = false;
    }
    EXPECT_EQ(here.wdl, best.wdl) << WriteFen(0);
    // A table may round its distances.
    EXPECT_NEAR(here.dtz, best.dtz, 1) << WriteFen(0);
    EXPECT_EQ(here.wdl == 0, here.dtz == 0) << WriteFen(0);
}

TEST(Rules, EveryAnswerFollowsFromThoseAfterTheMoves) {
    const bool whole = ListSharedTables();
    const std::string path = whole ? QUORVANTH_SHARED "/syzygy" : QUORVANTH_TEST_DATA "/syzygy";
    if (!whole) {
        ListTables(path);
    }
    const char* const wanted = std::getenv("QUORVANTH_RULE_POSITIONS");
    const int positions = wanted != nullptr ? std::atoi(wanted) : 300;
    for (const auto& file : std::filesystem::directory_iterator(path)) {
        if (!whole && file.path().stem() == "KPPvK") {
            continue;  // it promotes to tables that are not among the few
        }
        std::mt19937 random(20250102);
        for (int n = 0; n < positions && file.path().extension() == ".rtbz"; ++n) {
            PlaceRandomly(file.path().stem(), n % 2 == 0 ? WHITE : BLACK, random);
            ExpectThatItFollows();
            for (const Move move : MovesHere()) {
                MakeMove(move, 1);
                if (EnPassantPawn() >= 0) {
                    ExpectThatItFollows();
                }
                UnmakeMove();
            }
            if (HasFailure()) {
                return;
            }
        }
    }
}

}  // namespace
