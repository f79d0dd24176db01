#include "movegen/ordering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>

namespace {

constexpr int E4 = 28, D5 = 35, E5 = 36, D6 = 43, F6 = 45;

class Ordering : public testing::Test {
  protected:
    void SetUp() override {
        ClearMoveStats();
        ClearHistory();
        thread_board.SideToMove = WHITE;
        thread_board.KingSquare[WHITE] = E1;
        thread_board.KingSquare[BLACK] = E8;
    }

    /// History as if `moves` had been played, oldest first.
    void Played(std::initializer_list<Move> moves) {
        GamePly = 0;
        for (const Move move : moves) {
            GameHistory[GamePly++].move = move;
        }
    }

    void Record(Move move, std::int32_t safety, std::int32_t tries, std::int32_t wins) {
        const std::int32_t index = CaptureStatIndex(move, thread_board.SideToMove, safety);
        CaptureTries[index] = tries;
        CaptureWins[index] = wins;
    }

    void TearDown() override {
        ClearMoveStats();
        ClearHistory();
    }
};

TEST_F(Ordering, Captures) {
    const Move pawnTakesQueen = BuildMove(E4, D5, PAWN, QUEEN);
    const Move queenTakesPawn = BuildMove(E4, D5, QUEEN, PAWN);
    const Move kingTakesRook = BuildMove(E4, D5, KING, ROOK);
    const Move promotes = BuildMove(E7, D8, PAWN, ROOK, QUEEN);
    const Move underpromotes = BuildMove(E7, D8, PAWN, ROOK, KNIGHT);
    struct Case {
        const char* name;
        Move move;
        std::int32_t safety, tries, wins, score, safetyAfter;
    };
    const Case cases[] = {
        {"safe, no record", pawnTakesQueen, SAFE, 0, 0, 100000 + 8900 - 40, SAFE},
        {"eight tries are no record", pawnTakesQueen, SAFE, 8, 8, 100000 + 8900 - 40, SAFE},
        {"nine tries are", pawnTakesQueen, SAFE, 9, 9, 100000 + 8900 + 120, SAFE},
        {"half won", kingTakesRook, SAFE, 100, 50, 100000 + 5000 - 950 + 40, SAFE},
        {"losing, no record", queenTakesPawn, LOSING, 0, 0, 100 - 128000, LOSING},
        {"losing, an eighth won", queenTakesPawn, LOSING, 80, 10, 100 - 32000, LOSING},
        {"losing, three sixteenths", queenTakesPawn, LOSING, 16, 3, 100, LOSING_BUT_GOOD_RECORD},
        {"losing, always good", queenTakesPawn, LOSING, 256, 256, 100 + 50000, LOSING_BUT_GOOD_RECORD},
        {"safe promotion", promotes, SAFE, 0, 0, 108000 + 4900 - 40, SAFE},
        {"losing promotion", promotes, LOSING, 50, 50, 4900 + 50000, LOSING_BUT_GOOD_RECORD},
        {"underpromotion has no record", underpromotes, LOSING, 50, 50, 4900 - 128000, LOSING},
        {"quiet promotion", BuildMove(E7, E8, PAWN, 0, ROOK), LOSING, 50, 50, 100901, LOSING},
        {"en passant", BuildMove(E5, D6, PAWN), SAFE, 50, 50, 100901, SAFE},
    };
    for (const Case& test : cases) {
        for (const Colour us : {WHITE, BLACK}) {
            SCOPED_TRACE(test.name);
            ClearMoveStats();
            thread_board.SideToMove = us;
            Record(test.move, test.safety, test.tries, test.wins);
            std::int32_t safety = test.safety;
            EXPECT_EQ(CaptureOrderScore(test.move, safety), test.score);
            EXPECT_EQ(safety, test.safetyAfter);

            if (MoveCaptured(test.move) != NO_PIECE) {
                safety = test.safety;
                EXPECT_EQ(EvasionOrderScore(test.move, safety), test.score + (test.score > 0 ? 537030912 : 0));
                EXPECT_EQ(safety, test.safetyAfter);
            }
        }
    }
}

TEST_F(Ordering, QuietMovesByHistoryAndFollowUp) {
    const Move move = BuildMove(E4, D5, BISHOP);
    const Move own = BuildMove(F1, E4, BISHOP);
    const Move reply = BuildMove(E7, E5, PAWN);
    QuietHistory[1][0][1][move & 0xfff][WHITE] = 1000;
    QuietHistory[1][1][1][move & 0xfff][WHITE] = 2000;
    QuietHistory[1][2][1][move & 0xfff][WHITE] = 3000;
    QuietHistory[0][1][1][move & 0xfff][WHITE] = 500;
    const auto score = [&](int plane, bool inCheck, std::int32_t safety) {
        return QuietOrderScore(move, plane, inCheck, safety);
    };

    // The continuation of the move before the last counts, in both slots, only for its colour and out of check.
    FollowUps[E4][DenseCode[BISHOP]][WHITE] = {move, 0};
    Played({reply});
    EXPECT_EQ(score(1, false, SAFE), 2000);
    Played({own, reply});
    EXPECT_EQ(score(0, false, SAFE), 1000 + 1000 * 148 / 256);
    EXPECT_EQ(score(3, false, SAFETY_UNKNOWN), 2000 + 2000 * 148 / 256);
    EXPECT_EQ(score(1, false, LOSING), 500 + 500 * 148 / 256);
    EXPECT_EQ(score(1, true, SAFE), 3000);
    FollowUps[E4][DenseCode[BISHOP]][WHITE] = {own, move};
    EXPECT_EQ(score(1, false, SAFE), 2000 + 2000 * 138 / 256);
    FollowUps[E4][DenseCode[BISHOP]][WHITE] = {0, 0};
    EXPECT_EQ(score(1, false, SAFE), 2000);
    thread_board.SideToMove = BLACK;
    EXPECT_EQ(score(1, false, SAFE), 0);
}

TEST_F(Ordering, Evasions) {
    std::int32_t safety = SAFE;
    EXPECT_EQ(EvasionOrderScore(BuildMove(E5, D6, PAWN), safety), 537131813);

    const Move move = BuildMove(E4, F6, KNIGHT);
    const Move check = BuildMove(D8, E7, QUEEN);
    QuietHistory[1][2][0][move & 0xfff][WHITE] = 700;
    const auto score = [&] { return EvasionOrderScore(move, safety); };

    Evasions[E7][E1][WHITE] = {move, 0};
    EXPECT_EQ(score(), 700);  // no last move
    Played({check});
    EXPECT_EQ(score(), 80700);
    Evasions[E7][E1][WHITE] = {check, move};
    EXPECT_EQ(score(), 40700);
    thread_board.KingSquare[WHITE] = D1;
    EXPECT_EQ(score(), 700);

    // The order of the whole stage: a bad capture's score lies below any quiet evasion.
    EXPECT_EQ(EvasionOrderScore(BuildMove(E7, E8, PAWN, 0, QUEEN), safety), 0);
    safety = LOSING;
    EXPECT_LT(EvasionOrderScore(BuildMove(E4, D5, QUEEN, PAWN), safety), 0);
    EXPECT_LT(HISTORY_MAX + 80000, EVADING_CAPTURE);
}

TEST_F(Ordering, CaptureIndexStaysInsideAndOverlapsInTheFromField) {
    std::int32_t largest = 0;
    for (int from = 0; from < 64; ++from) {
        for (int to = 0; to < 64; ++to) {
            for (const Colour us : {WHITE, BLACK}) {
                for (const std::int32_t safety : {LOSING, SAFE, LOSING_BUT_GOOD_RECORD, SAFETY_UNKNOWN}) {
                    const std::int32_t index = CaptureStatIndex(BuildMove(from, to, QUEEN, QUEEN, 7), us, safety);
                    ASSERT_GE(index, 0);
                    largest = std::max(largest, index);
                }
            }
        }
    }
    EXPECT_LT(largest, CAPTURE_STATS);

    const auto index = [](int from, Colour us, std::int32_t safety) {
        return CaptureStatIndex(BuildMove(from, D5, PAWN, ROOK), us, safety);
    };
    EXPECT_EQ(index(A1, WHITE, SAFE), (ROOK * 8 + PAWN) | D5 << 6);
    EXPECT_EQ(index(A1, BLACK, LOSING), index(G1, WHITE, SAFE));
    EXPECT_EQ(index(C1, WHITE, SAFE), index(C1, BLACK, SAFE));
    EXPECT_NE(index(B1, WHITE, SAFE), index(B1, BLACK, SAFE));
    EXPECT_EQ(index(E1, WHITE, LOSING), index(E1, WHITE, SAFE));
    EXPECT_NE(index(C1, WHITE, LOSING_BUT_GOOD_RECORD), index(C1, WHITE, SAFE));
}

TEST_F(Ordering, CaptureRecordIsHalvedAbove256Tries) {
    for (int i = 0; i < 256; ++i) {
        CountCapture(77, i % 2 == 0);
    }
    EXPECT_EQ(CaptureTries[77], 256);
    EXPECT_EQ(CaptureWins[77], 128);
    CountCapture(77, true);
    EXPECT_EQ(CaptureTries[77], 128);
    EXPECT_EQ(CaptureWins[77], 64);
    for (int i = 0; i < 5000; ++i) {
        CountCapture(CAPTURE_STATS - 1, true);
        ASSERT_EQ(CaptureWins[CAPTURE_STATS - 1], CaptureTries[CAPTURE_STATS - 1]);
    }
}

}  // namespace
