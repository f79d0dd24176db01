#include "movegen/picker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "movegen/exchange.h"
#include "movegen/generated.h"
#include "movegen/generators.h"
#include "movegen/legal_moves.h"
#include "movegen/ordering.h"
#include "position/attacks.h"
#include "position/fen.h"
#include "position/move_text.h"
#include "support/board_tables.h"
#include "support/move_lists.h"

namespace {

constexpr int F3 = 21, C6 = 42;

using Moves = std::vector<Move>;

const char* const StartPositions[] = {
    "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq -",
    "r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq -",
    "r3k2r/8/8/8/8/8/8/R3K2R b KQkq -",
    "n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - -",
    "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - -",
};

/// A node of the search as NextStage sees it.
void EnterNode(int ply) {
    Ply = ply;
    MoveCount = 0;
    PlyRecord& record = PlyState[Ply];
    record = {};
    record.InCheck = InCheckNow();
}

/// Whether `attacker` attacks the other king once `move` has been made.
bool AttacksKingAfter(Move move, Colour attacker) {
    MakeMove(move, 1);
    const bool attacked = SquareAttacked(attacker, thread_board.KingSquare[ChangeSide(attacker)]);
    UnmakeMove();
    return attacked;
}

struct Flags {
    bool futile = false, safeCaptures = false, safeQuiets = false;
};

struct Batch {
    int stage;
    std::vector<MoveEntry> entries;
};

/// All batches in the order they come; qflags starts at 0.
std::vector<Batch> DrawAll(Flags flags, std::uint8_t& qflags) {
    qflags = 0;
    std::vector<Batch> batches;
    int stage = STAGE_START;
    while (true) {
        const int first = MoveCount;
        stage = NextStage(stage, flags.futile, 1, qflags, flags.safeCaptures, flags.safeQuiets);
        if (stage == STAGE_NONE) {
            EXPECT_EQ(MoveCount, first);
            return batches;
        }
        EXPECT_GT(MoveCount, first) << "stage " << stage;
        batches.push_back({stage, {MoveList + first, MoveList + MoveCount}});
    }
}

Moves BatchMoves(const std::vector<Batch>& batches, int stage) {
    Moves moves;
    for (const Batch& batch : batches) {
        for (const MoveEntry& entry : batch.entries) {
            if (batch.stage == stage) {
                moves.push_back(entry.Move);
            }
        }
    }
    return moves;
}

Moves Sorted(Moves moves) {
    std::ranges::sort(moves);
    return moves;
}

class Picker : public testing::Test {
  protected:
    static void SetUpTestSuite() { FillBoardTables(); }
    void SetUp() override {
        ClearMoveStats();
        Iteration = 20;
    }
    void TearDown() override {
        ClearMoveStats();
        EnterNode(0);
        Iteration = 0;
    }

    /// Plays random legal games and calls `visit` at each position with the legal moves.
    template <typename Visit>
    void RandomGames(int rounds, Visit visit) {
        for (int round = 0; round < rounds; ++round) {
            for (const char* const fen : StartPositions) {
                SetupFen(fen);
                for (int ply = 0; ply < 60; ++ply) {
                    const Moves legal = LegalMoves();
                    if (legal.empty()) {
                        break;
                    }
                    visit(legal);
                    if (HasFatalFailure()) {
                        FAIL() << WriteFen(0);
                    }
                    MakeMove(legal[Random(legal.size())], 1);
                }
            }
        }
    }

    std::size_t Random(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random); }

    std::mt19937 random{42};
};

TEST_F(Picker, GivesEveryLegalMoveOnceWhateverTheTablesHold) {
    Moves seen[2];  // quiet moves of other positions, by colour: what a cut could have stored
    RandomGames(6, [&](const Moves& legal) {
        const Colour us = thread_board.SideToMove;
        EnterNode(GamePly > 0 ? 1 + static_cast<int>(Random(8)) : 0);
        for (const Move move : legal) {
            if (IsQuiet(move)) {
                seen[us].push_back(move);
            }
        }
        // Half from all games, half from the newest, which are likely to be possible.
        const auto any = [&]() -> Move {
            if (seen[us].empty() || Random(10) == 0) {
                return 0;
            }
            const std::size_t pool = Random(2) ? seen[us].size() : std::min<std::size_t>(seen[us].size(), 12);
            return seen[us][seen[us].size() - 1 - Random(pool)];
        };
        PlyRecord& record = PlyState[Ply];
        record.ThreatMove = Random(3) == 0 ? 0 : static_cast<Move>(random() & 0x1fffff);
        record.Killer1[us] = any();
        // What an earlier visit of this ply left must not keep a move from being offered.
        record.TriedCount = 9;
        std::ranges::generate(record.TriedMoves, [&] { return legal[Random(legal.size())]; });
        RefutationsOf(record.ThreatMove) = {any(), any()};
        if (GamePly > 0) {
            CounterMovesTo(GameHistory[GamePly - 1].move) = {any(), any()};
        }

        std::uint8_t qflags = 0;
        const std::vector<Batch> batches = DrawAll({}, qflags);
        Moves found;
        int last = STAGE_START;
        for (const Batch& batch : batches) {
            ASSERT_LT(batch.stage, last);
            last = batch.stage;
            for (const MoveEntry& entry : batch.entries) {
                const bool repeated = batch.stage == STAGE_QUIETS && WasTried(entry.Move);
                if (!repeated && !AttacksKingAfter(entry.Move, ChangeSide(us))) {
                    found.push_back(entry.Move);
                }
            }
            if (batch.stage >= STAGE_COUNTER_2 && batch.stage <= STAGE_REFUTATION_1) {
                ASSERT_EQ(batch.entries.size(), 1u);
                ASSERT_EQ(batch.entries[0].Score, 0);
                ASSERT_EQ(batch.entries[0].Safety, SAFETY_UNKNOWN);
            }
        }
        ASSERT_EQ(Sorted(found), Sorted(legal));
        if (!record.InCheck) {
            const int listed = MoveCount;
            GenerateQuiets(0);
            const Moves quiets = MovesOfList(listed);
            for (const Move word :
                 {WHITE_CASTLES_SHORT, WHITE_CASTLES_LONG, BLACK_CASTLES_SHORT, BLACK_CASTLES_LONG, any(), any()}) {
                ASSERT_EQ(word != 0 && IsPseudoLegal(word), std::ranges::count(quiets, word) == 1);
            }
        }
        if (!record.InCheck) {
            const bool none = batches.empty() || batches[0].stage != STAGE_CAPTURES;
            ASSERT_EQ(qflags, none ? QFLAG_NO_CAPTURES : 0);
        }
    });
}

TEST_F(Picker, FlagsLeaveOutWhatTheyNameAndNothingElse) {
    RandomGames(4, [&](const Moves&) {
        const int ply = GamePly > 0 ? 3 : 0;
        EnterNode(ply);
        if (PlyState[Ply].InCheck) {
            return;
        }
        std::uint8_t qflags = 0;
        const std::vector<Batch> all = DrawAll({}, qflags);
        EnterNode(ply);
        const std::vector<Batch> safe = DrawAll({.safeCaptures = true, .safeQuiets = true}, qflags);
        EnterNode(ply);
        const std::vector<Batch> futile = DrawAll({.futile = true}, qflags);

        const Bitboard knightChecks = KnightAttacks[thread_board.KingSquare[ChangeSide(thread_board.SideToMove)]];
        Moves captures, quiets, checks;
        for (const Batch& batch : all) {
            for (const MoveEntry& entry : batch.entries) {
                const int promotion = MovePromotion(entry.Move);
                const bool push = promotion != NO_PIECE && MoveCaptured(entry.Move) == NO_PIECE;
                const bool kept =
                    push ? promotion == QUEEN || (promotion == KNIGHT && (knightChecks & Bit(MoveTo(entry.Move))) != 0)
                         : entry.Safety != LOSING;
                if (kept) {
                    (batch.stage == STAGE_CAPTURES ? captures : quiets).push_back(entry.Move);
                }
                if (batch.stage == STAGE_QUIETS && entry.Safety != LOSING &&
                    AttacksKingAfter(entry.Move, thread_board.SideToMove)) {
                    checks.push_back(entry.Move);
                }
            }
        }
        ASSERT_EQ(Sorted(BatchMoves(safe, STAGE_CAPTURES)), Sorted(captures));
        ASSERT_EQ(Sorted(BatchMoves(safe, STAGE_QUIETS)), Sorted(quiets));
        ASSERT_EQ(Sorted(BatchMoves(futile, STAGE_CAPTURES)), Sorted(BatchMoves(all, STAGE_CAPTURES)));
        // Every futile move checks; a queen's discovered checks are not looked for, so a check may be missing.
        const Moves drawn = Sorted(BatchMoves(futile, STAGE_QUIETS));
        checks = Sorted(checks);
        ASSERT_TRUE(std::ranges::includes(checks, drawn));
    });
}

TEST_F(Picker, PromotionsStandHighestSquareFirstAndFourfoldNearTheRoot) {
    struct Case {
        const char* fen;
        bool nearRoot, safeCaptures;
        std::string moves;
    };
    const Case cases[] = {
        {"8/P1P5/8/8/8/8/8/k1K5 w - -", true, false, "c7c8q c7c8r c7c8n c7c8b a7a8q a7a8r a7a8n a7a8b"},
        {"8/P1P5/8/8/8/8/8/k1K5 w - -", false, false, "c7c8q a7a8q"},
        {"K1k5/8/8/8/8/8/p1p5/8 b - -", true, true, "c2c1q a2a1q"},
        {"8/P1P1k3/8/8/8/8/8/2K5 w - -", false, false, "c7c8q c7c8n a7a8q"},
        {"2r5/2P1k3/8/8/8/8/8/2K5 w - -", true, false, ""},  // no square ahead
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.fen);
        SetupFen(test.fen);
        GameHistory[GamePly++] = {};  // no node but the root is without a last move
        EnterNode(test.nearRoot ? 3 : 4);
        Iteration = 6;
        std::uint8_t qflags = 0;
        NextStage(STAGE_START, false, 1, qflags, test.safeCaptures, true);
        EXPECT_EQ(qflags, test.moves.empty() ? QFLAG_NO_CAPTURES : 0);
        const int listed = test.moves.empty() ? 0 : MoveCount;
        const std::string moves = TextsOf({MoveList, MoveList + listed});
        EXPECT_EQ(moves, test.moves);
    }
}

TEST_F(Picker, TableStagesSkipWhatDoesNotApply) {
    SetupFen(StartPositions[0]);
    MakeMove(BuildMove(E2, E2 + 16, PAWN), 1);
    const Move reply = BuildMove(E7, E7 - 16, PAWN);
    const Move other = BuildMove(B8, B8 - 15, KNIGHT);
    const Move blocked = BuildMove(A8, A8 - 32, ROOK);
    const auto stages = [&](int ply, Move threat, Move killer) {
        EnterNode(ply);
        PlyState[ply].ThreatMove = threat;
        PlyState[ply].Killer1[BLACK] = killer;
        PlyState[ply].Killer1[WHITE] = reply;
        std::uint8_t qflags = 0;
        std::vector<int> result;
        for (const Batch& batch : DrawAll({}, qflags)) {
            result.push_back(batch.stage);
        }
        return result;
    };
    const Move threat = BuildMove(F1, F1 + 35, BISHOP, PAWN);
    CounterMovesTo(GameHistory[0].move) = {reply, other};
    RefutationsOf(threat) = {other, blocked};
    RefutationsOf(0) = {reply, other};
    EXPECT_EQ(stages(0, 0, 0), (std::vector<int>{2}));
    EXPECT_EQ(stages(1, 0, blocked), (std::vector<int>{7, 6, 2}));
    EXPECT_EQ(stages(1, threat, reply), (std::vector<int>{10, 8, 2}));
    EXPECT_EQ(stages(1, threat, other), (std::vector<int>{10, 7, 2}));
}

TEST_F(Picker, AnyWordInATableIsHarmless) {
    RandomGames(1, [&](const Moves&) {
        EnterNode(2);
        const Bitboard own = thread_board.ColourPieces[thread_board.SideToMove];
        for (int i = 0; i < 2000; ++i) {
            const auto move = static_cast<Move>(random());
            MoveCount = 0;
            if (AddIfPseudoLegal(move)) {
                ASSERT_TRUE(own & Bit(MoveFrom(move)));
                ASSERT_FALSE(own & Bit(MoveTo(move)));
                ASSERT_EQ(MoveCount, 1);
            }
            NoteTried(move);
            ASSERT_LE(PlyState[Ply].TriedCount, 9);
            ASSERT_TRUE(i >= 9 || WasTried(move));
        }
    });
    EXPECT_FALSE(IsPseudoLegal(0));
}

TEST_F(Picker, SelectBestTakesTheFirstOfEquals) {
    const std::int32_t scores[] = {1, -5, 7, 7, 3};
    for (int i = 0; i < 5; ++i) {
        MoveList[i] = {static_cast<Move>(i), scores[i], SAFE};
    }
    SelectBest(0, 5);
    SelectBest(1, 5);
    SelectBest(4, 5);
    const Move expected[] = {2, 3, 0, 1, 4};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(MoveList[i].Move, expected[i]) << i;
    }
}

TEST_F(Picker, RewardsReachEveryTableOfTheNode) {
    SetupFen(StartPositions[0]);
    MakeMove(BuildMove(G1, G1 + 15, KNIGHT), 1);
    MakeMove(BuildMove(B8, B8 - 15, KNIGHT), 1);
    EnterNode(2);
    const Move move = BuildMove(B1, B1 + 17, KNIGHT);
    const Move older = BuildMove(E2, E2 + 8, PAWN);
    const Move threat = BuildMove(C7, C7 - 8, PAWN);
    PlyState[2].ThreatMove = threat;
    PlyState[2].Killer1[WHITE] = older;

    UpdateMoveStats(4, move, 1, false, SAFE);
    EXPECT_EQ(QuietHistory[1][1][0][move & 0xfff][WHITE], 32700 * 9 >> 9);
    EXPECT_EQ(PlyState[2].Killer1[WHITE], move);
    EXPECT_EQ(PlyState[2].Killer2[WHITE], older);
    EXPECT_EQ(CounterMoves[C6][DenseCode[KNIGHT]][WHITE].first, move);
    EXPECT_EQ(FollowUps[F3][DenseCode[KNIGHT]][WHITE].first, move);
    EXPECT_EQ(Refutations[MoveTo(threat)][DenseCode[PAWN]][0][WHITE].first, move);
    EXPECT_EQ(Evasions[C6][E1][WHITE].first, 0u);

    UpdateMoveStats(0, older, 1, true, LOSING);
    EXPECT_EQ(QuietHistory[0][2][1][older & 0xfff][WHITE], 32700 * 4 >> 9);
    EXPECT_EQ(Evasions[C6][E1][WHITE].first, older);
    EXPECT_EQ(PlyState[2].Killer1[WHITE], move);
    EXPECT_EQ(CounterMoves[C6][DenseCode[KNIGHT]][WHITE].first, move);
}

TEST_F(Picker, HistoryApproachesItsBoundsAndNeverPassesThem) {
    for (const auto& [depth, step] : {std::pair{-12, 1}, {-1, 1}, {0, 4}, {4, 9}, {59, 256}, {60, 289}, {999, 289}}) {
        EXPECT_EQ(HistoryStepOf(depth), step) << depth;
    }
    SetupFen(StartPositions[0]);
    EnterNode(0);
    const Move quiet = BuildMove(E2, E2 + 8, PAWN);
    const Move noQuiet[] = {BuildMove(E2, D7, PAWN, PAWN), BuildMove(E7, E8, PAWN, 0, QUEEN), BuildMove(36, 43, PAWN)};
    std::int32_t& history = QuietHistoryOf(quiet, 0, true);
    for (int i = 0; i < 2000; ++i) {
        const std::int32_t before = history;
        UpdateMoveStats(60, quiet, 2, false, SAFETY_UNKNOWN);  // of a plane only bit 0 counts out of check
        ASSERT_GE(history, before);
        ASSERT_LE(history, HISTORY_MAX);
    }
    EXPECT_GT(history, HISTORY_MAX - 10);

    MoveCount = 0;
    for (const Move move : noQuiet) {
        QuietHistoryOf(move, 0, true) = 1000;
        MoveList[MoveCount++] = {move, 0, SAFE};
    }
    MoveList[MoveCount++] = {quiet, 0, SAFETY_UNKNOWN};
    const std::int32_t before = history;
    PenaliseQuiets(0, MoveCount, 0, 4);
    EXPECT_EQ(history, before - (before * 4 >> 9));
    EXPECT_EQ(MoveList[3].Safety, SAFE);
    for (const Move move : noQuiet) {
        EXPECT_EQ(QuietHistoryOf(move, 0, true), 1000);
    }
    for (int i = 0; i < 2000; ++i) {
        PenaliseQuiets(3, 4, 0, 289);
        ASSERT_GE(history, 0);
    }
    EXPECT_LT(history, 10);
}

}  // namespace
