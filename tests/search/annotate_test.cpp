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
        const char* fen;
        const char* move;
        Circumstances given;
        std::int32_t extension;
        std::uint32_t flags;
        const char* threat = "0000";
    };
    constexpr std::uint32_t threatens = FLAG_CREATES_THREAT, push = FLAG_PASSED_PUSH | threatens;
    const char* start = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ";
    const char* rook = "4k3/8/8/8/8/8/3P4/R3K3 w - - ";
    const char* losing = "4k3/3n4/8/8/8/8/8/Q3K3 w - - ";  // the queen gives itself up on e5
    const char* discovered = "4k3/p7/8/8/8/4B3/8/K3R3 w - - ";
    const char* fork = "r3k3/8/8/3N4/8/8/8/4K3 w - - ";
    const char* attack = "6k1/5q2/8/8/8/5N2/8/6K1 w - - ";
    const char* loose = "6k1/8/8/4p3/8/8/8/R5K1 w - - ";
    const char* guarded = "6k1/8/5p2/4p3/8/8/8/R5K1 w - - ";
    const char* fourth = "6k1/8/8/8/P7/8/8/6K1 w - - ";
    const char* fifth = "6k1/8/8/P7/8/8/8/6K1 w - - ";
    const char* second = "6k1/8/8/8/8/8/P7/6K1 w - - ";
    const char* last = "6k1/8/8/3r4/4P3/8/8/6K1 w - - ";
    const char* knight = "6k1/pp6/8/3n4/4P3/8/8/R5K1 w - - ";
    const Case cases[] = {
        {start, "e2e3", {}, -4, 0},
        {start, "e2e3", {.isSingleReply = true}, 0, FLAG_BALANCE},
        {start, "e2e3", {.mateThreat = true}, -1, FLAG_MATE_THREAT},
        {start, "e2e3", {.extAllowed = false, .mateThreat = true}, -3, FLAG_MATE_THREAT},
        // No move is deeper than the node.
        {start, "e2e3", {.mateThreat = true, .isSingleReply = true}, 0, FLAG_BALANCE | FLAG_MATE_THREAT},

        {rook, "a1a8", {}, 0, FLAG_CHECK | threatens, "a8e8"},
        {rook, "a1a8", {.extAllowed = false}, -2, FLAG_CHECK | threatens, "a8e8"},
        {losing, "a1e5", {}, -4, FLAG_CHECK},
        {losing, "a1e5", {.isPV = true}, 0, FLAG_CHECK},
        {discovered, "e3b6", {}, 0, FLAG_CHECK},

        {fork, "d5c7", {.depth = 8}, 0, FLAG_CHECK | threatens, "c7e8"},
        {attack, "f3e5", {.gap = 1019}, -4, threatens, "e5f7"},
        {attack, "f3e5", {.gap = 1020}, -4, 0},
        {guarded, "a1a5", {}, -4, 0},
        {loose, "a1a5", {.gap = 159}, -4, threatens, "a5e5"},
        {loose, "a1a5", {.gap = 160}, -4, 0},

        {fourth, "a4a5", {}, -4, push, "a5a6"},
        {fourth, "a4a5", {.gap = 1000}, -4, push, "a5a6"},
        {"6k1/8/P7/8/8/8/8/6K1 w - - ", "a6a7", {}, -4, push, "a7a8q"},
        {"6k1/n7/8/P7/8/8/8/6K1 w - - ", "a5a6", {}, -4, push},
        {second, "a2a3", {}, -4, 0},
        {second, "a2a4", {}, -4, push, "a4a5"},
        {"6k1/1p6/8/8/P7/8/8/6K1 w - - ", "a4a5", {}, -4, 0},
        {"6k1/8/8/p7/8/8/8/6K1 b - - ", "a5a4", {}, -4, push, "a4a3"},
        // At the horizon of the principal variation a far push is searched on.
        {fourth, "a4a5", {.depth = 4, .isPV = true}, -4, push, "a5a6"},
        {fifth, "a5a6", {.depth = 4, .isPV = true}, 0, push, "a6a7"},
        {fifth, "a5a6", {.depth = 4}, -4, push, "a6a7"},

        // Captures: the last piece, one of two, and one that must not be too small for the gap nor be put off.
        {last, "e4d5", {}, 0, FLAG_PAWN_ENDING | FLAG_BALANCE | push, "d5d6"},
        {"6k1/n7/8/3r4/4P3/8/8/6K1 w - - ", "e4d5", {.gap = 2000}, -4, push, "d5d6"},
        {knight, "e4d5", {.gap = 360}, -4, push, "d5d6"},
        {knight, "e4d5", {.gap = 359}, -4, FLAG_BALANCE | push, "d5d6"},
        {knight, "e4d5", {.score = -1}, -4, push, "d5d6"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(testing::Message() << each.fen << each.move << " " << &each - cases);
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
        const char* fen;
        const char* lastMove;
        const char* move;
        bool extended;
        Circumstances given = {};
        std::uint32_t parentFlags = 0;
    };
    const char* knightForBishop = "rn2k3/8/2b5/8/8/N1N5/1P6/R3K3 b - - ";
    const char* bishopTakes = "4k3/8/5b2/8/3N4/4P3/8/4K2R b - - ";
    const Case cases[] = {
        {knightForBishop, "c6a4", "c3a4", false},  // nothing was taken
        {knightForBishop, "c6f3", "a1b1", false},
        {"r3k3/8/2r5/8/8/N1N5/1P6/R3K3 b - - ", "c6c3", "b2c3", false},  // a rook for a knight
        {"4k3/p7/4n3/8/3N4/8/8/4K2Q b - - ", "e6d4", "h1d5", false},     // another square
        {"4k3/8/4n3/8/3N4/4P3/8/4K2R b - - ", "e6d4", "e3d4", true},
        {bishopTakes, "f6d4", "e3d4", true},
        {bishopTakes, "f6d4", "e3d4", false, {}, FLAG_RECAPTURE},
        {bishopTakes, "f6d4", "e3d4", false, {.gap = -120}},
        {bishopTakes, "f6d4", "e3d4", true, {.gap = -119}},
        {bishopTakes, "f6d4", "e3d4", false, {.gap = 360}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(testing::Message() << each.fen << each.lastMove << " " << &each - cases);
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
        std::vector<std::pair<Move, Outcome>> seen;
        const Circumstances given{.depth = 4, .gap = 50};
        Setup(fen.c_str());
        if (HasTwinSliders(WHITE) || HasTwinSliders(BLACK)) {
            continue;
        }
        EnterAt(1);
        for (const Move move : LegalMoves()) {
            seen.emplace_back(move, Of(move, given));
        }
        Setup(ColourMirror(fen).c_str());
        EnterAt(1);
        for (const auto& [move, expected] : seen) {
            const Outcome outcome = Of(MirroredMove(move), given);
            ASSERT_EQ(outcome.extension, expected.extension) << fen << TextOf(move);
            ASSERT_EQ(outcome.flags, expected.flags) << fen << TextOf(move);
        }
    }
}

}  // namespace
