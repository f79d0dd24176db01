#include "eval/pieces.h"

#include <cmath>
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

TEST_F(PieceTerms, PiecePositionsByWingAndSquare) {
    // Entry 256 * section + 64 * wing + square.
    EXPECT_TERMS(PiecePosition,
                 "1k4n1/8/8/5r2/8/8/8/1K6 +254 +485; 1k6/8/8/8/8/2B5/8/6KQ -618 -895; "
                 "6k1/8/8/q7/8/8/6R1/1K6 +864 -438");
}

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

TEST_F(PieceTerms, QueenRanks) {
    EXPECT_TERMS(QueenOnEighth,
                 "4k3/8/8/8/8/8/8/q3K3 +0; 4k3/8/8/8/8/8/4K3/q7 +0; 4k3/8/8/8/8/4K3/8/q7; Q7/4k3/8/8/8/8/8/4K3 -0");
    EXPECT_TERMS(QueenPairOnSeventh,
                 "4k3/8/8/8/8/8/q6r/4K3 +0; 4k3/8/8/8/8/4K3/q6r/8; 4k3/8/8/8/8/4K3/P1q4r/8 +0; 4k3/8/8/8/8/8/q7/4K3");
}

TEST_F(PieceTerms, Mobility) {
    // White's pawns hit d6, f6, a6 and c6 and bar the pawn on b6; squares held by other own men are safe.
    EXPECT_TERMS(RookMobility, "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 +3");
    EXPECT_TERMS(RookReach, "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 +5; 7k/1P6/8/8/1r6/1p6/8/4K3 +11");
    EXPECT_TERMS(KnightMobility, "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 +7");
    EXPECT_TERMS(KnightSafeMobility, "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 +6");
    EXPECT_TERMS(BishopMobility, "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 +6");
    EXPECT_TERMS(BishopSafeMobility, "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 +6");
    EXPECT_TERMS(QueenMobility, "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 +12");
    EXPECT_TERMS(QueenSafeMobility, "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 +13");
}

TEST_F(PieceTerms, TrappedMinorPieces) {
    // Entry 27 * class of the rank + 9 * safe squares + 3 * safe ones in the field + those free.
    EXPECT_TERMS(KnightLowMobility,
                 "n3k3/8/8/8/8/8/8/4K3 +22; n3k3/2p5/2P5/8/8/8/8/4K3 +13; n3k3/2P5/1r6/P7/8/8/8/4K3 +9; "
                 "n3k3/8/1r6/8/8/8/8/4K3 +21; 4k3/n7/8/8/8/8/8/4K3 +53; 4k3/8/8/8/8/8/8/n3K3 +107; "
                 "4k3/8/8/8/8/8/8/N3K3 -22; 4k3/8/8/3n4/8/8/8/4K3; 4k3/8/8/8/1n2P3/8/8/4K3");
    EXPECT_TERMS(BishopLowMobility, "b3k3/1p6/1P6/8/8/8/8/4K3 +0; 4k3/8/8/8/8/1p6/B7/1K6 -49; 4k3/8/8/3b4/8/8/8/4K3");
}

TEST_F(PieceTerms, ClosedPositions) {
    // Two of White's pawns are barred, by a pawn and by a knight, a third by its own knight only; of Black's one.
    EXPECT_TERMS(ClosedPosition, "4k3/3p4/3n4/3P1p2/5P2/8/1N6/1P2K3 +2 -1; 4k3/8/8/p7/P7/P7/8/4K3 +2 -1");
    EXPECT_TERMS(KnightClosedPosition, "4k3/3p4/3n4/3P1p2/5P2/8/1N6/1P2K3 +2 -1; 4k3/8/8/8/8/8/2N1N3/4K3 -0 -0");
}

TEST_F(PieceTerms, Outposts) {
    struct Piece {
        char letter;
        std::int32_t* tables[3];
    };
    for (const Piece piece : {Piece{'n', {KnightOutpost, KnightOutpostGuarded, KnightOutpostContested}},
                              Piece{'b', {BishopOutpost, BishopOutpostGuarded, BishopOutpostContested}}}) {
        // 'x' is the piece: its square, and the sum of 1 for the outpost, 2 when it is guarded, 4 when contested.
        const std::string text =
            "4k3/8/8/8/3x4/8/8/4K3 d4 1; 4k3/8/x7/8/8/8/8/4K3 a6 1; 4k3/x7/8/8/8/8/8/4K3 a7 0; "
            "4k3/8/8/8/8/8/8/x3K3 a1 1; 4k3/8/8/8/3x4/8/3P4/4K3 d4 1; 4k3/8/8/8/3x4/8/2P5/4K3 d4 0; "
            "4k3/8/8/8/2Px4/8/8/4K3 d4 1; 4k3/8/8/2p5/3x4/8/8/4K3 d4 3; 4k3/8/8/2p5/3x4/8/2P5/4K3 d4 0; "
            "4k3/8/8/2p5/3x4/8/B7/4K3 d4 3; 4k3/8/8/2p5/3x4/8/7B/4K3 d4 5; 4k3/8/8/2p1p3/3x4/8/7B/4K3 d4 3";
        for (TextCase& c : TextCases(text)) {
            std::ranges::replace(c.fen, 'x', piece.letter);
            for (int kind = 0; kind < 3; ++kind) {
                ClearPackedTables();
                piece.tables[kind][SquareOf(c.words[0].c_str())] = Pack(11, -7);
                ExpectPieces(c.fen, (c.Number(1) >> kind & 1) != 0 ? Pack(11, -7) : 0);
            }
        }
    }
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

TEST_F(Pieces, KingHuntsLoosePawns) {
    std::fill_n(HuntRank, 5, 64);
    std::fill_n(HuntForce, 9, 64);
    for (int i = 0; i < 144; ++i) {
        (&KingHunt[0][0][0])[i] = 1000 + 7 * i * i;
    }
    // Black's hunts and White's: distance, files or ranks to go, column. A king, a pawn of either colour and a pawn's
    // attack bar a pawn's way, an own piece does not; eight points still leave the king free to hunt, nine do not.
    const auto expect_hunts = [](const std::string& text, const PawnFacts& facts) {
        for (const TextCase& c : TextCases(text)) {
            std::int32_t sum = 0;
            for (const std::string& word : c.words) {
                sum += (word[0] == '+' ? 1 : -1) * KingHunt[word[1] - '1'][word[2] - '0'][word[3] - '0'];
            }
            ExpectPieces(c.fen, PackBoth(sum), facts);
        }
    };
    expect_hunts(
        "8/8/8/8/4k3/8/2P5/6K1 +240; 8/8/4k3/8/8/8/2P5/6K1 +420; 7k/8/8/8/8/8/P7/6K1 +650; "
        "8/8/8/4k3/4P3/8/8/6K1 +131; 8/8/8/2p5/4k3/8/2P5/6K1 +240 -440; 8/8/8/8/1p2k3/8/2P5/6K1 +241 -551; "
        "8/8/8/8/4k3/2N5/2P5/6K1 +240; 8/8/8/8/4k3/2P5/2P5/6K1 +241 +240; 8/8/8/8/4k3/2P5/1P6/6K1 +340; "
        "8/8/8/8/4k3/8/2P5/RN4K1 +240; 8/8/8/8/4k3/8/2P5/Q5K1",
        {});
    expect_hunts("8/8/8/8/4k3/8/2P5/6K1 +242", {{4, 0}, {}});  // passed

    // The rank of the pawn, from the third on, and the force of its side; the product rounds down.
    std::fill_n(&KingHunt[0][0][0], 144, 1000);
    for (int i = 0; i < 9; ++i) {
        HuntRank[std::min(i, 4)] = 3 * std::min(i, 4) - 5;
        HuntForce[i] = 5 + i;
    }
    for (int rank = 2; rank <= 7; ++rank) {
        for (const auto& [army, weight] : {std::pair{"2", 0}, {"N1", 3}, {"R1", 5}, {"RN", 8}}) {
            std::string fen = "7k/8/8/8/8/8/8/" + std::string(army) + "2K3";
            fen[static_cast<std::size_t>(3 + 2 * (7 - rank))] = 'P';
            ExpectPieces(fen, PackBoth(((3 * std::max(rank - 3, 0) - 5) * (5 + weight) * 1000) >> 12));
        }
    }
}

TEST_F(Pieces, ThreatsAreCounted) {
    // The men threatened by Black and by White. What nothing defends is, and what something cheaper attacks; never a
    // king. Kings attack and defend. More than three count as three.
    const std::string text =
        "4k3/8/8/8/8/8/8/4K3 0 0; 4k3/8/2n5/8/3P4/8/8/4K3 1 0; 4k3/8/2n5/8/3P4/2P5/8/4K3 0 0; "
        "4k3/8/2n5/8/3P4/4K3/8/8 0 0; 4k3/8/2n5/4p3/3N4/2P1P3/8/4K3 1 1; 4k3/8/8/4p3/3P4/2P5/8/4K3 0 1; "
        "4k3/8/2n5/8/3R4/2P5/8/4K3 1 0; 3rk3/8/8/8/3R4/2P5/8/4K3 0 0; 3rk3/8/8/8/3Q4/2P5/8/4K3 1 0; "
        "3qk3/8/8/8/3Q4/2P5/8/4K3 0 0; 8/8/8/3k4/4P3/8/8/4K3 1 0; 4k3/8/8/8/8/8/8/q3K3 0 0; "
        "7k/8/8/2n1n3/3P4/8/8/6K1 0 2; 4k3/8/8/2n5/1P2Q3/3P4/8/4K3 1 1; 7k/8/8/1p1p4/N1N1N3/8/8/6K1 3 0; "
        "7k/8/8/1p1p1p2/N1N1N1N1/8/8/6K1 4 0";
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            const Colour white = seen.Of(WHITE);
            const Colour black = seen.Of(BLACK);
            std::generate_n(ThreatMoveBonus, 9, [&] { return static_cast<std::int32_t>(random() % 100); });
            Prepare(seen);
            EvaluatePieces();
            std::generate_n(ThreatBalance, 9, [&] { return RandomWord(random); });
            thread_eval_info.move_bonus[white] = 1000;
            thread_eval_info.packed = 0;
            EvaluateThreats();
            const int i = std::clamp(4 + c.Number(0) - c.Number(1), 1, 7);
            const int j = std::clamp(4 - c.Number(0) + c.Number(1), 1, 7);
            EXPECT_EQ(thread_eval_info.packed, seen.PackedFor(PackedSub(ThreatBalance[j], ThreatBalance[i]))) << c.fen;
            EXPECT_EQ(thread_eval_info.move_bonus[white], 1000 + ThreatMoveBonus[i]) << c.fen;
            EXPECT_EQ(thread_eval_info.move_bonus[black], ThreatMoveBonus[j]) << c.fen;
            std::fill_n(ThreatBalance, 9, 0);
        });
    }
}

TEST_F(Pieces, HomeSquaresCostByPatternAndClass) {
    // Black's and White's pattern of pawns, bit 0 the b-file, and how many of their central pawns are blocked.
    const std::string text =
        "4k3/8/8/8/8/8/8/4K3 0 0 0 0; rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR 63 63 0 0; "
        "rnbqkbnr/p1pppppp/8/8/8/8/PPPPPP1P/RNBQKBNR 62 31 0 0; rnbqkbnr/p7/8/8/8/3B4/3P3P/RNBQK1NR 0 4 0 1; "
        "4k3/3pp3/3nP3/8/8/4n3/2PPP3/2N1K3 12 14 2 1; 4k3/2p2p2/2n2n2/8/8/3P4/3P4/4K3 18 4 0 1";
    unsigned seed = 0;
    for (const TextCase& c : TextCases(text)) {
        RandomizeParameters(++seed);
        Prepare({c.fen, false});
        EvaluateDevelopment();
        const int black = DevelopmentFactor[DevelopmentClassOf<BLACK>()];
        const int white = DevelopmentFactor[DevelopmentClassOf<WHITE>()];
        const auto excess = [&](const auto& at_home, const auto& blocked) {
            const int sum = (at_home[c.Number(0)] + blocked[c.Number(2)]) * black -
                            (at_home[c.Number(1)] + blocked[c.Number(3)]) * white;
            return static_cast<int>(std::floor(sum / 32.0));
        };
        EXPECT_EQ(PackedOpening(thread_eval_info.packed), -excess(DevelopmentOpen, BlockedCentreOpen)) << c.fen;
        EXPECT_EQ(PackedEnding(thread_eval_info.packed), -excess(DevelopmentEnd, BlockedCentreEnd)) << c.fen;
    }
}

}  // namespace
