#include "eval/krkp_table.h"
#include "position/fen.h"
#include "support/evaluation_tables.h"
#include "support/tablebase_answers.h"

#include <bit>
#include <cstdlib>

namespace {

/// The bare rules of rook against a white pawn, by squares.
struct Ending {
    int pawn;
    int rook;
    int rook_king;
    int pawn_king;

    static int Distance(int a, int b) {
        return std::max(std::abs(FileOf(a) - FileOf(b)), std::abs(RankOf(a) - RankOf(b)));
    }

    bool MenApart() const {
        return pawn != rook && pawn != rook_king && pawn != pawn_king && rook != rook_king && rook != pawn_king &&
               rook_king != pawn_king;
    }

    /// Along a rank or a file with nothing between.
    bool RookReaches(int to) const {
        if (to == rook || (FileOf(to) != FileOf(rook) && RankOf(to) != RankOf(rook))) {
            return false;
        }
        const int step = (FileOf(to) == FileOf(rook) ? 8 : 1) * (to > rook ? 1 : -1);
        for (int square = rook + step; square != to; square += step) {
            if (square == pawn || square == rook_king || square == pawn_king) {
                return false;
            }
        }
        return true;
    }

    bool PawnAttacks(int square) const {
        return RankOf(square) == RankOf(pawn) + 1 && std::abs(FileOf(square) - FileOf(pawn)) == 1;
    }

    bool RookSideToMoveIsLegal() const {
        return MenApart() && Distance(rook_king, pawn_king) > 1 && !RookReaches(pawn_king);
    }
    bool PawnSideToMoveIsLegal() const {
        return MenApart() && Distance(rook_king, pawn_king) > 1 && !PawnAttacks(rook_king);
    }

    /// White, to move, has a move that leads to a position marked as held, takes the rook, or has no move at all
    /// without being in check.
    bool WhiteHolds() const {
        bool moves = false;
        for (int to = 0; to < 64; ++to) {
            if (Distance(to, pawn_king) != 1 || to == pawn || Distance(to, rook_king) <= 1) {
                continue;
            }
            if (to == rook) {
                return true;
            }
            const Ending after{pawn, rook, rook_king, to};
            if (after.RookSideToMoveIsLegal()) {
                moves = true;
                if (KrkpBit<WHITE>(pawn, rook, rook_king, to)) {
                    return true;
                }
            }
        }
        if (PawnAttacks(rook)) {
            return true;
        }
        const Ending pushed{pawn + 8, rook, rook_king, pawn_king};
        if (pushed.RookSideToMoveIsLegal()) {
            moves = true;
            if (KrkpBit<WHITE>(pawn + 8, rook, rook_king, pawn_king)) {
                return true;
            }
        }
        return !moves && !RookReaches(pawn_king);
    }

    /// After the pawn is gone and White is to move: the rook hangs, or stalemate.
    bool BareKingHolds() const {
        if (Distance(pawn_king, rook) == 1 && Distance(rook_king, rook) > 1) {
            return true;
        }
        for (int to = 0; to < 64; ++to) {
            const Ending after{-1, rook, rook_king, to};
            if (Distance(to, pawn_king) == 1 && Distance(to, rook_king) > 1 && to != rook && !after.RookReaches(to)) {
                return false;
            }
        }
        return !RookReaches(pawn_king);
    }

    bool HoldsAfter(const Ending& after) const {
        Ending next = after;
        if (next.rook == pawn || next.rook_king == pawn) {
            next.pawn = -1;
            return next.BareKingHolds();
        }
        return next.WhiteHolds();
    }

    /// Black, to move, has no move that wins.
    bool BlackCannotWin() const {
        for (int to = 0; to < 64; ++to) {
            const bool leaves_check = PawnAttacks(rook_king) && to != pawn;
            if (RookReaches(to) && to != rook_king && !leaves_check && !HoldsAfter({pawn, to, rook_king, pawn_king})) {
                return false;
            }
            if (Distance(to, rook_king) == 1 && to != rook && Distance(to, pawn_king) > 1 && !PawnAttacks(to) &&
                !HoldsAfter({pawn, rook, to, pawn_king})) {
                return false;
            }
        }
        return true;
    }
};

class Krkp : public testing::Test {
  protected:
    static void SetUpTestSuite() { ResetEvaluation(); }
};

TEST_F(Krkp, EntriesFollowFromTheirSuccessors) {
    // Every thirteenth placing: the step is prime to all squares. On the seventh rank promotions come in, see below.
    int held = 0;
    int legal = 0;
    for (int word = 0; word < 64 * 64 * 64 * 12; word += 13) {
        const int pawn_class = word % 12;
        const Ending ending{8 * (3 + pawn_class / 4) + 4 + pawn_class % 4, (word / 12) & 63, (word / 12 >> 6) & 63,
                            (word / 12 >> 12) & 63};
        const bool bit = KrkpBit<WHITE>(ending.pawn, ending.rook, ending.rook_king, ending.pawn_king);
        if (!ending.RookSideToMoveIsLegal()) {
            ASSERT_FALSE(bit) << word;
            continue;
        }
        ++legal;
        held += bit;
        ASSERT_EQ(bit, ending.BlackCannotWin())
            << ending.pawn << ' ' << ending.rook << ' ' << ending.rook_king << ' ' << ending.pawn_king;
    }
    EXPECT_GT(held, legal / 20);
}

TEST_F(Krkp, HoldsAsOftenAsASolverOfAllPromotionsSays) {
    // Counted by a solver of its own that lets the pawn become any piece and knows no shortcut.
    constexpr int EXPECTED[4] = {20281, 64495, 116320, 142021};
    int held[4] = {};
    for (int word = 0; word < 64 * 64 * 16; ++word) {
        held[word % 16 / 4] += std::popcount(KrkpDraw[word]);
    }
    for (int rank = 0; rank < 4; ++rank) {
        EXPECT_EQ(held[rank], EXPECTED[rank]) << rank;
    }
}

TEST_F(Krkp, IsReadThroughTheMirrors) {
    int held = 0;
    for (int word = 0; word < 64 * 64 * 64 * 16; word += 1001) {
        const int pawn = 8 * (3 + word % 4) + 4 + word / 4 % 4;
        const int rook = (word >> 4) & 63;
        const int rook_king = (word >> 10) & 63;
        const int pawn_king = (word >> 16) & 63;
        const bool holds = KrkpBit<WHITE>(pawn, rook, rook_king, pawn_king);
        held += holds;
        ASSERT_EQ(KrkpBit<WHITE>(pawn ^ 7, rook ^ 7, rook_king ^ 7, pawn_king ^ 7), holds) << word;
        ASSERT_EQ(KrkpBit<BLACK>(63 - pawn, 63 - rook, 63 - rook_king, 63 - pawn_king), holds) << word;
        ASSERT_EQ(KrkpBit<BLACK>(pawn ^ 56, rook ^ 56, rook_king ^ 56, pawn_king ^ 56), holds) << word;
    }
    EXPECT_GT(held, 100);
    for (int pawn = 0; pawn < 64; ++pawn) {
        if (RankOf(pawn) < 3 || RankOf(pawn) > 6) {
            EXPECT_FALSE(KrkpBit<WHITE>(pawn, E1, H1, 20));
        }
    }
}

TEST_F(Krkp, AgreesWithTheTablebases) {
    int checked = 0;
    for (const TablebaseAnswer& answer : TablebaseAnswers("KRvKP")) {
        SetupFen(answer.fen);
        const Colour rook_side = thread_board.PieceCount[ROOK][WHITE] != 0 ? WHITE : BLACK;
        const Colour pawn_side = ChangeSide(rook_side);
        const int pawn = std::countr_zero(thread_board.Pieces[PAWN][pawn_side]);
        const int rank = pawn_side == WHITE ? RankOf(pawn) : 7 - RankOf(pawn);
        if (thread_board.SideToMove != rook_side || rank < 3) {
            continue;
        }
        const int rook = std::countr_zero(thread_board.Pieces[ROOK][rook_side]);
        const int rook_king = thread_board.KingSquare[rook_side];
        const int pawn_king = thread_board.KingSquare[pawn_side];
        const bool holds = pawn_side == WHITE ? KrkpBit<WHITE>(pawn, rook, rook_king, pawn_king)
                                              : KrkpBit<BLACK>(pawn, rook, rook_king, pawn_king);
        EXPECT_EQ(holds, answer.wdl <= 0) << answer.fen;
        ++checked;
    }
    if (checked == 0) {
        GTEST_SKIP() << "no tablebase answers here";
    }
}

}  // namespace
