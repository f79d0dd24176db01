// The tables of the endings against the rules themselves, played out square by square, and against known verdicts.
#include "eval/knight_intercept.h"
#include "eval/krkp_table.h"
#include "eval/pawn_endgame_tables.h"

#include <bit>

#include "support/evaluation_fixture.h"
#include "support/tablebase_answers.h"

namespace {

class EndgameTables : public EvaluationTest {};

bool Beside(int a, int b) {
    return a == b || (KingAttacks[a] & Bit(b)) != 0;
}

/// The rules of a pawn ending, asked of a table square by square. With the white king held still they say what pawn
/// moves alone win.
struct SlowKpk {
    bool (*Wins)(Colour side, int pawn, int king, int enemy);
    bool king_moves;

    bool Says(int side, int pawn, int king, int enemy) const {
        if (pawn < 8 || pawn >= 56 || king == pawn || enemy == pawn || Beside(king, enemy)) {
            return false;
        }
        return side == BLACK ? BlackLoses(pawn, king, enemy) : !PawnHits(pawn, enemy) && WhiteWins(pawn, king, enemy);
    }

    static bool PawnHits(int pawn, int square) { return (WhitePawnAttacks[pawn] & Bit(square)) != 0; }

    bool WhiteWins(int pawn, int king, int enemy) const {
        if (const int next = pawn + 8; next != king && next != enemy) {
            if (next >= 56 ? Promotes(next, king, enemy) : Wins(BLACK, next, king, enemy)) {
                return true;
            }
            const int jump = next + 8;
            if (pawn < 16 && jump != king && jump != enemy && Wins(BLACK, jump, king, enemy)) {
                return true;
            }
        }
        for (int to = 0; king_moves && to < 64; ++to) {
            if (to != king && Beside(king, to) && to != pawn && !Beside(to, enemy) && Wins(BLACK, pawn, to, enemy)) {
                return true;
            }
        }
        return false;
    }

    bool BlackLoses(int pawn, int king, int enemy) const {
        bool moved = false;
        for (int to = 0; to < 64; ++to) {
            if (to == enemy || !Beside(enemy, to) || Beside(to, king) || PawnHits(pawn, to)) {
                continue;
            }
            moved = true;
            if (to == pawn || !Wins(WHITE, pawn, king, to)) {
                return false;
            }
        }
        return moved || PawnHits(pawn, enemy);
    }

    /// A new queen or rook wins that cannot be taken and leaves a move or gives mate.
    static bool Promotes(int square, int king, int enemy) {
        return Holds(square, king, enemy, true) || Holds(square, king, enemy, false);
    }

    static bool Holds(int square, int king, int enemy, bool queen) {
        bool moved = false;
        for (int to = 0; to < 64; ++to) {
            if (to == enemy || !Beside(enemy, to) || Beside(to, king) || Sees(square, to, king, queen)) {
                continue;
            }
            if (to == square) {
                return false;
            }
            moved = true;
        }
        return moved || Sees(square, enemy, king, queen);
    }

    static bool Sees(int from, int target, int king, bool queen) {
        return ((queen ? QueenAttacksOf(from, Bit(king)) : RookAttacksOf(from, Bit(king))) & Bit(target)) != 0;
    }
};

// A table that keeps the rules may still hold wins that only lead to one another: of all such tables the one with the
// fewest wins is right.
TEST_F(EndgameTables, EveryPawnEndingByTheRules) {
    const auto wins = [](Colour side, int pawn, int king, int enemy) {
        return KpkBit(KpkWin, side, pawn, king, enemy);
    };
    const auto runs = [](Colour side, int pawn, int king, int enemy) {
        return KpkBit(KpkRun, side, pawn, king, enemy);
    };
    int won[2] = {};
    for (int index = 0; index < 1 << 19; ++index) {
        const Colour side = (index & 1) != 0 ? BLACK : WHITE;
        const int pawn = index >> 1 & 63;
        const int king = index >> 7 & 63;
        const int enemy = index >> 13 & 63;
        const auto where = [&] { return ::testing::Message() << side << ' ' << pawn << ' ' << king << ' ' << enemy; };
        ASSERT_EQ(wins(side, pawn, king, enemy), (SlowKpk{wins, true}.Says(side, pawn, king, enemy))) << where();
        ASSERT_EQ(runs(side, pawn, king, enemy), (SlowKpk{runs, false}.Says(side, pawn, king, enemy))) << where();
        won[0] += wins(side, pawn, king, enemy);
        won[1] += runs(side, pawn, king, enemy);
    }
    EXPECT_EQ(won[0], 2 * 111282);
    EXPECT_EQ(won[1], 171690);
}

bool HoldsAgainstRook(const std::string& fen) {
    SetupFen(fen);
    const Colour us = thread_board.PieceCount[ROOK][WHITE] != 0 ? BLACK : WHITE;
    const Colour them = ChangeSide(us);
    const int pawn = LowestSetBit(thread_board.Pieces[PAWN][us]);
    const int rook = LowestSetBit(thread_board.Pieces[ROOK][them]);
    const int own_king = thread_board.KingSquare[us];
    const int rook_king = thread_board.KingSquare[them];
    return us == WHITE ? KrkpBit<WHITE>(pawn, rook, rook_king, own_king)
                       : KrkpBit<BLACK>(pawn, rook, rook_king, own_king);
}

TEST_F(EndgameTables, RookAgainstPawn) {
    // Counted by a solver of its own that lets the pawn become any piece and knows no shortcut.
    constexpr int EXPECTED[4] = {20281, 64495, 116320, 142021};
    int held[4] = {};
    for (int word = 0; word < 64 * 64 * 16; ++word) {
        held[word % 16 / 4] += std::popcount(KrkpDraw[word]);
    }
    EXPECT_TRUE(std::ranges::equal(held, EXPECTED));

    // The rook's side to move.
    const std::string text =
        "8/8/8/6K1/4P3/8/8/2r4k b holds; 8/r7/8/4K3/3P4/8/8/3k4 b holds; 8/4r3/8/5P2/8/5K2/8/4k3 b holds; "
        "3K4/8/3P4/8/8/1r6/k7/8 b holds; 1k6/3KP3/5r2/8/8/8/8/8 b holds; 1k6/3K4/8/1r6/5P2/8/8/8 b; "
        "1k6/8/8/6K1/5P2/7r/8/8 b; 1k6/8/8/8/3P4/7K/6r1/8 b; 1K6/8/6r1/4P3/8/8/8/4k3 b; 1k6/8/5P2/3K4/8/8/8/7r b; "
        "1k6/7P/8/2K5/8/8/3r4/8 b; 8/8/8/4K3/8/4P3/8/r6k b";
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen,
                      [&](const Seen& seen) { EXPECT_EQ(HoldsAgainstRook(seen.fen), !c.words.empty()) << seen.fen; });
    }
}

TEST_F(EndgameTables, RookAgainstPawnAsInTheTablebases) {
    int checked = 0;
    for (const TablebaseAnswer& answer : TablebaseAnswers("KRvKP")) {
        SetupFen(answer.fen);
        const Colour us = thread_board.SideToMove;
        const int pawn = LowestSetBit(thread_board.Pieces[PAWN][ChangeSide(us)]);
        if (thread_board.PieceCount[ROOK][us] != 0 && (us == BLACK ? RankOf(pawn) : 7 - RankOf(pawn)) >= 3) {
            EXPECT_EQ(HoldsAgainstRook(answer.fen), answer.wdl <= 0) << answer.fen;
            ++checked;
        }
    }
    if (checked == 0) {
        GTEST_SKIP() << "no tablebase answers here";
    }
}

bool Stops(int pawn, int king, int knight) {
    for (int t = 0; t <= RankOf(pawn); ++t) {
        const int p = pawn - 8 * t;
        if (KnightDistance[p][knight] <= t + 1) {
            return true;
        }
        for (Bitboard checks = KnightDistance[p][knight] == t + 2 ? KnightAttacks[king] : 0; checks != 0;) {
            const int check = PopLowestBit(checks);
            if (KnightDistance[check][knight] + KnightDistance[p][check] - 1 <= t + 1) {
                return true;
            }
        }
    }
    return false;
}

TEST_F(EndgameTables, KnightsThatStopAPawn) {
    int by_check = 0;
    for (int pawn = 0; pawn < 64; ++pawn) {
        for (int king = pawn % 3; king < 64; king += 3) {
            Bitboard expected = 0;
            for (int knight = 0; knight < 64 && RankOf(pawn) >= 1 && RankOf(pawn) <= 6; ++knight) {
                expected |= Stops(pawn, king, knight) ? Bit(knight) : 0;
            }
            ASSERT_EQ(KnightIntercept[pawn][king], expected) << pawn << " " << king;
            by_check += KnightIntercept[pawn][king] != KnightIntercept[pawn][(king + 1) % 64];
        }
    }
    EXPECT_GT(by_check, 0) << "the king's square never matters";
}

}  // namespace
