// The tables of the endings against the rules themselves, played out square by square, and against known verdicts.
#include "eval/knight_intercept.h"
#include "eval/krkp_table.h"
#include "eval/pawn_endgame_tables.h"

#include <bit>
#include <cstdlib>
#include <memory>

#include "support/evaluation_fixture.h"
#include "support/slow_chess.h"
#include "support/tablebase_answers.h"

namespace {

class EndgameTables : public EvaluationTest {};

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

TEST_F(EndgameTables, EveryPawnEndingByTheRules) {
    const SlowKpk win(true);
    const SlowKpk run(false);
    int runs = 0;
    for (int index = 0; index < 1 << 19; ++index) {
        const Colour side = (index & 1) != 0 ? BLACK : WHITE;
        const int pawn = index >> 1 & 63;
        const int king = index >> 7 & 63;
        const int enemy = index >> 13 & 63;
        const auto where = [&] { return ::testing::Message() << side << ' ' << pawn << ' ' << king << ' ' << enemy; };
        ASSERT_EQ(KpkBit(KpkWin, side, pawn, king, enemy), win.Wins(side, pawn, king, enemy)) << where();
        ASSERT_EQ(KpkBit(KpkRun, side, pawn, king, enemy), run.Wins(side, pawn, king, enemy)) << where();
        ASSERT_TRUE(!run.Wins(side, pawn, king, enemy) || win.Wins(side, pawn, king, enemy)) << where();
        runs += run.Wins(side, pawn, king, enemy);
    }
    EXPECT_GT(runs, 50000);
}

// For a pawn of either colour, and with the own king ahead of the pawn, which the table takes for a block.
TEST_F(EndgameTables, PawnsAreAskedForWithTheMoveInMind) {
    // Whether the pawn wins by the table, whether it runs by the probe, and whether the probe hangs on the side to
    // move.
    const std::string text =
        "4k3/8/4K3/4P3/8/8/8/8 wins; 8/4k3/8/4K3/4P3/8/8/8; 8/4k3/8/4K3/4P3/8/8/8 b wins; k7/8/PK6/8/8/8/8/8; "
        "k7/2P5/8/1K6/8/8/8/8 wins runs mover; 7k/5P2/8/6K1/8/8/8/8 wins runs mover; 7k/8/8/8/8/8/P7/K7 wins runs; "
        "7k/8/8/8/8/K7/P7/8 wins runs; 7k/8/8/8/8/K7/P7/8 b wins runs; 8/6k1/8/8/8/K7/P7/8 wins runs mover; "
        "8/6k1/8/8/8/K7/P7/8 b mover; 8/5k2/8/8/8/K7/P7/8; 8/6k1/8/8/8/8/P7/K7 wins runs mover; "
        "8/6k1/8/8/8/8/P7/K7 b mover; 8/5k2/8/8/8/8/P7/K7 b";
    for (const TextCase& c : TextCases(text)) {
        const auto says = [&](const char* word) { return std::ranges::count(c.words, word) != 0; };
        FromBothSides(c.fen, [&](const Seen& seen) {
            SetupFen(seen.fen);
            const Colour side = thread_board.SideToMove;
            const int pawn = LowestSetBit(thread_board.Pieces[PAWN][seen.Of(WHITE)]);
            thread_eval_info.both_sides_valid = 1;
            EXPECT_EQ(seen.mirrored ? PawnWins<BLACK>(side, pawn) : PawnWins<WHITE>(side, pawn), says("wins"))
                << seen.fen;
            EXPECT_EQ(seen.mirrored ? PawnRuns<BLACK>(pawn) : PawnRuns<WHITE>(pawn), says("runs")) << seen.fen;
            EXPECT_EQ(thread_eval_info.both_sides_valid == 0, says("mover")) << seen.fen;
        });
    }
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

    const struct {
        const char* fen;  // the rook's side to move
        bool holds;
    } cases[] = {
        {"8/8/8/6K1/4P3/8/8/2r4k b", true},  {"8/r7/8/4K3/3P4/8/8/3k4 b", true},  {"8/4r3/8/5P2/8/5K2/8/4k3 b", true},
        {"3K4/8/3P4/8/8/1r6/k7/8 b", true},  {"1k6/3KP3/5r2/8/8/8/8/8 b", true},  {"1k6/3K4/8/1r6/5P2/8/8/8 b", false},
        {"1k6/8/8/6K1/5P2/7r/8/8 b", false}, {"1k6/8/8/8/3P4/7K/6r1/8 b", false}, {"1K6/8/6r1/4P3/8/8/8/4k3 b", false},
        {"1k6/8/5P2/3K4/8/8/8/7r b", false}, {"1k6/7P/8/2K5/8/8/3r4/8 b", false}, {"8/8/8/4K3/8/4P3/8/r6k b", false}};
    for (const auto& c : cases) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            EXPECT_EQ(HoldsAgainstRook(seen.fen), c.holds) << seen.fen;
            // Left and right are alike.
            const std::size_t end = seen.fen.find(' ');
            std::string turned = seen.fen.substr(0, end);
            for (std::size_t from = 0; from < turned.size(); from = turned.find('/', from) + 1) {
                const std::size_t to = std::min(turned.find('/', from), turned.size());
                std::reverse(turned.begin() + static_cast<long>(from), turned.begin() + static_cast<long>(to));
                if (to == turned.size()) {
                    break;
                }
            }
            EXPECT_EQ(HoldsAgainstRook(turned + seen.fen.substr(end)), c.holds) << turned;
        });
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

bool IsKnightMove(int a, int b) {
    const int files = std::abs(FileOf(a) - FileOf(b));
    const int ranks = std::abs(RankOf(a) - RankOf(b));
    return files * ranks == 2;
}

/// Knight moves between two squares, by walking.
struct Distances {
    int of[64][64];

    Distances() {
        for (int from = 0; from < 64; ++from) {
            Bitboard seen = Bit(from);
            of[from][from] = 0;
            for (int moves = 1; ~seen != 0; ++moves) {
                const Bitboard before = seen;
                for (int to = 0; to < 64; ++to) {
                    for (int step = 0; step < 64 && (before & Bit(to)) == 0; ++step) {
                        if ((before & Bit(step)) != 0 && IsKnightMove(step, to)) {
                            of[from][to] = moves;
                            seen |= Bit(to);
                        }
                    }
                }
            }
        }
    }
};

bool Stops(const Distances& distance, int pawn, int king, int knight) {
    for (int t = 0; t <= RankOf(pawn); ++t) {
        const int p = pawn - 8 * t;
        if (distance.of[p][knight] <= t + 1) {
            return true;
        }
        if (distance.of[p][knight] != t + 2) {
            continue;
        }
        for (int m = 0; m < 64; ++m) {
            if (IsKnightMove(m, king) && distance.of[m][knight] + distance.of[p][m] - 1 <= t + 1) {
                return true;
            }
        }
    }
    return false;
}

TEST_F(EndgameTables, KnightsThatStopAPawn) {
    const Distances distance;
    int by_check = 0;
    for (int pawn = 0; pawn < 64; ++pawn) {
        for (int king = pawn % 3; king < 64; king += 3) {
            Bitboard expected = 0;
            for (int knight = 0; knight < 64 && RankOf(pawn) >= 1 && RankOf(pawn) <= 6; ++knight) {
                expected |= Stops(distance, pawn, king, knight) ? Bit(knight) : 0;
            }
            ASSERT_EQ(KnightIntercept[pawn][king], expected) << pawn << " " << king;
            by_check += KnightIntercept[pawn][king] != KnightIntercept[pawn][(king + 1) % 64];
        }
    }
    EXPECT_GT(by_check, 0) << "the king's square never matters";
}

}  // namespace
