// What AnnotateMove gives a move, and what it leaves for this ply and the next.

#include <vector>

#include "movegen/generators.h"
#include "movegen/legal_moves.h"
#include "support/random_positions.h"
#include "support/search_fixture.h"

namespace {

class Annotate : public SearchTest {
  protected:
    struct Circumstances {
        bool extAllowed = true;
        bool mateThreat = false;
        std::int32_t depth = 40;
        bool isSingleReply = false;
        std::int32_t score = 100;
        bool isPV = false;
        std::int32_t gap = 0;
    };
    struct Outcome {
        std::int32_t extension;
        std::uint32_t flags;
        std::string threat;  // text of CreatedThreat
    };

    static Move Find(const std::string& text) {
        const Move move = MoveFromText(text);
        EXPECT_TRUE(IsLegalMove(move)) << text << " in " << WriteFen(0);
        return move;
    }

    static Outcome Of(Move move, const Circumstances& c) {
        std::int32_t safety = SAFETY_UNKNOWN;
        const std::int32_t extension =
            AnnotateMove(c.extAllowed, c.mateThreat, c.depth, c.isSingleReply, move, c.score, c.isPV, c.gap, safety);
        EXPECT_EQ(PlyState[Ply + 1].InCheck != 0, GivesCheck(move));
        EXPECT_EQ((PlyState[Ply].MoveFlags & FLAG_CHECK) != 0, GivesCheck(move));
        return {extension, PlyState[Ply].MoveFlags, TextOf(PlyState[Ply].CreatedThreat)};
    }
};

TEST_F(Annotate, OneMove) {
    struct Case {
        const char* what;
        const char* fen;
        const char* move;
        Circumstances given;
        std::int32_t extension;
        std::uint32_t flags;
        const char* threat = "0000";
    };
    const char* start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ";
    const char* rookCheck = "4k3/8/8/8/8/8/3P4/R3K3 w - - ";
    const char* badCheck = "4k3/3n4/8/8/8/8/8/Q3K3 w - - ";  // the queen gives itself up on a4, b5... and e5
    const char* fork = "r3k3/8/8/3N4/8/8/8/4K3 w - - ";
    const char* attack = "6k1/5q2/8/8/8/5N2/8/6K1 w - - ";
    const char* passer = "6k1/8/8/8/P7/8/8/6K1 w - - ";
    const Case cases[] = {
        {"plain", start, "e2e3", {}, -4, 0},
        {"single reply", start, "e2e3", {.isSingleReply = true}, 0, FLAG_BALANCE},
        {"mate threat", start, "e2e3", {.mateThreat = true}, -1, FLAG_MATE_THREAT},
        {"mate threat far out", start, "e2e3", {.extAllowed = false, .mateThreat = true}, -3, FLAG_MATE_THREAT},
        {"no move is deeper than the node",
         start,
         "e2e3",
         {.mateThreat = true, .isSingleReply = true},
         0,
         FLAG_BALANCE | FLAG_MATE_THREAT},

        {"safe check", rookCheck, "a1a8", {}, 0, FLAG_CHECK | FLAG_CREATES_THREAT, "a8e8"},
        {"safe check far out", rookCheck, "a1a8", {.extAllowed = false}, -2, FLAG_CHECK | FLAG_CREATES_THREAT, "a8e8"},
        {"losing check", badCheck, "a1e5", {}, -4, FLAG_CHECK},
        {"losing check of the principal variation", badCheck, "a1e5", {.isPV = true}, 0, FLAG_CHECK},
        {"losing discovered check", "4k3/p7/8/8/8/4B3/8/K3R3 w - - ", "e3b6", {}, 0, FLAG_CHECK},

        {"threat of a fork", fork, "d5c7", {.depth = 8}, 0, FLAG_CHECK | FLAG_CREATES_THREAT, "c7e8"},
        {"attack on a queen", attack, "f3e5", {.gap = 1019}, -4, FLAG_CREATES_THREAT, "e5f7"},
        {"attack on a queen too far below alpha", attack, "f3e5", {.gap = 1020}, -4, 0},
        {"attack on a guarded pawn", "6k1/8/5p2/4p3/8/8/8/R5K1 w - - ", "a1a5", {}, -4, 0},
        {"attack on a loose pawn",
         "6k1/8/8/4p3/8/8/8/R5K1 w - - ",
         "a1a5",
         {.gap = 159},
         -4,
         FLAG_CREATES_THREAT,
         "a5e5"},
        {"attack on a loose pawn too far below alpha", "6k1/8/8/4p3/8/8/8/R5K1 w - - ", "a1a5", {.gap = 160}, -4, 0},

        {"passed push", passer, "a4a5", {}, -4, FLAG_PASSED_PUSH | FLAG_CREATES_THREAT, "a5a6"},
        {"passed push at alpha's far side",
         passer,
         "a4a5",
         {.gap = 1000},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "a5a6"},
        {"push to the seventh",
         "6k1/8/P7/8/8/8/8/6K1 w - - ",
         "a6a7",
         {},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "a7a8q"},
        {"blocked behind", "6k1/n7/8/P7/8/8/8/6K1 w - - ", "a5a6", {}, -4, FLAG_PASSED_PUSH | FLAG_CREATES_THREAT},
        {"push to the third", "6k1/8/8/8/8/8/P7/6K1 w - - ", "a2a3", {}, -4, 0},
        {"double push to the fourth",
         "6k1/8/8/8/8/8/P7/6K1 w - - ",
         "a2a4",
         {},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "a4a5"},
        {"not passed", "6k1/1p6/8/8/P7/8/8/6K1 w - - ", "a4a5", {}, -4, 0},
        {"black passed push",
         "6k1/8/8/p7/8/8/8/6K1 b - - ",
         "a5a4",
         {},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "a4a3"},
        {"far push of the principal variation at the horizon",
         passer,
         "a4a5",
         {.depth = 4, .isPV = true},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "a5a6"},
        {"the same a rank on",
         "6k1/8/8/P7/8/8/8/6K1 w - - ",
         "a5a6",
         {.depth = 4, .isPV = true},
         0,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "a6a7"},
        {"the same in a zero window",
         "6k1/8/8/P7/8/8/8/6K1 w - - ",
         "a5a6",
         {.depth = 4},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "a6a7"},

        {"last piece, into a pawn ending",
         "6k1/8/8/3r4/4P3/8/8/6K1 w - - ",
         "e4d5",
         {},
         0,
         FLAG_PAWN_ENDING | FLAG_BALANCE | FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "d5d6"},
        {"last piece but one",
         "6k1/n7/8/3r4/4P3/8/8/6K1 w - - ",
         "e4d5",
         {.gap = 2000},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "d5d6"},
        {"capture too small for the gap",
         "6k1/pp6/8/3n4/4P3/8/8/R5K1 w - - ",
         "e4d5",
         {.gap = 360},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "d5d6"},
        {"capture that restores the balance",
         "6k1/pp6/8/3n4/4P3/8/8/R5K1 w - - ",
         "e4d5",
         {.gap = 359},
         -4,
         FLAG_BALANCE | FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "d5d6"},
        {"capture put behind the quiet moves",
         "6k1/pp6/8/3n4/4P3/8/8/R5K1 w - - ",
         "e4d5",
         {.score = -1},
         -4,
         FLAG_PASSED_PUSH | FLAG_CREATES_THREAT,
         "d5d6"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        Stand(each.fen);
        const Outcome outcome = Of(Find(each.move), each.given);
        EXPECT_EQ(outcome.extension, each.extension);
        EXPECT_EQ(outcome.flags, each.flags);
        EXPECT_EQ(outcome.threat, each.threat);
    }
}

TEST_F(Annotate, ADoubleThreatKeepsTheChildOutOfQuiescence) {
    // Both rooks are worth the knight; no check is given.
    const char* fen = "7k/8/1r3r2/8/8/2N5/8/6K1 w - - ";
    Stand(fen);
    EXPECT_EQ(Of(Find("c3d5"), {.depth = 7}).extension, 0);
    EXPECT_EQ(Of(Find("c3d5"), {.depth = 8}).extension, -4);
    EXPECT_EQ(Of(Find("c3d5"), {.extAllowed = false, .depth = 7}).extension, -2);
    EXPECT_EQ(Of(Find("c3a4"), {.depth = 7}).extension, -4);  // one threat is not enough
}

TEST_F(Annotate, Recapture) {
    struct Case {
        const char* what;
        const char* fen;
        const char* lastMove;
        const char* move;
        Circumstances given;
        std::uint32_t parentFlags;
        bool extended;
    };
    const char* knightForBishop = "rn2k3/8/2b5/8/8/N1N5/1P6/R3K3 b - - ";
    const char* rookForKnight = "r3k3/8/2r5/8/8/N1N5/1P6/R3K3 b - - ";
    const Case cases[] = {
        {"minor for minor", knightForBishop, "c6a4", "c3a4", {}, 0, false},  // nothing was taken
        {"minor for minor", knightForBishop, "c6f3", "a1b1", {}, 0, false},
        {"rook for knight", rookForKnight, "c6c3", "b2c3", {}, 0, false},
        {"knight by knight", "4k3/p7/4n3/8/3N4/8/8/4K2Q b - - ", "e6d4", "h1d5", {}, 0, false},  // another square
        {"knight for knight", "4k3/8/4n3/8/3N4/4P3/8/4K2R b - - ", "e6d4", "e3d4", {}, 0, true},
        {"bishop for knight", "4k3/8/5b2/8/3N4/4P3/8/4K2R b - - ", "f6d4", "e3d4", {}, 0, true},
        {"already extended", "4k3/8/5b2/8/3N4/4P3/8/4K2R b - - ", "f6d4", "e3d4", {}, FLAG_RECAPTURE, false},
        {"far ahead", "4k3/8/5b2/8/3N4/4P3/8/4K2R b - - ", "f6d4", "e3d4", {.gap = -120}, 0, false},
        {"ahead", "4k3/8/5b2/8/3N4/4P3/8/4K2R b - - ", "f6d4", "e3d4", {.gap = -119}, 0, true},
        {"too far behind", "4k3/8/5b2/8/3N4/4P3/8/4K2R b - - ", "f6d4", "e3d4", {.gap = 360}, 0, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        Stand(each.fen);
        MakeMove(Find(each.lastMove), 1);
        PlyState[0].MoveFlags = each.parentFlags;
        const Outcome outcome = Of(Find(each.move), each.given);
        EXPECT_EQ(outcome.extension, each.extended ? -1 : -4);
        EXPECT_EQ((outcome.flags & FLAG_RECAPTURE) != 0, each.extended);
        UnmakeMove();
    }
    // Into a pawn ending the sum may pass 0, up to a ply.
    Stand("4k3/8/8/3n4/8/4B3/3P4/3K4 b - - ");
    MakeMove(Find("d5e3"), 1);
    const Outcome outcome = Of(Find("d2e3"), {});
    EXPECT_EQ(outcome.extension, 3);
    EXPECT_NE(outcome.flags & FLAG_PAWN_ENDING, 0U);
    EXPECT_EQ(Of(Find("d2e3"), {.mateThreat = true}).extension, 4);
}

/// Two sliders of a kind: the exchange test takes the one on the lower square first, which no mirror respects.
bool HasTwinSliders(Colour colour) {
    const auto& count = thread_board.PieceCount;
    return count[ROOK][colour] > 1 || count[BISHOP][colour] > 1 || count[QUEEN][colour] > 1;
}

TEST_F(Annotate, ColoursAreMirrored) {
    for (const std::string& fen : RandomPositions(11, 12, 60)) {
        struct Seen {
            Move move;
            Outcome outcome;
        };
        std::vector<Seen> seen;
        const Circumstances given{.depth = 4, .gap = 50};
        const auto annotateAll = [&](auto&& act) {
            GenerateLegalMoves(0);
            for (int i = 0; i < MoveCount; ++i) {
                act(MoveList[i].Move);
            }
            MoveCount = 0;
        };
        Setup(fen.c_str());
        if (HasTwinSliders(WHITE) || HasTwinSliders(BLACK)) {
            continue;
        }
        EnterAt(1);
        annotateAll([&](Move move) { seen.push_back({move, Of(move, given)}); });
        Setup(ColourMirror(fen).c_str());
        EnterAt(1);
        for (const Seen& each : seen) {
            const Move mirrored = (each.move ^ 070u ^ (070u << 6)) & 0x1fffff;
            const Outcome outcome = Of(mirrored, given);
            ASSERT_EQ(outcome.extension, each.outcome.extension) << fen << TextOf(each.move);
            ASSERT_EQ(outcome.flags, each.outcome.flags) << fen << TextOf(each.move);
        }
    }
}

}  // namespace
