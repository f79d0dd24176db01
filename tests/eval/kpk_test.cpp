#include "eval/pawn_endgame_tables.h"

#include <cstdlib>
#include <memory>

#include "position/fen.h"
#include "support/evaluation_tables.h"
#include "support/slow_chess.h"

namespace {

bool Beside(int a, int b) {
    return std::abs((a & 7) - (b & 7)) <= 1 && std::abs((a >> 3) - (b >> 3)) <= 1;
}

/// A pawn ending played out square by square. With the white king held still it answers what pawn moves alone win.
class SlowKpk {
  public:
    explicit SlowKpk(bool king_moves) : king_moves_(king_moves), won_(std::make_unique<Won>()) {
        for (int pawn = 55; pawn >= 8; --pawn) {
            for (bool changed = true; changed;) {
                changed = false;
                for (int king = 0; king < 64; ++king) {
                    for (int enemy = 0; enemy < 64; ++enemy) {
                        changed |= Settle(pawn, king, enemy);
                    }
                }
            }
        }
    }

    bool Wins(int side, int pawn, int king, int enemy) const { return won_->at[side][pawn][king][enemy]; }

  private:
    struct Won {
        bool at[2][64][64][64];
    };

    bool Settle(int pawn, int king, int enemy) {
        if (king == pawn || enemy == pawn || Beside(king, enemy)) {
            return false;
        }
        bool& white = won_->at[WHITE][pawn][king][enemy];
        bool& black = won_->at[BLACK][pawn][king][enemy];
        const bool before[] = {white, black};
        black = BlackLoses(pawn, king, enemy);
        white = !PawnHits(pawn, enemy) && WhiteWins(pawn, king, enemy);
        return white != before[0] || black != before[1];
    }

    static bool PawnHits(int pawn, int square) {
        return (square >> 3) == (pawn >> 3) + 1 && std::abs((square & 7) - (pawn & 7)) == 1;
    }

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
        for (int to = 0; king_moves_ && to < 64; ++to) {
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
        const auto along = [&](const Step(&steps)[4]) {
            for (const Step step : steps) {
                for (int at = Stepped(from, step); at >= 0 && at != king; at = Stepped(at, step)) {
                    if (at == target) {
                        return true;
                    }
                }
            }
            return false;
        };
        return along(STRAIGHT_STEPS) || (queen && along(DIAGONAL_STEPS));
    }

    bool king_moves_;
    std::unique_ptr<Won> won_;
};

class Kpk : public testing::Test {
  protected:
    static void SetUpTestSuite() { ResetEvaluation(); }

    static void ExpectEqual(const std::uint64_t (&table)[KPK_WORDS], const SlowKpk& slow) {
        int wins = 0;
        for (int index = 0; index < 1 << 19; ++index) {
            const int pawn = index >> 1 & 63;
            const int king = index >> 7 & 63;
            const int enemy = index >> 13 & 63;
            const Colour side = (index & 1) != 0 ? BLACK : WHITE;
            const bool expected = slow.Wins(side, pawn, king, enemy);
            ASSERT_EQ(KpkBit(table, side, pawn, king, enemy), expected)
                << side << ' ' << pawn << ' ' << king << ' ' << enemy;
            wins += expected;
        }
        EXPECT_GT(wins, 50000);
    }
};

TEST_F(Kpk, EveryWinIsAWin) {
    ExpectEqual(KpkWin, SlowKpk(true));
}

TEST_F(Kpk, EveryRunIsARun) {
    ExpectEqual(KpkRun, SlowKpk(false));
    for (int word = 0; word < KPK_WORDS; ++word) {
        ASSERT_EQ(KpkRun[word] & ~KpkWin[word], 0u) << word;
    }
}

TEST_F(Kpk, KnownPositions) {
    const struct {
        const char* fen;
        bool white_to_move, black_to_move, runs;
    } cases[] = {
        {"4k3/8/4K3/4P3/8/8/8/8 w - - ", true, true, false}, {"8/4k3/8/4K3/4P3/8/8/8 w - - ", false, true, false},
        {"k7/8/PK6/8/8/8/8/8 w - - ", false, false, false},  {"8/8/8/8/8/2k5/3P4/3K4 w - - ", false, false, false},
        {"7k/8/8/8/8/8/P7/K7 w - - ", true, true, true},     {"k7/2P5/8/1K6/8/8/8/8 w - - ", true, false, true},
        {"7k/5P2/8/6K1/8/8/8/8 w - - ", true, false, true},
    };
    for (const auto& c : cases) {
        SetupFen(c.fen);
        const int pawn = LowestSetBit(thread_board.Pieces[PAWN][WHITE]);
        EXPECT_EQ(PawnWins<WHITE>(WHITE, pawn), c.white_to_move) << c.fen;
        EXPECT_EQ(PawnWins<WHITE>(BLACK, pawn), c.black_to_move) << c.fen;
        EXPECT_EQ(PawnRunsAlone<WHITE>(pawn), c.runs) << c.fen;
    }
}

TEST_F(Kpk, ProbeLooksPastTheOwnKingAndSaysWhenTheMoveMatters) {
    const struct {
        const char* fen;
        bool runs;
        int valid;
    } cases[] = {
        {"7k/8/8/8/8/8/P7/K7 w - - ", true, 1},
        {"7k/8/8/8/8/K7/P7/8 w - - ", true, 1},  // behind the king, outside the square by two files
        {"7k/8/8/8/8/K7/P7/8 b - - ", true, 1},
        {"8/6k1/8/8/8/K7/P7/8 w - - ", true, 0},  // g7 is inside when Black moves first
        {"8/6k1/8/8/8/K7/P7/8 b - - ", false, 0},
        {"8/5k2/8/8/8/K7/P7/8 w - - ", false, 1},
        {"8/6k1/8/8/8/8/P7/K7 w - - ", true, 0},  // the same by the table
        {"8/6k1/8/8/8/8/P7/K7 b - - ", false, 0},
        {"8/5k2/8/8/8/8/P7/K7 b - - ", false, 1},
    };
    for (const auto& c : cases) {
        SetupFen(c.fen);
        const int pawn = LowestSetBit(thread_board.Pieces[PAWN][WHITE]);
        thread_eval_info.both_sides_valid = 1;
        EXPECT_EQ(PawnRuns<WHITE>(pawn), c.runs) << c.fen;
        EXPECT_EQ(thread_eval_info.both_sides_valid, c.valid) << c.fen;
        EXPECT_EQ(
            KpkProbe(thread_board.SideToMove, pawn, thread_board.KingSquare[WHITE], thread_board.KingSquare[BLACK]),
            c.runs);

        // The same for a black pawn, everything turned around.
        thread_board.SideToMove = ChangeSide(thread_board.SideToMove);
        const int white_king = thread_board.KingSquare[WHITE];
        thread_board.KingSquare[WHITE] = 63 - thread_board.KingSquare[BLACK];
        thread_board.KingSquare[BLACK] = 63 - white_king;
        thread_eval_info.both_sides_valid = 1;
        EXPECT_EQ(PawnRuns<BLACK>(63 - pawn), c.runs) << c.fen;
        EXPECT_EQ(thread_eval_info.both_sides_valid, c.valid) << c.fen;
        for (const Colour side : {WHITE, BLACK}) {
            const bool wins = KpkBit(KpkWin, side, pawn, white_king, 63 - thread_board.KingSquare[WHITE]);
            EXPECT_EQ(PawnWins<BLACK>(ChangeSide(side), 63 - pawn), wins) << c.fen;
        }
    }
}

}  // namespace
