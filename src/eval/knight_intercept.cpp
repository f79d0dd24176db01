#include "eval/knight_intercept.h"

#include "eval/init.h"
#include "position/attacks.h"

Bitboard KnightIntercept[64][64];

namespace {

/// Eight is more than any walk needs: at most six steps of the pawn, and two moves more for the knight.
constexpr int WALKS = 9;

/// Squares within a number of knight moves of a square, the square itself at 0.
struct KnightReach {
    Bitboard within[64][WALKS];

    KnightReach() {
        for (int square = 0; square < 64; ++square) {
            for (int moves = 0; moves < WALKS; ++moves) {
                within[square][moves] = 0;
                for (int other = 0; other < 64; ++other) {
                    if (KnightDistance[square][other] <= moves) {
                        within[square][moves] |= Bit(other);
                    }
                }
            }
        }
    }
};

/// All knights that stop a pawn on `pawn` whose own king stands on `king`. While the pawn makes t steps the knight
/// makes t + 1 moves; one move more is free when a check on the way costs the pawn's side a move.
Bitboard StoppingKnights(const KnightReach& reach, int pawn, int king) {
    Bitboard stopping = 0;
    for (int t = 0; t <= RankOf(pawn); ++t) {
        const int square = pawn - 8 * t;
        stopping |= reach.within[square][t + 1];
        Bitboard by_check = 0;
        for (Bitboard checks = KnightAttacks[king]; checks != 0;) {
            const int check = PopLowestBit(checks);
            const int left = t + 2 - KnightDistance[check][square];
            if (left >= 0) {
                by_check |= reach.within[check][left];
            }
        }
        // A way over a check square that is no longer than t + 2 moves is a shortest way for these knights only.
        stopping |= by_check & reach.within[square][t + 2] & ~reach.within[square][t + 1];
    }
    return stopping;
}

}  // namespace

void InitKnightIntercept() {
    // Done in series: a quarter of a millisecond, and waking threads costs several on a busy machine.
    const KnightReach reach;
    for (int king = 0; king < 64; ++king) {
        for (int pawn = 8; pawn < 56; ++pawn) {
            KnightIntercept[pawn][king] = StoppingKnights(reach, pawn, king);
        }
    }
}
