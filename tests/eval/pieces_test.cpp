#include "eval/pieces.h"

#include <cstdlib>
#include <vector>

#include "movegen/exchange.h"
#include "support/evaluation_fixture.h"
#include "support/slow_chess.h"

namespace {

void ClearPackedTables() {
#define PACKED(name, shape, opening, ending) std::fill_n(reinterpret_cast<std::int32_t*>(&(name)), sizeof(name) / 4, 0);
#include "eval/packed_list.inc"
}

/// What the pawn hash would say, chosen freely, by colour.
struct PawnFacts {
    std::uint8_t passed[2]{};
    std::uint8_t weak[2]{};
};

/// A packed word with halves that many sums cannot overflow.
std::int32_t RandomWord(std::mt19937& random) {
    std::uniform_int_distribution<int> half(-99, 99);
    const int opening = half(random);
    return Pack(opening, half(random));
}

class Pieces : public EvaluationTest {
  protected:
    void SetUp() override {
        EvaluationTest::SetUp();
        ClearPackedTables();
    }

    /// The position and everything that the piece terms read of earlier steps.
    static void Prepare(const Seen& seen, const PawnFacts& facts = {}) {
        SetupFen(seen.fen);
        ThreadEvalInfo& info = thread_eval_info;
        info = {};
        RefreshPhases();
        SetAllPawns();
        thread_board.PawnEntry = {};
        for (const Colour colour : {WHITE, BLACK}) {
            const bool own = FileOf(thread_board.KingSquare[colour]) < 4;
            const bool enemy = FileOf(thread_board.KingSquare[ChangeSide(colour)]) < 4;
            info.wing_index[colour] = 2 * own + enemy;
            const unsigned passed = facts.passed[seen.Of(colour)];
            thread_board.PawnEntry.PassedFiles(colour) = static_cast<std::uint8_t>(passed);
            thread_board.PawnEntry.WeakFilesOf(colour) = facts.weak[seen.Of(colour)];
            for (int file = 0; file < 8; ++file) {
                info.passed_pawns[colour] |=
                    (passed >> file & 1) != 0 ? thread_board.Pieces[PAWN][colour] & FILE_A << file : 0;
            }
        }
        SetCheckMaps();
    }

    /// The packed sum of the piece terms must be this much for Black, and for White in the mirror.
    static void ExpectPieces(const std::string& fen, std::int32_t black, const PawnFacts& facts = {}) {
        FromBothSides(fen, [&](const Seen& seen) {
            Prepare(seen, facts);
            EvaluatePieces();
            EXPECT_EQ(thread_eval_info.packed, seen.PackedFor(PackedSub(0, black))) << seen.fen;
        });
    }

    std::mt19937 random{77};
};

TEST_F(Pieces, AttackMapsAreThoseOfWalkingPieces) {
    for (const std::string& fen : RandomPositions(22, 1, 140)) {
        Prepare({fen, false});
        EvaluatePieces();
        const ThreadEvalInfo& info = thread_eval_info;
        for (const Colour colour : {WHITE, BLACK}) {
            const auto map_of = [&](int code) {
                SlowBoard board;
                for (int square = 0; square < 64; ++square) {
                    // Another man keeps the square occupied: a colour of its own attacks nothing.
                    if (board.colour[square] == colour && board.code[square] != code) {
                        board.colour[square] = 2;
                    }
                }
                return board.AttackMap(colour);
            };
            const Bitboard pawns = map_of(PAWN);
            ASSERT_EQ(info.rook_attacks[colour], map_of(ROOK)) << fen;
            ASSERT_EQ(info.queen_attacks[colour], map_of(QUEEN)) << fen;
            ASSERT_EQ(info.bishop_attacks[colour], map_of(BISHOP)) << fen;
            ASSERT_EQ(info.knight_attacks[colour], map_of(KNIGHT)) << fen;
            ASSERT_EQ(info.enemy_pawn_attacks[1 - colour], pawns) << fen;
            ASSERT_EQ(info.king_zone[colour], map_of(KING)) << fen;
            ASSERT_EQ(info.attacks[colour], pawns | info.rook_attacks[colour] | info.queen_attacks[colour] |
                                                info.bishop_attacks[colour] | info.knight_attacks[colour])
                << fen;
        }
    }
}

/// What the pieces of a colour gather against the enemy king, square by square.
struct Gathered {
    std::int64_t danger = 0;
    std::int64_t attackers = 0;
    Bitboard safe_hits = 0;
};

Gathered GatherSlowly(Colour us) {
    const Colour them = ChangeSide(us);
    const int king = thread_board.KingSquare[them];
    Gathered sums;
    if (thread_eval_info.ending[them] != 0) {
        return sums;
    }
    thread_board.SideToMove = us;
    const auto safe = [](int to, int from) {
        return IsExchangeSafe(to, from, static_cast<int>(thread_board.Board[from]),
                              static_cast<int>(thread_board.Board[to]), 0);
    };
    const SlowBoard board;
    for (int square = 0; square < 64; ++square) {
        const int piece = board.code[square];
        if (board.colour[square] != us || piece == PAWN || piece == KING) {
            continue;
        }
        const int files = std::abs((square & 7) - (king & 7));
        const int ranks = std::abs((square >> 3) - (king >> 3));
        bool near = false;
        bool check = false;
        for (int target = 0; target < 64; ++target) {
            const std::vector<int> from = board.Attackers(us, target);
            if (std::ranges::count(from, square) == 0) {
                continue;
            }
            const int distance = std::max(std::abs((target & 7) - (king & 7)), std::abs((target >> 3) - (king >> 3)));
            near = near || distance == 1;
            if (board.colour[target] == us || !safe(target, square)) {
                continue;
            }
            if (distance == 1) {
                sums.safe_hits |= Bit(target);
            }
            SlowBoard after = board;
            after.code[target] = piece;
            after.colour[target] = us;
            const std::vector<int> checkers = after.Attackers(us, king);
            check = check || std::ranges::count(checkers, target) != 0;
        }
        if (near || check) {
            sums.attackers += AttackerWeight[piece];
        }
        if (!near && check) {
            sums.danger += CheckDanger[piece];
        }
        bool clear = true;
        for (int ahead = square; ahead >= 0 && ahead < 64; ahead += us == WHITE ? 8 : -8) {
            clear = clear && !board.Holds(ahead, us, PAWN);
        }
        if (piece == ROOK && clear) {
            sums.danger += RookFileDanger[files];
        } else if (piece == QUEEN) {
            const std::int32_t danger = QueenDistanceDanger[std::max(files, ranks)];
            sums.danger += clear ? std::max(danger, QueenFileDanger[files]) : danger;
        }
    }
    return sums;
}

TEST_F(Pieces, KingAttackGathersWhatWalkingPiecesGather) {
    unsigned seed = 0;
    for (const std::string& fen : RandomPositions(23, 2, 80)) {
        if (seed++ % 20 == 0) {
            RandomizeParameters(seed);
        }
        Prepare({fen, false});
        EvaluatePieces();
        for (const Colour colour : {WHITE, BLACK}) {
            const Gathered expected = GatherSlowly(colour);
            ASSERT_EQ(thread_eval_info.attackers[colour], expected.attackers) << fen;
            ASSERT_EQ(thread_eval_info.danger[colour], expected.danger) << fen;
            ASSERT_EQ(thread_eval_info.safe_zone_hits[1 - colour], expected.safe_hits) << fen;
        }
    }
}

/// One packed table holds random words, the others nothing. After each position stand the entries that Black earns,
/// with "+", and those that White earns, with "-".
#define EXPECT_TERMS(table, ...) ExpectTerms(reinterpret_cast<std::int32_t*>(&(table)), sizeof(table) / 4, __VA_ARGS__)

class PieceTerms : public Pieces {
  protected:
    void ExpectTerms(std::int32_t* table, std::size_t count, const std::string& text, const PawnFacts& facts = {}) {
        ClearPackedTables();
        std::generate_n(table, count, [&] { return RandomWord(random); });
        for (const TextCase& c : TextCases(text)) {
            std::int32_t expected = 0;
            for (const std::string& word : c.words) {
                const std::int32_t term = table[std::stoi(word.substr(1))];
                expected = word[0] == '+' ? PackedAdd(expected, term) : PackedSub(expected, term);
            }
            ExpectPieces(c.fen, expected, facts);
        }
        ClearPackedTables();
    }
};

TEST_F(PieceTerms, BackRank) {
    EXPECT_TERMS(KingNoLuft,
                 "4k3/8/8/8/8/8/5PPP/6K1 +0; 4k3/8/8/8/8/7P/5PP1/6K1; 4k3/3ppp2/8/8/5PPP/6K1/8/8 -0; "
                 "8/8/8/4k3/4PPP1/5PPP/6K1/8");
    EXPECT_TERMS(RookShutIn,
                 "4k3/8/8/8/8/8/8/5K1R +0; 4k3/8/8/8/8/7R/8/5K2; 4k3/8/8/8/8/8/8/4KR1R; 4k3/8/8/8/8/8/7R/5K2 +0; "
                 "4k3/8/8/8/8/8/8/6KR +0; 4k3/8/8/8/8/8/8/6RK; 4k3/8/8/8/8/8/R7/K7 +0; 4k3/8/8/8/8/8/8/3K3R");
}

TEST_F(PieceTerms, RookFilesAndRanks) {
    EXPECT_TERMS(RookOpenFile, "4k1r1/2p5/8/8/8/8/P7/R3K2R +6 -7; r3k3/8/8/8/8/P7/8/4K3");
    EXPECT_TERMS(RookHalfOpenFile,
                 "r3k1r1/6p1/8/8/8/P7/8/4K3 +0; 4k3/2p5/8/8/8/8/2P5/2R1K3; 4k3/2p5/8/8/2R5/8/8/4K3 -2");
    EXPECT_TERMS(RookOnSeventh,
                 "4k3/8/8/8/8/8/r7/4K3 +0; 4k3/8/8/8/8/4K3/r7/8; 4k3/8/8/8/8/4K3/r5P1/8 +0; "
                 "4k3/p6R/8/8/8/8/8/4K3 -0; 8/p6R/4k3/8/8/8/8/4K3 -0");
    EXPECT_TERMS(RookPairOnSeventh,
                 "4k3/8/8/8/8/8/r5r1/4K3 +0 +0; 4k3/8/8/8/8/8/r5q1/4K3 +0; 4k3/8/8/8/8/8/r3P1r1/4K3; "
                 "4k3/8/8/8/r7/8/r7/4K3");
    const PawnFacts black_passer = {{0, 1}, {}};
    EXPECT_TERMS(RookSeventhClear,
                 "4k3/8/8/8/p7/8/r7/4K3 +0; 4k3/8/8/8/p7/8/r5P1/4K3; 4k3/8/8/8/p7/8/rN6/4K3; 4k3/8/8/8/p7/4K3/r6P/8",
                 black_passer);
    EXPECT_TERMS(RookSeventhClear, "4k3/8/8/8/p7/8/r7/4K3");
    EXPECT_TERMS(RookSeventhClear, "4k3/8/8/8/p7/8/r7/4K3", PawnFacts{{1, 0}, {}});
    EXPECT_TERMS(RookOnEighth,
                 "4k3/8/8/8/8/8/8/r3K2r +0 +0; 4k3/8/8/8/8/8/8/r3K3; 4k3/8/8/7q/8/8/4K3/r7 +0; 4k3/8/8/7q/8/4K3/8/r7");
    const PawnFacts weak_c = {{}, {4, 0}};
    EXPECT_TERMS(RookHitsWeakPawn, "2r1k3/8/8/8/8/8/2P5/4K3 +2; 2r1k3/8/8/2n5/8/8/2P5/4K3", weak_c);
    EXPECT_TERMS(RookHitsWeakPawn, "2r1k3/8/8/8/8/8/2P5/4K3", PawnFacts{{}, {0, 4}});
    EXPECT_TERMS(RookOnWeakFile, "2r1k3/8/8/2n5/8/8/2P5/4K3 +2; 2r1k3/8/8/8/8/8/2P5/4K3; 3rk3/8/8/8/8/8/2P5/4K3",
                 weak_c);
}

TEST_F(PieceTerms, TrappedMinorPieces) {
    // Entry 27 * class of the rank + 9 * safe squares + 3 * safe ones in the field + those free.
    EXPECT_TERMS(KnightLowMobility,
                 "n3k3/8/8/8/8/8/8/4K3 +22; n3k3/2p5/2P5/8/8/8/8/4K3 +13; n3k3/2P5/1r6/P7/8/8/8/4K3 +9; "
                 "n3k3/8/1r6/8/8/8/8/4K3 +21; 4k3/n7/8/8/8/8/8/4K3 +53; 4k3/8/8/8/8/8/8/n3K3 +107; "
                 "4k3/8/8/8/8/8/8/N3K3 -22; 4k3/8/8/3n4/8/8/8/4K3; 4k3/8/8/8/1n2P3/8/8/4K3");
    EXPECT_TERMS(BishopLowMobility, "b3k3/1p6/1P6/8/8/8/8/4K3 +0; 4k3/8/8/8/8/1p6/B7/1K6 -49; 4k3/8/8/3b4/8/8/8/4K3");
}

TEST_F(PieceTerms, Pins) {
    EXPECT_TERMS(RookPin,
                 "4r3/4k3/8/4N3/8/8/8/4K3; 4r1k1/8/8/4N3/8/8/8/4K3 +2; 4r1k1/8/8/4N3/4P3/8/8/4K3; "
                 "4r1k1/4p3/8/4N3/8/8/8/4K3; 6k1/8/8/8/8/8/8/r2QK3 +7; 4r1k1/8/8/8/4P3/8/8/4K3 +3; "
                 "6k1/8/8/8/7r/8/5P2/4K3; 4r1k1/8/8/8/8/8/8/4K3");
    EXPECT_TERMS(BishopPin, "6k1/8/8/8/7b/8/5R2/4K3 +5; 6k1/8/8/8/7b/6n1/5R2/4K3; 6k1/8/8/8/4b3/4R3/8/4K3");
    EXPECT_TERMS(QueenPin, "6k1/8/8/8/7q/8/5R2/4K3 +5; 4q1k1/8/8/8/4B3/8/8/4K3 +6; 6k1/8/8/8/3q4/8/4B3/4K3");
}

TEST_F(PieceTerms, BishopsTogether) {
    // Of Black's pawns all but b7 stand on dark squares; c5 is stopped by a pawn, d6 by its attack on d5.
    // Both are taken from their owner, and only from a lone bishop's.
    EXPECT_TERMS(BishopSameColourPawns,
                 "4kb2/pp6/3p4/2p5/2P2p2/8/8/4K3 -4; 4kbb1/pp6/3p4/2p5/2P2p2/8/8/4K3; 4k1b1/8/8/8/8/8/8/4K3 -0");
    EXPECT_TERMS(BishopFixedPawns, "4kb2/pp6/3p4/2p5/2P2p2/8/8/4K3 -2; 4kbb1/pp6/3p4/2p5/2P2p2/8/8/4K3");
    EXPECT_TERMS(BishopAgainstKnightWings,
                 "4kb2/p7/8/8/8/8/7P/4KN2 +0; 4kb2/p7/8/8/8/8/7P/4KB2; 4kb2/p7/8/8/8/8/7P/4KR2; "
                 "4kb2/p7/8/8/8/8/4P3/4KN2; 4kb2/3p4/8/8/8/8/5P2/4KN2; 4kb2/2p5/8/8/8/8/5P2/4KN2 +0; "
                 "4kbr1/2p5/8/8/8/8/5P2/3RKN2 +0; 1n1nkb2/p7/8/8/8/8/7P/1NN1KN2; 3rkbr1/2p5/8/8/8/8/5P2/3RKNR1");
    FianchettoBishop = Pack(40, 9);
    for (const TextCase& c : TextCases("5bk1/5p1p/6p1 1; 6kb/5p1p/6p1 1; 6k1/5pbp/6p1 1; 7k/5pbp/6p1 1; "
                                       "6k1/5pbp/7p 0; 5bk1/6p1/6p1 0; 3bk3/8/6p1 0; 7b/8/5kp1 1; 5b2/8/4k1p1 0; "
                                       "6b1/5k2/6p1 0")) {
        ExpectPieces(c.fen + "/8/8/8/8/QR1RKR2", c.Number(0) * FianchettoBishop);
    }
    ExpectPieces("5bk1/5p1p/6p1/8/8/8/8/4K3", 0);  // nothing is left to protect the king from
}

}  // namespace
