#include "eval/pawn_endgame_tables.h"

#include "eval/evaluation.h"
#include "eval/init.h"
#include "position/attacks.h"

#include <algorithm>
#include <cassert>

std::uint64_t KpkWin[KPK_WORDS];
std::uint64_t KpkRun[KPK_WORDS];

namespace {

/// The won positions of one pawn square: for every white king the black kings. All black kings of a row are worked
/// on at once.
struct WonPositions {
    Bitboard white_to_move[64];
    Bitboard black_to_move[64];
};

/// All squares a king's move away from one of `squares`.
Bitboard KingStepsFrom(Bitboard squares) {
    const Bitboard beside = (squares & ~FILE_A) >> 1 | (squares & ~FILE_H) << 1;
    const Bitboard row = squares | beside;
    return beside | row << 8 | row >> 8;
}

/// The geometry of one pawn square and one white king.
struct Placing {
    Bitboard free;   // where a black king to move can step to, if it is near: the pawn may be there to be taken
    Bitboard black;  // where the black king can stand with Black to move
    Bitboard white;  // the same with White to move: not attacked by the pawn
    Bitboard in_check;

    Placing(int pawn, int king) {
        in_check = WhitePawnAttacks[pawn];
        const Bitboard near = KingAttacks[king] | Bit(king);
        free = ~(near | in_check);
        black = king == pawn ? 0 : ~(near | Bit(pawn));
        white = black & ~in_check;
    }
};

/// Black kings that lose whatever they do, where `won` are the ones that lose with White to move.
Bitboard LosingReplies(const Placing& placing, Bitboard won) {
    const Bitboard with_moves = KingStepsFrom(placing.free);
    const Bitboard with_escapes = KingStepsFrom(placing.free & ~won);
    return placing.black & ~with_escapes & (with_moves | placing.in_check);
}

/// Black kings, not on `square`, against which a pawn wins that has just become a queen on `square`: the queen cannot
/// be taken and does not stalemate; where it does, a rook will do. The other side is then to move, and nothing but
/// taking the piece at once saves it.
Bitboard WonByPromotion(int square, int king) {
    Bitboard won = 0;
    for (Bitboard kings = ~(KingAttacks[king] | Bit(king) | Bit(square)); kings != 0;) {
        const int black_king = PopLowestBit(kings);
        const Bitboard near = KingAttacks[black_king];
        if ((near & Bit(square)) != 0 && (KingAttacks[king] & Bit(square)) == 0) {
            continue;
        }
        // The black king does not screen what it steps to.
        const Bitboard held = KingAttacks[king] | Bit(square);
        const Bitboard straight = RookAttacksOf(square, Bit(king));
        const Bitboard diagonal = BishopAttacksOf(square, Bit(king));
        const bool queen_stalemates =
            (near & ~(held | straight | diagonal)) == 0 && ((straight | diagonal) & Bit(black_king)) == 0;
        const bool rook_stalemates = (near & ~(held | straight)) == 0 && (straight & Bit(black_king)) == 0;
        if (!queen_stalemates || !rook_stalemates) {
            won |= Bit(black_king);
        }
    }
    return won;
}

/// Black kings against which a push wins.
Bitboard WonByPush(int pawn, int king, const WonPositions* won) {
    assert(pawn >= A2 && pawn <= H7);
    const int next = pawn + 8;
    if (king == next) {
        return 0;
    }
    if (RankOf(next) == 7) {
        return WonByPromotion(next, king);
    }
    // A king on the square ahead is in no row of that pawn.
    Bitboard wins = won[next].black_to_move[king];
    if (RankOf(pawn) == 1 && king != next + 8) {
        wins |= won[next + 8].black_to_move[king] & ~Bit(next);
    }
    return wins;
}

/// With the white king standing still there is nothing to iterate.
void SolveRun(int pawn, WonPositions* won) {
    if (pawn < A2 || pawn > H7) {
        return;  // no pawn stands there
    }
    for (int king = 0; king < 64; ++king) {
        const Placing placing(pawn, king);
        won[pawn].white_to_move[king] = placing.white & WonByPush(pawn, king, won);
        won[pawn].black_to_move[king] = LosingReplies(placing, won[pawn].white_to_move[king]);
    }
}

void SolveWin(int pawn, WonPositions* won) {
    if (pawn < A2 || pawn > H7) {
        return;
    }
    WonPositions& here = won[pawn];
    for (int king = 0; king < 64; ++king) {
        here.white_to_move[king] = Placing(pawn, king).white & WonByPush(pawn, king, won);
        here.black_to_move[king] = 0;
    }
    for (bool changed = true; changed;) {
        changed = false;
        for (int king = 0; king < 64; ++king) {
            const Bitboard losing = LosingReplies(Placing(pawn, king), here.white_to_move[king]);
            changed |= losing != here.black_to_move[king];
            here.black_to_move[king] = losing;
        }
        for (int king = 0; king < 64; ++king) {
            Bitboard wins = 0;
            for (Bitboard steps = KingAttacks[king]; steps != 0;) {
                wins |= here.black_to_move[PopLowestBit(steps)];
            }
            here.white_to_move[king] |= Placing(pawn, king).white & wins;
        }
    }
}

void Spread(const WonPositions& won, int pawn, std::uint64_t (&table)[KPK_WORDS]) {
    for (int king = 0; king < 64; ++king) {
        for (const Colour side : {WHITE, BLACK}) {
            Bitboard kings = side == WHITE ? won.white_to_move[king] : won.black_to_move[king];
            while (kings != 0) {
                const int index = side + 2 * pawn + 128 * king + 8192 * PopLowestBit(kings);
                table[index >> 6] |= std::uint64_t{1} << (index & 63);
            }
        }
    }
}

void BuildTable(void (*solve)(int, WonPositions*), std::uint64_t (&table)[KPK_WORDS]) {
    static WonPositions won[64];
    std::fill_n(table, KPK_WORDS, std::uint64_t{0});
    // From the seventh rank down: a push leads to a square that is solved already.
    for (int pawn = H7; pawn >= A2; --pawn) {
        solve(pawn, won);
        Spread(won[pawn], pawn, table);
    }
}

bool RunsThrough(Colour side, int pawn, int white_king, int black_king) {
    if ((FileAhead[pawn] & Bit(white_king)) != 0) {
        return (PawnSquare[WHITE][side][pawn] & Bit(black_king)) == 0;
    }
    return KpkBit(KpkRun, side, pawn, white_king, black_king);
}

}  // namespace

void InitPawnEndgameTables() {
    BuildTable(SolveWin, KpkWin);
    BuildTable(SolveRun, KpkRun);
}

bool KpkProbe(Colour side, int pawn, int white_king, int black_king) {
    const bool runs = RunsThrough(side, pawn, white_king, black_king);
    if (runs != RunsThrough(ChangeSide(side), pawn, white_king, black_king)) {
        DependsOnMover();
    }
    return runs;
}
