#include "eval/pieces.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>

#include "eval/king_attack.h"
#include "eval/packed.h"
#include "eval/parameters.h"
#include "movegen/exchange.h"
#include "support/evaluation_tables.h"
#include "support/random_positions.h"
#include "support/slow_chess.h"

namespace {

/// The square of a name like "e4".
constexpr int Square(const char* name) {
    return 8 * (name[1] - '1') + name[0] - 'a';
}

Bitboard Mirrored(Bitboard squares) {
    return __builtin_bswap64(squares);
}

void ClearPackedTables() {
#define PACKED(name, shape, opening, ending) std::fill_n(reinterpret_cast<std::int32_t*>(&(name)), sizeof(name) / 4, 0);
#include "eval/packed_list.inc"
}

/// What the pawn hash would say, chosen freely.
struct PawnFacts {
    std::uint8_t passed[2]{};
    std::uint8_t weak[2]{};
};

constexpr Bitboard FilesOf(unsigned bits) {
    Bitboard files = 0;
    for (int file = 0; file < 8; ++file) {
        files |= (bits >> file & 1) != 0 ? FILE_A << file : 0;
    }
    return files;
}

/// The position and everything that the piece terms read of earlier steps.
void Prepare(const std::string& fen, const PawnFacts& facts = {}) {
    SetupFen(fen);
    ThreadEvalInfo& info = thread_eval_info;
    info = {};
    RefreshPhases();
    thread_board.AllPawns = thread_board.Pieces[PAWN][WHITE] | thread_board.Pieces[PAWN][BLACK];
    thread_board.PawnEntry = {};
    for (const Colour colour : {WHITE, BLACK}) {
        const bool own = FileOf(thread_board.KingSquare[colour]) < 4;
        const bool enemy = FileOf(thread_board.KingSquare[ChangeSide(colour)]) < 4;
        info.wing_index[colour] = 2 * own + enemy;
        thread_board.PawnEntry.PassedFiles(colour) = facts.passed[colour];
        thread_board.PawnEntry.WeakFilesOf(colour) = facts.weak[colour];
        info.passed_pawns[colour] = thread_board.Pieces[PAWN][colour] & FilesOf(facts.passed[colour]);
    }
    SetCheckMaps();
}

ThreadEvalInfo PiecesOn(const std::string& fen, const PawnFacts& facts = {}) {
    Prepare(fen, facts);
    EvaluatePieces();
    return thread_eval_info;
}

class Pieces : public testing::Test {
  protected:
    static void SetUpTestSuite() { ResetEvaluation(); }
    static void TearDownTestSuite() { ResetEvaluation(); }
    void SetUp() override {
        AssignParameterDefaults();
        BuildDerivedRows();
        ClearPackedTables();
    }
    void TearDown() override {
        AssignParameterDefaults();
        BuildDerivedRows();
        PackParameters();
        thread_board.PawnEntry = {};
        thread_board.PawnEntry.key = ~Key{0};
    }

    void Fill(std::int32_t* values, std::size_t count, int low, int high) {
        std::uniform_int_distribution<int> choice(low, high);
        std::generate_n(values, count, [&] { return choice(random); });
    }

    /// Every number that the piece terms read, so that no default of 0 hides a wrong sign.
    void RandomizeEverything() {
#define PACKED(name, shape, opening, ending) \
    std::generate_n(reinterpret_cast<std::int32_t*>(&(name)), sizeof(name) / 4, [&] { return Word(); });
#include "eval/packed_list.inc"
        Fill(AttackerWeight, 8, 1, 20);
        Fill(CheckDanger, 8, 1, 20);
        Fill(RookFileDanger, 8, -5, 9);
        Fill(QueenDistanceDanger, 8, -5, 9);
        Fill(QueenFileDanger, 8, -5, 9);
        Fill(HuntRank, 5, -90, 90);
        Fill(HuntForce, 9, -90, 90);
        Fill(&KingHunt[0][0][0], 144, -90, 90);
        Fill(ThreatMoveBonus, 9, -90, 90);
        Fill(DevelopmentOpen, 64, -200, 200);
        Fill(DevelopmentEnd, 64, -200, 200);
        Fill(BlockedCentreOpen, 3, -50, 50);
        Fill(BlockedCentreEnd, 3, -50, 50);
        Fill(DevelopmentFactor, 6, 1, 60);
        Fill(DevelopmentClass, 64, 0, 5);
    }

    /// A packed word with halves that many sums cannot overflow.
    std::int32_t Word() {
        std::uniform_int_distribution<int> half(-99, 99);
        const int opening = half(random);
        return Pack(opening, half(random));
    }

    std::uint8_t Byte() {
        return static_cast<std::uint8_t>(random());
    }
    PawnFacts Facts() {
        return {{Byte(), Byte()}, {Byte(), Byte()}};
    }

    std::mt19937 random{77};
};

TEST_F(Pieces, ColourMirrorGivesTheMirrorOfEveryField) {
    for (const std::string& fen : RandomPositions(21, 3, 140)) {
        RandomizeEverything();
        const PawnFacts facts = Facts();
        const PawnFacts swapped = {{facts.passed[BLACK], facts.passed[WHITE]}, {facts.weak[BLACK], facts.weak[WHITE]}};
        Prepare(fen, facts);
        EvaluatePieces();
        EvaluateThreats();
        const std::int32_t before_development = thread_eval_info.packed;
        EvaluateDevelopment();
        const ThreadEvalInfo a = thread_eval_info;
        const std::int32_t development = PackedSub(a.packed, before_development);

        Prepare(ColourMirror(fen), swapped);
        EvaluatePieces();
        EvaluateThreats();
        ASSERT_EQ(thread_eval_info.packed, PackedSub(0, before_development)) << fen;
        EvaluateDevelopment();
        const ThreadEvalInfo b = thread_eval_info;
        const std::int32_t mirrored = PackedSub(b.packed, PackedSub(0, before_development));
        ASSERT_NEAR(PackedOpening(mirrored), -PackedOpening(development), 1) << fen;  // a shift rounds down
        ASSERT_NEAR(PackedEnding(mirrored), -PackedEnding(development), 1) << fen;

        for (const Colour colour : {WHITE, BLACK}) {
            const Colour other = ChangeSide(colour);
            ASSERT_EQ(a.danger[colour], b.danger[other]) << fen;
            ASSERT_EQ(a.attackers[colour], b.attackers[other]) << fen;
            ASSERT_EQ(a.move_bonus[colour], b.move_bonus[other]) << fen;
            const auto mirrors = [&](const Bitboard(&x)[2], const Bitboard(&y)[2]) {
                return x[colour] == Mirrored(y[other]);
            };
            ASSERT_TRUE(mirrors(a.attacks, b.attacks) && mirrors(a.queen_attacks, b.queen_attacks) &&
                        mirrors(a.rook_attacks, b.rook_attacks) && mirrors(a.bishop_attacks, b.bishop_attacks) &&
                        mirrors(a.knight_attacks, b.knight_attacks) && mirrors(a.king_zone, b.king_zone) &&
                        mirrors(a.enemy_pawn_attacks, b.enemy_pawn_attacks) &&
                        mirrors(a.blocked_pawns, b.blocked_pawns) && mirrors(a.safe_zone_hits, b.safe_zone_hits) &&
                        mirrors(a.queen_check, b.queen_check) && mirrors(a.knight_check, b.knight_check))
                << fen;
        }
    }
}

TEST_F(Pieces, AttackMapsAreThoseOfWalkingPieces) {
    for (const std::string& fen : RandomPositions(22, 1, 140)) {
        const ThreadEvalInfo info = PiecesOn(fen);
        for (const Colour colour : {WHITE, BLACK}) {
            const auto map_without = [&](std::initializer_list<int> codes) {
                SlowBoard board;
                for (int square = 0; square < 64; ++square) {
                    // Another man keeps the square occupied: a colour of its own attacks nothing.
                    if (board.colour[square] == colour && std::ranges::count(codes, board.code[square]) != 0) {
                        board.colour[square] = 2;
                    }
                }
                return board.AttackMap(colour);
            };
            ASSERT_EQ(info.attacks[colour], map_without({KING})) << fen;
            ASSERT_EQ(info.rook_attacks[colour], map_without({KING, PAWN, KNIGHT, BISHOP, QUEEN})) << fen;
            ASSERT_EQ(info.queen_attacks[colour], map_without({KING, PAWN, KNIGHT, BISHOP, ROOK})) << fen;
            ASSERT_EQ(info.bishop_attacks[colour], map_without({KING, PAWN, KNIGHT, ROOK, QUEEN})) << fen;
            ASSERT_EQ(info.knight_attacks[colour], map_without({KING, PAWN, BISHOP, ROOK, QUEEN})) << fen;
            ASSERT_EQ(info.enemy_pawn_attacks[1 - colour], map_without({KING, KNIGHT, BISHOP, ROOK, QUEEN})) << fen;
            ASSERT_EQ(info.king_zone[colour], map_without({PAWN, KNIGHT, BISHOP, ROOK, QUEEN})) << fen;

            // From a square of a check map a piece put there gives check, and from no other.
            const int king = thread_board.KingSquare[1 - colour];
            const SlowBoard board;
            for (int square = 0; square < 64; ++square) {
                const auto checks = [&](int piece) {
                    SlowBoard other = board;
                    other.code[square] = piece;
                    other.colour[square] = colour;
                    const std::vector<int> attackers = other.Attackers(colour, king);
                    return board.colour[square] != colour && std::ranges::count(attackers, square) != 0;
                };
                const auto has = [square](Bitboard map) { return (map >> square & 1) != 0; };
                ASSERT_EQ(has(info.rook_check[1 - colour]), square != king && checks(ROOK)) << fen << square;
                ASSERT_EQ(has(info.bishop_check[1 - colour]), square != king && checks(BISHOP)) << fen << square;
                ASSERT_EQ(has(info.queen_check[1 - colour]), square != king && checks(QUEEN)) << fen << square;
                ASSERT_EQ(has(info.knight_check[1 - colour]), square != king && checks(KNIGHT)) << fen << square;
            }
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
    for (const std::string& fen : RandomPositions(23, 2, 80)) {
        RandomizeEverything();
        const ThreadEvalInfo info = PiecesOn(fen);
        for (const Colour colour : {WHITE, BLACK}) {
            const Gathered expected = GatherSlowly(colour);
            ASSERT_EQ(info.attackers[colour], expected.attackers) << fen;
            ASSERT_EQ(info.danger[colour], expected.danger) << fen;
            ASSERT_EQ(info.safe_zone_hits[1 - colour], expected.safe_hits) << fen;
        }
    }
}

/// One packed table or word holds random words, the others nothing. The score is then the sum of the words that
/// Black has earned less those that White has.
struct TermCase {
    const char* fen;
    std::vector<int> black, white;  // entries
    PawnFacts facts{};
};

#define EXPECT_TERMS(table, ...) \
    ExpectTerms(#table, reinterpret_cast<std::int32_t*>(&(table)), sizeof(table) / 4, __VA_ARGS__)

class PieceTerms : public Pieces {
  protected:
    void ExpectTerms(const char* name, std::int32_t* table, std::size_t count, const std::vector<TermCase>& cases) {
        ClearPackedTables();
        std::generate_n(table, count, [&] { return Word(); });
        for (const TermCase& c : cases) {
            std::int32_t expected = 0;
            for (const int entry : c.black) {
                expected = PackedAdd(expected, table[entry]);
            }
            for (const int entry : c.white) {
                expected = PackedSub(expected, table[entry]);
            }
            EXPECT_EQ(PiecesOn(c.fen, c.facts).packed, expected) << name << ": " << c.fen;
            const PawnFacts& f = c.facts;
            const PawnFacts swapped = {{f.passed[BLACK], f.passed[WHITE]}, {f.weak[BLACK], f.weak[WHITE]}};
            EXPECT_EQ(PiecesOn(ColourMirror(c.fen), swapped).packed, PackedSub(0, expected)) << name << ": " << c.fen;
        }
        ClearPackedTables();
    }
};

TEST_F(PieceTerms, PiecePositionsByWingAndSquare) {
    const auto entry = [](int section, int wing, int square) { return 256 * section + 64 * wing + square; };
    EXPECT_TERMS(PiecePosition,
                 {{"1k4n1/8/8/5r2/8/8/8/1K6 w - - ", {entry(0, 3, Square("g8")), entry(1, 3, Square("f5"))}, {}},
                  {"1k6/8/8/8/8/2B5/8/6KQ w - - ", {}, {entry(2, 1, Square("c6")), entry(3, 1, Square("h8"))}},
                  {"6k1/8/8/q7/8/8/6R1/1K6 w - - ", {entry(3, 1, Square("a5"))}, {entry(1, 2, Square("g7"))}}});
}

TEST_F(PieceTerms, BackRank) {
    EXPECT_TERMS(KingNoLuft, {{"4k3/8/8/8/8/8/5PPP/6K1 w - - ", {0}, {}},
                              {"4k3/8/8/8/8/8/6PP/7K w - - ", {0}, {}},
                              {"4k3/8/8/8/8/8/5PPB/6K1 w - - ", {}, {}},
                              {"4k3/8/8/8/8/7P/5PP1/6K1 w - - ", {}, {}},
                              {"4k3/3ppp2/8/8/5PPP/6K1/8/8 w - - ", {}, {0}},
                              {"8/8/8/4k3/4PPP1/5PPP/6K1/8 w - - ", {}, {}}});
    EXPECT_TERMS(RookShutIn, {{"4k3/8/8/8/8/8/8/5K1R w - - ", {0}, {}},
                              {"4k3/8/8/8/8/7R/8/5K2 w - - ", {}, {}},
                              {"4k3/8/8/8/8/8/8/4KR1R w - - ", {}, {}},
                              {"4k3/8/8/8/8/8/7R/5K2 w - - ", {0}, {}},
                              {"4k3/8/8/8/8/8/8/5KR1 w - - ", {0}, {}},
                              {"4k3/8/8/8/8/8/8/6KR w - - ", {0}, {}},
                              {"4k3/8/8/8/8/8/7R/7K w - - ", {0}, {}},
                              {"4k3/8/8/8/8/8/8/6RK w - - ", {}, {}},
                              {"4k3/8/8/8/8/8/8/RRK5 w - - ", {0}, {}},
                              {"4k3/8/8/8/8/8/R7/K7 w - - ", {0}, {}},
                              {"4k3/8/8/8/8/8/1R6/1K6 w - - ", {}, {}},
                              {"4k3/8/8/8/8/8/1K6/R7 w - - ", {}, {}},
                              {"4k3/8/8/8/8/8/8/3K3R w - - ", {}, {}}});
}

TEST_F(PieceTerms, RookFilesAndRanks) {
    EXPECT_TERMS(RookOpenFile,
                 {{"4k1r1/2p5/8/8/8/8/P7/R3K2R w - - ", {6}, {7}}, {"r3k3/8/8/8/8/P7/8/4K3 w - - ", {}, {}}});
    EXPECT_TERMS(RookHalfOpenFile, {{"r3k1r1/6p1/8/8/8/P7/8/4K3 w - - ", {0}, {}},
                                    {"4k3/2p5/8/8/8/8/2P5/2R1K3 w - - ", {}, {}},
                                    {"4k3/2p5/8/8/2R5/8/8/4K3 w - - ", {}, {2}}});
    EXPECT_TERMS(RookOnSeventh, {{"4k3/8/8/8/8/8/r7/4K3 w - - ", {0}, {}},
                                 {"4k3/8/8/8/8/4K3/r7/8 w - - ", {}, {}},
                                 {"4k3/8/8/8/8/4K3/r5P1/8 w - - ", {0}, {}},
                                 {"4k3/p6R/8/8/8/8/8/4K3 w - - ", {}, {0}},
                                 {"8/p6R/4k3/8/8/8/8/4K3 w - - ", {}, {0}}});
    EXPECT_TERMS(RookPairOnSeventh, {{"4k3/8/8/8/8/8/r5r1/4K3 w - - ", {0, 0}, {}},
                                     {"4k3/8/8/8/8/8/r5q1/4K3 w - - ", {0}, {}},
                                     {"4k3/8/8/8/8/8/r3P1r1/4K3 w - - ", {}, {}},
                                     {"4k3/8/8/8/8/4K3/r5r1/8 w - - ", {}, {}},
                                     {"4k3/8/8/8/r7/8/r7/4K3 w - - ", {}, {}}});
    const PawnFacts black_passer = {{0, 1}, {}};
    EXPECT_TERMS(RookSeventhClear, {{"4k3/8/8/8/p7/8/r7/4K3 w - - ", {0}, {}, black_passer},
                                    {"4k3/8/8/8/p7/8/r7/4K3 w - - ", {}, {}},
                                    {"4k3/8/8/8/p7/8/r7/4K3 w - - ", {}, {}, {{1, 0}, {}}},
                                    {"4k3/8/8/8/p7/8/r6P/4K3 w - - ", {0}, {}, black_passer},
                                    {"4k3/8/8/8/p7/8/r5P1/4K3 w - - ", {}, {}, black_passer},
                                    {"4k3/8/8/8/p7/8/rN6/4K3 w - - ", {}, {}, black_passer},
                                    {"4k3/8/8/8/p7/4K3/r6P/8 w - - ", {}, {}, black_passer}});
    EXPECT_TERMS(RookOnEighth, {{"4k3/8/8/8/8/8/8/r3K2r w - - ", {0, 0}, {}},
                                {"4k3/8/8/8/8/8/8/r3K3 w - - ", {}, {}},
                                {"4k3/8/8/7q/8/8/4K3/r7 w - - ", {0}, {}},
                                {"4k3/8/8/7q/8/4K3/8/r7 w - - ", {}, {}}});
    const PawnFacts weak_c = {{}, {4, 0}};
    EXPECT_TERMS(RookHitsWeakPawn, {{"2r1k3/8/8/8/8/8/2P5/4K3 w - - ", {2}, {}, weak_c},
                                    {"4k3/8/8/8/2P5/8/8/2r1K3 w - - ", {2}, {}, weak_c},
                                    {"2r1k3/8/8/2n5/8/8/2P5/4K3 w - - ", {}, {}, weak_c},
                                    {"2r1k3/8/8/8/8/8/2P5/4K3 w - - ", {}, {}, {{}, {0, 4}}}});
    EXPECT_TERMS(RookOnWeakFile, {{"2r1k3/8/8/2n5/8/8/2P5/4K3 w - - ", {2}, {}, weak_c},
                                  {"2r1k3/8/8/8/8/8/2P5/4K3 w - - ", {}, {}, weak_c},
                                  {"3rk3/8/8/8/8/8/2P5/4K3 w - - ", {}, {}, weak_c}});
}

TEST_F(PieceTerms, QueenRanks) {
    EXPECT_TERMS(QueenOnEighth, {{"4k3/8/8/8/8/8/8/q3K3 w - - ", {0}, {}},
                                 {"4k3/8/8/8/8/8/4K3/q7 w - - ", {0}, {}},
                                 {"4k3/8/8/8/8/4K3/8/q7 w - - ", {}, {}},
                                 {"Q7/4k3/8/8/8/8/8/4K3 w - - ", {}, {0}}});
    EXPECT_TERMS(QueenPairOnSeventh, {{"4k3/8/8/8/8/8/q6r/4K3 w - - ", {0}, {}},
                                      {"4k3/8/8/8/8/4K3/q6r/8 w - - ", {}, {}},
                                      {"4k3/8/8/8/8/4K3/qP5r/8 w - - ", {}, {}},
                                      {"4k3/8/8/8/8/4K3/P1q4r/8 w - - ", {0}, {}},
                                      {"4k3/8/8/8/8/8/q7/4K3 w - - ", {}, {}}});
}

TEST_F(PieceTerms, Mobility) {
    // White's pawns hit d6, f6, a6 and c6 and bar the pawn on b6; squares held by other own men are safe.
    const char* const fen = "1r1qk3/8/1p6/1P2P3/2n4b/8/4K3/8 w - - ";
    EXPECT_TERMS(RookMobility, {{fen, {3}, {}}});
    EXPECT_TERMS(RookReach, {{fen, {5}, {}}, {"7k/1P6/8/8/1r6/1p6/8/4K3 w - - ", {11}, {}}});
    EXPECT_TERMS(KnightMobility, {{fen, {7}, {}}});
    EXPECT_TERMS(KnightSafeMobility, {{fen, {6}, {}}});
    EXPECT_TERMS(BishopMobility, {{fen, {6}, {}}});
    EXPECT_TERMS(BishopSafeMobility, {{fen, {6}, {}}});
    EXPECT_TERMS(QueenMobility, {{fen, {12}, {}}});
    EXPECT_TERMS(QueenSafeMobility, {{fen, {13}, {}}});
}

TEST_F(PieceTerms, TrappedMinorPieces) {
    const auto entry = [](int rank_class, int safe, int field, int free) {
        return 27 * rank_class + 9 * safe + 3 * field + free;
    };
    EXPECT_TERMS(KnightLowMobility,
                 {
                     {"n3k3/8/8/8/8/8/8/4K3 w - - ", {entry(0, 2, 1, 1)}, {}},       // b6, c7
                     {"n3k3/2p5/8/8/8/8/8/4K3 w - - ", {entry(0, 2, 1, 1)}, {}},     // own pawn on c7, not barred: safe
                     {"n3k3/2p5/2P5/8/8/8/8/4K3 w - - ", {entry(0, 1, 1, 1)}, {}},   // barred: not safe
                     {"n3k3/2P5/1r6/P7/8/8/8/4K3 w - - ", {entry(0, 1, 0, 0)}, {}},  // b6 hit by the pawn
                     {"n3k3/8/1r6/8/8/8/8/4K3 w - - ", {entry(0, 2, 1, 0)}, {}},     // b6 held by an own rook
                     {"4k3/n7/8/8/8/8/8/4K3 w - - ", {entry(1, 2, 2, 2)}, {}},       // b5, c6, c8
                     {"4k3/8/8/8/8/8/8/n3K3 w - - ", {entry(3, 2, 2, 2)}, {}},       // b3, c2
                     {"4k3/8/8/8/8/8/8/N3K3 w - - ", {}, {entry(0, 2, 1, 1)}},
                     {"4k3/8/8/8/n7/8/8/4K3 w - - ", {entry(2, 2, 2, 2)}, {}},
                     {"4k3/8/8/3n4/8/8/8/4K3 w - - ", {}, {}},
                 });
    EXPECT_TERMS(BishopLowMobility, {{"b3k3/1p6/1P6/8/8/8/8/4K3 w - - ", {entry(0, 0, 0, 0)}, {}},
                                     {"b3k3/1p6/8/8/8/8/8/4K3 w - - ", {entry(0, 1, 0, 0)}, {}},
                                     {"4k3/8/8/8/8/1p6/B7/1K6 w - - ", {}, {entry(1, 2, 1, 1)}},
                                     {"4k3/8/8/8/8/8/6p1/4K2b w - - ", {entry(3, 1, 1, 0)}, {}},
                                     {"4k3/8/8/3b4/8/8/8/4K3 w - - ", {}, {}}});
}

TEST_F(PieceTerms, ClosedPositions) {
    // Two of White's pawns are barred, by a pawn and by a knight, a third by its own knight only; of Black's one.
    const char* const fen = "4k3/3p4/3n4/3P1p2/5P2/8/1N6/1P2K3 w - - ";
    EXPECT_TERMS(ClosedPosition, {{fen, {2}, {1}}});
    EXPECT_TERMS(KnightClosedPosition, {{fen, {2}, {1}}, {"4k3/8/8/8/8/8/2N1N3/4K3 w - - ", {}, {0, 0}}});
    EXPECT_TERMS(ClosedPosition, {{"4k3/8/8/p7/P7/P7/8/4K3 w - - ", {2}, {1}}});
}

TEST_F(PieceTerms, Outposts) {
    struct Piece {
        char letter;
        std::int32_t* plain;
        std::int32_t* guarded;
        std::int32_t* contested;
    };
    for (const Piece piece : {Piece{'n', KnightOutpost, KnightOutpostGuarded, KnightOutpostContested},
                              Piece{'b', BishopOutpost, BishopOutpostGuarded, BishopOutpostContested}}) {
        enum { NONE = 0, PLAIN = 1, GUARDED = 2, CONTESTED = 4 };
        const struct {
            const char* fen;  // 'x' is the piece
            const char* square;
            int expected;
        } cases[] = {
            {"4k3/8/8/8/3x4/8/8/4K3 w - - ", "d4", PLAIN},
            {"4k3/8/x7/8/8/8/8/4K3 w - - ", "a6", PLAIN},
            {"4k3/x7/8/8/8/8/8/4K3 w - - ", "a7", NONE},      // at home
            {"4k3/8/8/8/8/8/8/x3K3 w - - ", "a1", PLAIN},     // the far edge counts
            {"4k3/8/8/8/3x4/8/3P4/4K3 w - - ", "d4", PLAIN},  // a pawn on its own file does not matter
            {"4k3/8/8/8/3x4/8/2P5/4K3 w - - ", "d4", NONE},   // one beside it ahead does
            {"4k3/8/8/8/2Px4/8/8/4K3 w - - ", "d4", PLAIN},   // level with it does not
            {"4k3/8/8/2p5/3x4/8/8/4K3 w - - ", "d4", PLAIN | GUARDED},
            {"4k3/8/8/2p5/3x4/8/2P5/4K3 w - - ", "d4", NONE},
            {"4k3/8/8/2p5/3x4/8/B7/4K3 w - - ", "d4", PLAIN | GUARDED},    // a bishop of the other colour
            {"4k3/8/8/2p5/3x4/8/7B/4K3 w - - ", "d4", PLAIN | CONTESTED},  // of the colour of d4
            {"4k3/8/8/2p1p3/3x4/8/7B/4K3 w - - ", "d4", PLAIN | GUARDED},
            {"4k3/1p6/x7/8/8/8/6B1/4K3 w - - ", "a6", PLAIN | CONTESTED},
            {"4k3/1p6/x7/8/8/8/1P6/4K3 w - - ", "a6", NONE},
        };
        for (const auto& c : cases) {
            std::string fen = c.fen;
            std::ranges::replace(fen, 'x', piece.letter);
            const int square = Square(c.square);
            for (const auto& [table, bit] : {std::pair{piece.plain, +PLAIN}, std::pair{piece.guarded, +GUARDED},
                                             std::pair{piece.contested, +CONTESTED}}) {
                ClearPackedTables();
                table[square] = Pack(11, -7);
                const std::int32_t expected = (c.expected & bit) != 0 ? table[square] : 0;
                EXPECT_EQ(PiecesOn(fen).packed, expected) << fen << bit;
                EXPECT_EQ(PiecesOn(ColourMirror(fen)).packed, PackedSub(0, expected)) << fen << bit;
            }
        }
    }
}

TEST_F(PieceTerms, Pins) {
    EXPECT_TERMS(RookPin, {{"4r3/4k3/8/4N3/8/8/8/4K3 w - - ", {}, {}},  // the own king stands between
                           {"4r1k1/8/8/4N3/8/8/8/4K3 w - - ", {KNIGHT}, {}},
                           {"4r1k1/8/8/4N3/4P3/8/8/4K3 w - - ", {}, {}},
                           {"4r1k1/4p3/8/4N3/8/8/8/4K3 w - - ", {}, {}},
                           {"6k1/8/8/8/8/8/8/r2QK3 w - - ", {QUEEN}, {}},
                           {"4r1k1/8/8/8/4P3/8/8/4K3 w - - ", {PAWN}, {}},
                           {"6k1/8/8/8/7r/8/5P2/4K3 w - - ", {}, {}},
                           {"4r1k1/8/8/8/8/8/8/4K3 w - - ", {}, {}}});
    EXPECT_TERMS(BishopPin, {{"6k1/8/8/8/7b/8/5R2/4K3 w - - ", {ROOK}, {}},
                             {"6k1/8/8/8/7b/6n1/5R2/4K3 w - - ", {}, {}},
                             {"6k1/8/8/8/4b3/4R3/8/4K3 w - - ", {}, {}}});
    EXPECT_TERMS(QueenPin, {{"6k1/8/8/8/7q/8/5R2/4K3 w - - ", {ROOK}, {}},
                            {"4q1k1/8/8/8/4B3/8/8/4K3 w - - ", {BISHOP}, {}},
                            {"6k1/8/8/8/3q4/8/4B3/4K3 w - - ", {}, {}}});
}

TEST_F(PieceTerms, BishopsTogether) {
    // Of Black's pawns all but b7 stand on dark squares; c5 is stopped by a pawn, d6 by its attack on d5.
    const char* const bad = "4kb2/pp6/3p4/2p5/2P2p2/8/8/4K3 w - - ";
    EXPECT_TERMS(BishopSameColourPawns, {{"4k1b1/8/8/8/8/8/8/4K3 w - - ", {}, {0}}});
    for (std::int32_t* table : {BishopSameColourPawns, BishopFixedPawns}) {
        ClearPackedTables();
        for (int i = 0; i < 9; ++i) {
            table[i] = Pack(3 * i + 1, -5 * i);
        }
        const int entry = table == BishopFixedPawns ? 2 : 4;
        EXPECT_EQ(PiecesOn(bad).packed, PackedSub(0, table[entry]));
        EXPECT_EQ(PiecesOn(ColourMirror(bad)).packed, table[entry]);
        EXPECT_EQ(PiecesOn("4kbb1/pp6/3p4/2p5/2P2p2/8/8/4K3 w - - ").packed, 0) << "only for a lone bishop";
    }
    EXPECT_TERMS(BishopAgainstKnightWings, {{"4kb2/p7/8/8/8/8/7P/4KN2 w - - ", {0}, {}},
                                            {"4kb2/p7/8/8/8/8/7P/4KB2 w - - ", {}, {}},
                                            {"4kb2/p7/8/8/8/8/7P/4KR2 w - - ", {}, {}},
                                            {"4kb2/p7/8/8/8/8/4P3/4KN2 w - - ", {}, {}},
                                            {"4kb2/3p4/8/8/8/8/5P2/4KN2 w - - ", {}, {}},
                                            {"4kb2/2p5/8/8/8/8/5P2/4KN2 w - - ", {0}, {}},
                                            {"4kbr1/2p5/8/8/8/8/5P2/3RKN2 w - - ", {0}, {}},
                                            {"1n1nkb2/p7/8/8/8/8/7P/1NN1KN2 w - - ", {}, {}},
                                            {"3rkbr1/2p5/8/8/8/8/5P2/3RKNR1 w - - ", {}, {}}});
    const struct {
        const char* home;
        int expected;
    } fianchettos[] = {
        {"5bk1/5p1p/6p1", 1}, {"6kb/5p1p/6p1", 1}, {"6k1/5pbp/6p1", 1}, {"7k/5pbp/6p1", 1}, {"6k1/5pbp/7p", 0},
        {"5bk1/6p1/6p1", 0},  {"3bk3/8/6p1", 0},   {"7b/8/5kp1", 1},    {"5b2/8/4k1p1", 0}, {"6b1/5k2/6p1", 0},
    };
    FianchettoBishop = Pack(40, 9);
    for (const auto& c : fianchettos) {
        const std::string fen = c.home + std::string("/8/8/8/8/QR1RKR2 w - - ");
        EXPECT_EQ(PiecesOn(fen).packed, c.expected * FianchettoBishop) << fen;
        EXPECT_EQ(PiecesOn(ColourMirror(fen)).packed, -c.expected * FianchettoBishop) << fen;
    }
    EXPECT_EQ(PiecesOn("5bk1/5p1p/6p1/8/8/8/8/4K3 w - - ").packed, 0) << "nothing is left to protect the king from";
}

TEST_F(Pieces, KingHuntsLoosePawns) {
    std::fill_n(HuntRank, 5, 64);
    std::fill_n(HuntForce, 9, 64);
    for (int i = 0; i < 144; ++i) {
        (&KingHunt[0][0][0])[i] = 1000 + 7 * i * i;
    }
    struct Hunt {
        int distance, reach, column;
    };
    const struct {
        const char* fen;
        std::vector<Hunt> black, white;  // by the hunting king
        PawnFacts facts{};
    } cases[] = {
        {"8/8/8/8/4k3/8/2P5/6K1 w - - ", {{2, 4, 0}}, {}},
        {"8/8/4k3/8/8/8/2P5/6K1 w - - ", {{4, 2, 0}}, {}},
        {"7k/8/8/8/8/8/P7/6K1 w - - ", {{6, 5, 0}}, {}},
        {"8/8/8/4k3/4P3/8/8/6K1 w - - ", {{1, 3, 1}}, {}},               // the king itself bars the way
        {"8/8/8/2p5/4k3/8/2P5/6K1 w - - ", {{2, 4, 0}}, {{4, 4, 0}}},    // and the other way round
        {"8/8/8/8/1p2k3/8/2P5/6K1 w - - ", {{2, 4, 1}}, {{5, 5, 1}}},    // c3 is hit by a pawn
        {"8/8/8/8/4k3/2N5/2P5/6K1 w - - ", {{2, 4, 0}}, {}},             // an own piece does not bar it
        {"8/8/8/8/4k3/2P5/2P5/6K1 w - - ", {{2, 4, 1}, {2, 4, 0}}, {}},  // an own pawn does
        {"8/8/8/8/4k3/2P5/1P6/6K1 w - - ", {{3, 4, 0}}, {}},             // c3 is guarded
        {"8/8/8/8/4k3/8/2P5/6K1 w - - ", {{2, 4, 2}}, {}, {{4, 0}, {}}},
        {"8/8/8/8/4k3/8/2P5/RN4K1 w - - ", {{2, 4, 0}}, {}},  // 8 points
        {"8/8/8/8/4k3/8/2P5/Q5K1 w - - ", {}, {}},            // 9
    };
    for (const auto& c : cases) {
        const auto sum = [](const std::vector<Hunt>& hunts) {
            std::int32_t total = 0;
            for (const Hunt& hunt : hunts) {
                total += KingHunt[hunt.distance - 1][hunt.reach][hunt.column];
            }
            return total;
        };
        const std::int32_t expected = PackBoth(sum(c.black) - sum(c.white));
        const PawnFacts swapped = {{c.facts.passed[BLACK], c.facts.passed[WHITE]}, {}};
        EXPECT_EQ(PiecesOn(c.fen, c.facts).packed, expected) << c.fen;
        EXPECT_EQ(PiecesOn(ColourMirror(c.fen), swapped).packed, PackedSub(0, expected)) << c.fen;
    }

    // The rank of the pawn, from the third on, and the force of its side; the product rounds down.
    std::fill_n(&KingHunt[0][0][0], 144, 1000);
    for (int i = 0; i < 5; ++i) {
        HuntRank[i] = 3 * i - 5;
    }
    for (int i = 0; i < 9; ++i) {
        HuntForce[i] = 5 + i;
    }
    for (int rank = 2; rank <= 7; ++rank) {
        for (const int weight : {0, 3, 5, 8}) {
            std::string fen = "7k/8/8/8/8/8/8/" +
                              std::string(weight == 8   ? "RN"
                                          : weight == 5 ? "R1"
                                          : weight == 3 ? "N1"
                                                        : "2") +
                              "2K3 w - - ";
            Prepare(fen);
            PlacePiece(Square("c1") + 8 * (rank - 1), WHITE, PAWN);
            EvaluatePieces();
            const int product = (3 * std::max(rank - 3, 0) - 5) * (5 + weight) * 1000;
            EXPECT_EQ(thread_eval_info.packed, PackBoth(product >> 12)) << rank << ' ' << weight;
        }
    }
}

TEST_F(Pieces, ThreatsAreCounted) {
    const struct {
        const char* fen;
        int black, white;  // men threatened by each
    } cases[] = {
        {"4k3/8/8/8/8/8/8/4K3 w - - ", 0, 0},
        {"4k3/8/2n5/8/3P4/8/8/4K3 w - - ", 1, 0},        // loose and attacked
        {"4k3/8/2n5/8/3P4/2P5/8/4K3 w - - ", 0, 0},      // guarded by a pawn
        {"4k3/8/2n5/8/3P4/4K3/8/8 w - - ", 0, 0},        // or the king
        {"4k3/8/2n5/4p3/3N4/2P1P3/8/4K3 w - - ", 1, 1},  // a pawn on a guarded knight; it hits c6
        {"4k3/8/8/4p3/3P4/2P5/8/4K3 w - - ", 0, 1},      // pawns threaten no guarded pawn
        {"4k3/8/2n5/8/3R4/2P5/8/4K3 w - - ", 1, 0},      // a minor on a guarded rook
        {"3rk3/8/8/8/3R4/2P5/8/4K3 w - - ", 0, 0},
        {"3rk3/8/8/8/3Q4/2P5/8/4K3 w - - ", 1, 0},  // a rook on a guarded queen
        {"3qk3/8/8/8/3Q4/2P5/8/4K3 w - - ", 0, 0},
        {"8/8/8/3k4/4P3/8/8/4K3 w - - ", 1, 0},  // a king attacks too
        {"4k3/8/8/8/8/8/8/q3K3 w - - ", 0, 0},   // but is never threatened itself
        {"7k/8/8/2n1n3/3P4/8/8/6K1 w - - ", 0, 2},
        {"4k3/8/8/2n5/1P2Q3/3P4/8/4K3 w - - ", 1, 1},  // a knight on a guarded queen
        {"7k/8/8/1p1p4/N1N1N3/8/8/6K1 w - - ", 3, 0},
        {"7k/8/8/1p1p1p2/N1N1N1N1/8/8/6K1 w - - ", 4, 0},  // a fourth counts for nothing
    };
    for (const auto& c : cases) {
        Fill(ThreatMoveBonus, 9, -50, 50);
        std::generate_n(ThreatBalance, 9, [&] { return Word(); });
        PiecesOn(c.fen);
        thread_eval_info.move_bonus[WHITE] = 1000;
        thread_eval_info.packed = 0;
        EvaluateThreats();
        const int lead = c.black - c.white;
        const int i = std::clamp(4 + lead, 1, 7);
        const int j = std::clamp(4 - lead, 1, 7);
        EXPECT_EQ(thread_eval_info.packed, PackedSub(ThreatBalance[i], ThreatBalance[j])) << c.fen;
        EXPECT_EQ(thread_eval_info.move_bonus[WHITE], 1000 + ThreatMoveBonus[i]) << c.fen;
        EXPECT_EQ(thread_eval_info.move_bonus[BLACK], ThreatMoveBonus[j]) << c.fen;
        std::fill_n(ThreatBalance, 9, 0);
    }
}

TEST_F(Pieces, HomeSquaresCostByPatternAndClass) {
    const struct {
        const char* fen;
        int black, white;  // pawn patterns, bit 0 the b-file
        int black_blocked, white_blocked;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/4K3 w - - ", 0, 0, 0, 0},
        {"rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ", 63, 63, 0, 0},
        {"rnbqkbnr/p1pppppp/8/8/8/8/PPPPPP1P/RNBQKBNR w KQkq - ", 62, 31, 0, 0},
        {"rnbqkbnr/p7/8/8/8/3B4/3P3P/RNBQK1NR w KQkq - ", 0, 4, 0, 1},
        {"4k3/3pp3/3nP3/8/8/4n3/2PPP3/2N1K3 w - - ", 12, 14, 2, 1},
        {"4k3/2p2p2/2n2n2/8/8/3P4/3P4/4K3 w - - ", 18, 4, 0, 1},
    };
    for (const auto& c : cases) {
        Fill(DevelopmentOpen, 64, -200, 200);
        Fill(DevelopmentEnd, 64, -200, 200);
        Fill(BlockedCentreOpen, 3, -50, 50);
        Fill(BlockedCentreEnd, 3, -50, 50);
        Fill(DevelopmentFactor, 6, 1, 60);
        Fill(DevelopmentClass, 64, 0, 5);
        Prepare(c.fen);
        EvaluateDevelopment();
        const auto floor = [](double value) { return static_cast<int>(std::floor(value)); };
        const int black_factor = DevelopmentFactor[DevelopmentClassOf(BLACK)];
        const int white_factor = DevelopmentFactor[DevelopmentClassOf(WHITE)];
        const int opening = (DevelopmentOpen[c.black] + BlockedCentreOpen[c.black_blocked]) * black_factor -
                            (DevelopmentOpen[c.white] + BlockedCentreOpen[c.white_blocked]) * white_factor;
        const int ending = (DevelopmentEnd[c.black] + BlockedCentreEnd[c.black_blocked]) * black_factor -
                           (DevelopmentEnd[c.white] + BlockedCentreEnd[c.white_blocked]) * white_factor;
        EXPECT_EQ(PackedOpening(thread_eval_info.packed), -floor(opening / 32.0)) << c.fen;
        EXPECT_EQ(PackedEnding(thread_eval_info.packed), -floor(ending / 32.0)) << c.fen;
    }
}

// Parameters of any size and boards of any kind: nothing may be read outside a table or overflow. For the sanitizers.
TEST_F(Pieces, AnythingOnTheBoardWithAnyParameters) {
    const auto fill_with_extremes = [&](std::int32_t* values, std::size_t count) {
        std::generate_n(values, count, [&] { return random() % 2 == 0 ? 0x7fffffff : -0x7fffffff - 1; });
    };
    for (int round = 0; round < 200; ++round) {
        fill_with_extremes(AttackerWeight, 8);
        fill_with_extremes(CheckDanger, 8);
        fill_with_extremes(RookFileDanger, 8);
        fill_with_extremes(QueenDistanceDanger, 8);
        fill_with_extremes(QueenFileDanger, 8);
        fill_with_extremes(HuntRank, 5);
        fill_with_extremes(HuntForce, 9);
        fill_with_extremes(&KingHunt[0][0][0], 144);
        fill_with_extremes(ThreatMoveBonus, 9);
        fill_with_extremes(BlockedCentreOpen, 3);
        fill_with_extremes(BlockedCentreEnd, 3);
        std::fill_n(DevelopmentFactor, 6, 0x7fffffff);
        SetupFen("");
        const unsigned density = random() % 8;
        for (int square = 0; square < 64; ++square) {
            constexpr int codes[] = {KING, KNIGHT, PAWN, ROOK, BISHOP, QUEEN, PAWN, PAWN};
            if (random() % 8 < density) {
                PlacePiece(square, static_cast<Colour>(random() % 2), codes[random() % 8]);
            }
        }
        thread_eval_info = {};
        RefreshPhases();
        thread_board.AllPawns = thread_board.Pieces[PAWN][WHITE] | thread_board.Pieces[PAWN][BLACK];
        SetCheckMaps();
        EvaluatePieces();
        EvaluateThreats();
        EvaluateDevelopment();
        EXPECT_EQ(thread_eval_info.rook_attacks[WHITE] & ~thread_eval_info.attacks[WHITE], 0u);
    }
    SetupFen("4k3/8/8/8/8/8/8/4K3 w - - ");
}

}  // namespace
