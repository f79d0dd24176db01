// The retrograde generator of KrkpDraw. Everywhere below White has the pawn, or the piece it has become, and Black
// the rook; "won" and "lost" are Black's win and White's loss. A word holds one bit for every square of the white
// king, so that all 64 placings of it are solved at once.
//
// A promotion leaves the pawn ending for queen or knight against rook, which are solved first. Rook and bishop
// need not be: they never hold where neither queen nor knight does (found by solving all four).
#include "eval/krkp_table.h"

#include "eval/init.h"
#include "position/attacks.h"

#include <utility>
#include <vector>

Bitboard KrkpDraw[64 * 64 * 16];

namespace {

/// All squares next to a square of the set.
Bitboard KingSteps(Bitboard kings) {
    const Bitboard beside = ((kings & ~FILE_H) << 1) | ((kings & ~FILE_A) >> 1);
    const Bitboard row = kings | beside;
    return beside | (row << 8) | (row >> 8);
}

/// Where the white king cannot step to: his man, the black king's reach, the rook's lines through the king himself.
/// The rook's own square is left out unless guarded: taking it ends all danger.
Bitboard Forbidden(int man, int rook, int king) {
    return Bit(man) | Bit(king) | KingAttacks[king] | RookAttacksOf(rook, Bit(man) | Bit(king));
}

/// White has the bare king and is to move: won for Black, but for stalemate and a rook that can be taken.
Bitboard LostBareKings(int rook, int king) {
    const Bitboard checked = RookAttacksOf(rook, Bit(king));
    const Bitboard forbidden = checked | KingAttacks[king] | Bit(king);
    const Bitboard taking = (KingAttacks[king] & Bit(rook)) != 0 ? 0 : KingAttacks[rook];
    const Bitboard standing = ~(Bit(rook) | Bit(king) | KingAttacks[king]);
    return standing & ~taking & (checked | KingSteps(~forbidden));
}

/// Won for Black, who is to move, before anything is searched: the impossible placings, so that White's moves to
/// them count as losing, and those in which he takes White's man for nothing.
Bitboard WonAtOnce(int man, int rook, int king) {
    Bitboard taking = 0;
    if ((RookAttacksOf(rook, Bit(man) | Bit(king)) & Bit(man)) != 0) {
        taking |= LostBareKings(man, king);
    }
    if ((KingAttacks[king] & Bit(man)) != 0) {
        taking |= LostBareKings(rook, man);
    }
    return Forbidden(man, rook, king) | (taking & ~Bit(rook));
}

/// One ending while it is solved, a word for each placing of the other men.
struct Words {
    std::vector<Bitboard> won;    // Black to move wins; grows
    std::vector<Bitboard> open;   // White to move may yet prove lost; shrinks
    std::vector<Bitboard> doubt;  // of these, the ones whose ways out have become fewer

    explicit Words(std::size_t words) : won(words), open(words), doubt(words) {}

    /// Calls `look(word, kings)` for what is in doubt, until nothing is.
    template <typename Look>
    void Settle(const Look& look) {
        for (bool found = true; found;) {
            found = false;
            for (std::size_t word = 0; word < doubt.size(); ++word) {
                if (const Bitboard kings = std::exchange(doubt[word], 0); kings != 0) {
                    found = true;
                    look(word, kings);
                }
            }
        }
    }

    /// Adds won kings and answers those that are new. White's steps to them are no way out any more.
    Bitboard AddWon(std::size_t word, Bitboard kings) {
        const Bitboard fresh = kings & ~won[word];
        won[word] |= fresh;
        doubt[word] |= KingSteps(fresh) & open[word];
        return fresh;
    }
};

/// Mirrors a set as its squares are by square ^ turn, with a turn of 0, 7, 56 or 63.
Bitboard Turned(Bitboard set, int turn) {
    if ((turn & 56) != 0) {
        set = __builtin_bswap64(set);
    }
    if ((turn & 7) != 0) {
        set = ((set >> 1) & 0x5555555555555555) | ((set & 0x5555555555555555) << 1);
        set = ((set >> 2) & 0x3333333333333333) | ((set & 0x3333333333333333) << 2);
        set = ((set >> 4) & 0x0f0f0f0f0f0f0f0f) | ((set & 0x0f0f0f0f0f0f0f0f) << 4);
    }
    return set;
}

/// What turns a king's square into the quarter of the board around a1.
int TurnToCorner(int king) {
    return (FileOf(king) > 3 ? 7 : 0) ^ (RankOf(king) > 3 ? 56 : 0);
}

/// Queen or knight against rook, solved for the black king in one quarter of the board.
template <int code>
class PieceAgainstRook {
  public:
    PieceAgainstRook() : words_(WORDS) {
        Bitboard in_touch[64];
        for (int square = 0; square < 64; ++square) {
            in_touch[square] = Bit(square);
            for (int step = 0; step < TOUCH; ++step) {
                in_touch[square] |= KingSteps(in_touch[square]);
            }
        }
        for (std::size_t word = 0; word < WORDS; ++word) {
            const Men men = MenOf(word);
            if (men.piece != men.rook && men.piece != men.king && men.rook != men.king) {
                const Bitboard astray = ~in_touch[men.piece];
                words_.won[word] = WonAtOnce(men.piece, men.rook, men.king) | (astray & ~Bit(men.rook));
                words_.open[word] = words_.doubt[word] = OpenKings(men) & ~astray;
            }
        }
        words_.Settle([this](std::size_t word, Bitboard kings) { LookAgain(word, kings); });
    }

    /// The white kings against which Black, to move, wins. The three squares must differ.
    Bitboard Won(int piece, int rook, int king) const {
        const int turn = TurnToCorner(king);
        return Turned(words_.won[WordOf(piece ^ turn, rook ^ turn, king ^ turn)], turn);
    }

  private:
    static constexpr std::size_t WORDS = 64 * 64 * 16;

    /// King steps between White's men beyond which a knight is given up: what a promotion to knight can save is
    /// saved within four, and the search takes a third of the time.
    static constexpr int TOUCH = code == KNIGHT ? 4 : 7;

    struct Men {
        int piece;
        int rook;
        int king;
    };

    static std::size_t WordOf(int piece, int rook, int king) {
        const int word = (piece * 64 + rook) * 16 + RankOf(king) * 4 + FileOf(king);
        return static_cast<std::size_t>(word);
    }

    static Men MenOf(std::size_t word) {
        const auto index = static_cast<int>(word);
        return {index >> 10, (index >> 4) & 63, 8 * ((index >> 2) & 3) + (index & 3)};
    }

    static Bitboard Attacks(int square, Bitboard occupancy) {
        return code == QUEEN ? QueenAttacksOf(square, occupancy) : KnightAttacks[square];
    }

    /// The kings that the piece's moves do not carry to a square, or that would be in its way.
    static Bitboard Barred(int piece, int to) { return Between[piece][to] | Bit(to); }

    /// The white kings that neither a capture of the rook nor stalemate saves.
    static Bitboard OpenKings(const Men& men) {
        Bitboard open = ~(Bit(men.rook) | Bit(men.piece) | Bit(men.king) | KingAttacks[men.king]);
        if ((Attacks(men.piece, Bit(men.rook)) & Bit(men.king)) != 0) {
            open &= Between[men.piece][men.king];  // Black cannot have left his king to be taken
        }
        const Bitboard targets = Attacks(men.piece, Bit(men.rook) | Bit(men.king)) & ~Bit(men.king);
        if ((targets & Bit(men.rook)) != 0) {
            open &= Barred(men.piece, men.rook);
        }
        const Bitboard checked = RookAttacksOf(men.rook, Bit(men.piece) | Bit(men.king));
        Bitboard still = open & ~checked & ~KingSteps(~Forbidden(men.piece, men.rook, men.king));
        for (Bitboard left = targets & ~Bit(men.rook); left != 0 && still != 0;) {
            const int to = PopLowestBit(left);
            still &= Barred(men.piece, to) | Forbidden(to, men.rook, men.king);
        }
        return open & ~still;
    }

    /// Of the kings in doubt, finds the lost ones and takes Black's moves back from there.
    void LookAgain(std::size_t word, Bitboard kings) {
        const Men men = MenOf(word);
        Bitboard lost = kings & ~KingSteps(~words_.won[word]);
        Bitboard targets = Attacks(men.piece, Bit(men.rook) | Bit(men.king)) & ~(Bit(men.rook) | Bit(men.king));
        while (targets != 0 && lost != 0) {
            const int to = PopLowestBit(targets);
            lost &= Barred(men.piece, to) | words_.won[WordOf(to, men.rook, men.king)];
        }
        if (lost == 0) {
            return;
        }
        words_.open[word] &= ~lost;
        const Bitboard others = Bit(men.piece) | Bit(men.king) | Bit(men.rook);
        Bitboard from = RookAttacksOf(men.rook, others) & ~others;
        while (from != 0) {
            const int rook = PopLowestBit(from);
            AddWon(men.piece, rook, men.king, lost & ~Bit(rook));
        }
        from = KingAttacks[men.king] & ~others;
        while (from != 0) {
            const int king = PopLowestBit(from);
            const int turn = TurnToCorner(king);
            AddWon(men.piece ^ turn, men.rook ^ turn, king ^ turn, Turned(lost, turn));
        }
    }

    void AddWon(int piece, int rook, int king, Bitboard kings) {
        const Bitboard fresh = words_.AddWon(WordOf(piece, rook, king), kings);
        if (fresh == 0) {
            return;
        }
        Bitboard from = Attacks(piece, Bit(rook) | Bit(king)) & ~(Bit(rook) | Bit(king));
        while (from != 0) {
            const std::size_t before = WordOf(PopLowestBit(from), rook, king);
            words_.doubt[before] |= fresh & words_.open[before];
        }
    }

    Words words_;
};

/// Pawn against rook with the pawn on one square, by rook * 64 + king.
class PawnAgainstRook {
  public:
    PawnAgainstRook() : words_(64 * 64) {}

    /// Solves for the pawn on `pawn`. `ahead(rook, king)` answers the won kings with the pawn, or what has become of
    /// it, one step ahead; it is asked for free squares only.
    template <typename WonAhead>
    void Solve(int pawn, const WonAhead& ahead) {
        for (int rook = 0; rook < 64; ++rook) {
            for (int king = 0; king < 64; ++king) {
                const std::size_t word = WordOf(rook, king);
                const bool apart = rook != king && rook != pawn && king != pawn;
                words_.won[word] = apart ? WonAtOnce(pawn, rook, king) : ~Bitboard{0};
                words_.open[word] = words_.doubt[word] = apart ? OpenKings(pawn, rook, king, ahead) : 0;
            }
        }
        words_.Settle([this, pawn](std::size_t word, Bitboard kings) { LookAgain(pawn, word, kings); });
    }

    /// Black to move wins against these kings. All kings where men share a square.
    Bitboard Won(int rook, int king) const { return words_.won[WordOf(rook, king)]; }

  private:
    static std::size_t WordOf(int rook, int king) {
        const int word = rook * 64 + king;
        return static_cast<std::size_t>(word);
    }

    /// The white kings that neither the pawn's moves nor stalemate save.
    template <typename WonAhead>
    static Bitboard OpenKings(int pawn, int rook, int king, const WonAhead& ahead) {
        if ((WhitePawnAttacks[pawn] & (Bit(rook) | Bit(king))) != 0) {
            return 0;  // the rook falls, or it cannot be White's move
        }
        const int to = pawn + 8;
        const Bitboard checked = RookAttacksOf(rook, Bit(pawn) | Bit(king));
        Bitboard open = ~(Bit(rook) | Bit(pawn) | Bit(king) | KingAttacks[king]);
        Bitboard still = open & ~checked & ~KingSteps(~Forbidden(pawn, rook, king));
        if (to != rook && to != king) {
            open &= Bit(to) | ahead(rook, king);
            still &= Bit(to) | Forbidden(to, rook, king);
        }
        return open & ~still;
    }

    void LookAgain(int pawn, std::size_t word, Bitboard kings) {
        const Bitboard lost = kings & ~KingSteps(~words_.won[word]);
        if (lost == 0) {
            return;
        }
        words_.open[word] &= ~lost;
        const int rook = static_cast<int>(word) >> 6;
        const int king = static_cast<int>(word) & 63;
        const Bitboard others = Bit(pawn) | Bit(king) | Bit(rook);
        Bitboard from = RookAttacksOf(rook, others) & ~others;
        while (from != 0) {
            const int rook_from = PopLowestBit(from);
            words_.AddWon(WordOf(rook_from, king), lost & ~Bit(rook_from));
        }
        from = KingAttacks[king] & ~others;
        while (from != 0) {
            words_.AddWon(WordOf(rook, PopLowestBit(from)), lost);
        }
    }

    Words words_;
};

void StoreDraws(const PawnAgainstRook& ending, int pawn) {
    const int pawn_class = (RankOf(pawn) - 3) * 4 + FileOf(pawn) - 4;
    for (int rook = 0; rook < 64; ++rook) {
        for (int king = 0; king < 64; ++king) {
            // A rook that hangs is no place for a king: the won words leave it out for other reasons.
            KrkpDraw[rook * 1024 + king * 16 + pawn_class] = ~ending.Won(rook, king) & ~Bit(rook);
        }
    }
}

}  // namespace

void InitKrkpDraw() {
    const PieceAgainstRook<QUEEN> queen;
    const PieceAgainstRook<KNIGHT> knight;
    PawnAgainstRook endings[2];  // by the parity of the rank: the one being solved and the one a step ahead
    for (int file = 4; file < 8; ++file) {
        const int promotion = 56 + file;
        endings[0].Solve(promotion - 8, [&](int rook, int king) {
            return queen.Won(promotion, rook, king) & knight.Won(promotion, rook, king);
        });
        StoreDraws(endings[0], promotion - 8);
        for (int rank = 5; rank >= 3; --rank) {
            const PawnAgainstRook& ahead = endings[(rank + 1) & 1];
            endings[rank & 1].Solve(8 * rank + file, [&](int rook, int king) { return ahead.Won(rook, king); });
            StoreDraws(endings[rank & 1], 8 * rank + file);
        }
    }
}
