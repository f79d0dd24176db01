#include "eval/passed_pawns.h"

#include "eval/pawn_race.h"
#include "eval/pawn_structure.h"
#include "support/evaluation_fixture.h"

namespace {

/// Sets up a position with its pawn structure, and nothing added up yet.
void Prepare(const std::string& fen) {
    SetupFen(fen);
    thread_board.PawnEntry.key = ~thread_board.PawnKey;
    thread_eval_info = {};
    EvaluatePawnStructure();
    thread_eval_info.packed = 0;
    thread_eval_info.both_sides_valid = 1;
}

std::int32_t PassedPawnsOf(const std::string& fen) {
    Prepare(fen);
    return EvaluatePassedPawns(0);
}

/// The value of a packed term that counts the same in both phases.
int BothHalves(std::int32_t packed) {
    EXPECT_EQ(packed, PackBoth(PackedEnding(packed)));
    return PackedEnding(packed);
}

void FillRow(std::int32_t* row, int count, int first) {
    for (int i = 0; i < count; ++i) {
        row[i] = PackBoth(first + i);
    }
}

class PassedPawns : public EvaluationTest {
  protected:
    static void FillRaceTables() {
        int first = 0;
        for (std::int32_t* row : {RaceAlone, RaceLeadOne, RaceLeadTwo, RaceCheck, RaceStopsQueen, RaceFileSkewer,
                                  RaceGPawnCorner, RaceBPawnCorner}) {
            FillRow(row, 8, first += 100);
        }
        FillRow(RaceLoosePawns, 9, 900);
        FillRow(RaceLoosePawnsCheck, 9, 1000);
    }

    /// Positions, and after each what the terms come to for White.
    static void ExpectTerms(const std::string& text) {
        for (const TextCase& c : TextCases(text)) {
            FromBothSides(c.fen, [&](const Seen& seen) {
                EXPECT_EQ(BothHalves(PassedPawnsOf(seen.fen)), seen.For(c.Number(0))) << seen.fen;
            });
        }
    }

    /// Positions in which at most one pawn runs: the moves that it takes or "-", and "mover" where that hangs on the
    /// side to move.
    static void ExpectMoves(const std::string& text) {
        for (const TextCase& c : TextCases(text)) {
            FromBothSides(c.fen, [&](const Seen& seen) {
                const int term = c.words[0] == "-" ? 0 : 100 + c.Number(0);
                EXPECT_EQ(BothHalves(PassedPawnsOf(seen.fen)), seen.For(term)) << seen.fen;
                EXPECT_EQ(thread_eval_info.both_sides_valid, c.words.size() == 1) << seen.fen;
            });
        }
    }
};

TEST_F(PassedPawns, OnlyTheForemostPawnOfAFileIsScored) {
    std::fill_n(PassedRankOpen, 8, 0);
    PassedRankOpen[3] = 64;
    PassedRankOpen[4] = 4096;
    std::fill_n(PassedStateOpen, 8, 64);
    std::fill_n(PassedFileOpen, 4, 1);
    std::fill_n(PassedForceOpen, 13, 64);
    FromBothSides("k6r/8/8/P7/P7/8/8/K6R", [](const Seen& seen) {
        PassedPawnsOf(seen.fen);
        EXPECT_EQ(thread_eval_info.open_score[seen.Of(BLACK)], -64) << seen.fen;
    });
}

TEST_F(PassedPawns, RooksBehindThePawn) {
    for (int square = 0; square < 64; ++square) {
        // Both wings alike.
        const int entry = 8 * RankOf(square) + std::min(FileOf(square), 7 - FileOf(square));
        PassedRookBehind[square] = PackBoth(100 + entry);
        PassedRookBehindBlocked[square] = PackBoth(200 + entry);
        PassedEnemyRookBehind[square] = PackBoth(300 + entry);
    }
    // A white pawn on d5 reads the fourth rank. Only the next square blocks.
    ExpectTerms(
        "7k/6q1/8/3P4/8/8/8/K2R4 127; 7k/6q1/3r4/3P4/8/8/8/K2R4 227; 7k/3r4/8/3P4/8/8/8/K2R4 127; "
        "7k/6q1/3B4/3P4/8/8/8/K2R4 127; 7k/6q1/8/3P4/8/8/3N4/K2R4 0; 7k/6q1/3R4/3P4/8/8/8/K7 0; "
        "7k/6q1/8/3P4/8/3r4/8/K7 -327; 7k/6q1/8/3P4/8/3r4/8/K2R4 -327; 7k/8/8/3P4/8/3Q4/8/K5q1 0; "
        "7k/6n1/8/3P4/8/8/8/K2R4 127; 7k/8/8/3P4/8/8/8/K2R4 127");
    EXPECT_EQ(BothHalves(PassedPawnsOf("3r3k/8/8/3p4/8/8/6Q1/K7 b")), 100 + 35);  // and a black one the fifth
}

TEST_F(PassedPawns, MovesToPromotion) {
    FillRaceTables();
    // A bare enemy king.
    ExpectMoves(
        "7k/8/8/8/8/8/P7/K7 5 mover; 7k/8/8/8/8/8/P7/K7 b 6 mover; 7k/8/8/8/P7/8/8/K7 4 mover; "
        "7k/8/8/8/P7/8/8/K7 b 4 mover; 4k3/8/8/8/P7/8/8/7K -; 5k2/7K/6P1/8/8/8/8/8 1 mover; "
        "5k2/7K/6P1/8/8/8/8/8 b 1 mover; 6k1/8/6P1/8/8/8/8/K7 -");
    // The own king in the way.
    ExpectMoves(
        "7k/8/8/8/K7/P7/8/8 6 mover; 7k/8/8/8/K7/P7/8/8 b 6 mover; 8/K7/P7/8/8/8/8/2k5 -; "
        "8/K7/P7/8/8/8/8/3k4 3 mover; 8/K7/P7/8/8/8/8/3k4 b - mover; 8/K7/P7/8/8/8/8/4k3 b 3 mover; "
        "8/1K6/1P6/8/8/8/8/2k5 3 mover; 7k/8/8/8/8/1K6/1P6/8 -; 8/8/2R5/2K5/2P5/8/8/7k 6 mover; "
        "8/2K5/8/2P5/8/8/8/6k1 4 mover; 6k1/2K5/8/2P5/8/8/8/8 -; 7k/2K5/8/2P5/8/8/8/8 4 mover");
    // The enemy king locked in.
    ExpectMoves("2k5/2P5/2K5/8/8/8/7P/8 5 mover; 2k5/8/2K5/8/8/8/7P/8 -");
    // Knights.
    ExpectMoves(
        "7k/8/P7/8/8/8/8/K6n 2 mover; 7k/8/P7/8/8/8/8/K6n b 2 mover; 2n4k/8/P7/8/8/8/8/K7 - mover; "
        "7k/P7/1n6/8/8/8/8/K7 - mover; 4n2k/P7/8/3K4/8/8/8/8 - mover; 4n2k/P7/8/8/4K3/8/8/8 1 mover; "
        "n6k/8/P7/8/8/8/8/K7 -; 7k/8/P7/8/8/8/8/K6b -; 2k5/8/P7/8/8/8/8/K6n -");
    // Far apart: the slower of two, and one move for the king in the way of the other.
    ExpectMoves(
        "8/8/8/7k/8/1K6/1P5P/8 6 mover; 8/8/8/7k/8/1K6/1P1P4/8 5 mover; 8/8/8/7k/8/1K6/1P5P/8 b - mover; "
        "8/8/8/7k/8/1K6/1PP5/8 -");
}

TEST_F(PassedPawns, TermsByNumberOfFilesAndByBlockedKing) {
    FillRow(PassedCountNoPieces, 5, 10);
    FillRow(PassedCountKnight, 5, 20);
    FillRow(PassedCountBishop, 5, 30);
    FillRow(BlockedKingWin, 8, 1000);
    // Black's empty count is a count too.
    ExpectTerms(
        "7k/8/8/8/3P4/8/8/K7 1; 7k/8/8/8/PPP5/8/8/K7 3; 7k/8/8/8/P1PPP1P1/8/8/K7 4; 6nk/8/8/8/PPP5/8/8/K7 13; "
        "6bk/8/8/8/P7/P7/8/K7 21; 5nbk/8/8/8/P7/8/8/K7 -10; 6rk/8/8/8/P7/8/8/KR6 0; 4k3/8/4K3/4P2p/7P/8/8/8 1005; "
        "4k3/8/4K3/4P2p/7P/8/8/8 b 1005; 4k3/8/4K3/4P2p/8/8/8/8 b 0; 4k3/8/4K2p/4P3/7P/8/8/8 b 1; "
        "4k3/8/4K1pp/4P1P1/7P/8/8/8 b 1; 8/4k3/4P2p/4K2P/8/8/8/8 1; 4k3/8/4K3/4P3/8/8/8/8 1; "
        "4k2n/8/4K3/4P2p/7P/8/8/8 11");
    // A win of the mover alone.
    for (const char* side : {"", " b"}) {
        FromBothSides("8/4k3/8/3K4/4P2p/7P/8/8" + std::string(side), [](const Seen& seen) {
            PassedPawnsOf(seen.fen);
            EXPECT_EQ(thread_eval_info.both_sides_valid, 0) << seen.fen;
        });
    }
}

TEST_F(PassedPawns, WhoIsAheadInTheRace) {
    FillRaceTables();
    // Neither queen has anything to attack.
    std::fill_n(RaceStopsQueen, 8, 0);
    std::fill_n(RaceCheck, 8, 0);
    constexpr int NONE = RunningPawn::NONE;
    const struct {
        int own, other;  // moves, with the owner of the first to move
        int term;        // in its favour
    } cases[] = {{NONE, NONE, 0}, {3, NONE, 104}, {NONE, 3, -103}, {9, NONE, 107}, {NONE, -1, -100}, {2, 5, 303},
                 {2, 4, 203},     {2, 3, 0},      {2, 2, 0},       {2, 1, -201},   {2, 0, -300}};
    for (const auto& c : cases) {
        const RunningPawn own{.moves = c.own, .square = 24};
        const RunningPawn other{.moves = c.other, .square = 31};
        Prepare("8/8/2k5/8/P6p/2K5/8/8");
        EXPECT_EQ(BothHalves(RaceTerm(other, own)), -c.term) << c.own << ' ' << c.other;
        EXPECT_EQ(thread_eval_info.both_sides_valid, c.own == NONE && c.other == NONE ? 1 : 0);
        thread_board.SideToMove = BLACK;
        EXPECT_EQ(BothHalves(RaceTerm(own, other)), c.term) << c.own << ' ' << c.other;
    }
}

TEST_F(PassedPawns, TheFirstQueenDecides) {
    FillRaceTables();
    // The squares of the running pawns, White's first, and the term for White, who queens in three moves: a check, the
    // other queen stopped, a skewer, kings beside their pawns in the corner, loose pawns.
    const std::string text =
        "7k/8/8/P7/8/8/7p/K7 32 15 403; 4K2k/8/8/P7/8/8/6p1/8 32 14 0; 8/8/8/P7/8/8/k6p/7K 32 15 403; "
        "8/8/3k4/P7/8/7p/8/K7 32 23 503; 8/8/3k4/P7/8/7p/8/5K2 32 23 503; 8/8/8/P7/8/7p/6k1/1K6 32 23 403; "
        "8/8/3k4/P7/4K3/7p/8/8 32 23 0; 8/8/8/P7/8/7p/8/K5k1 32 23 0; 8/8/3k4/P7/8/p7/8/7K 32 16 503; "
        "8/8/8/P7/8/p7/1k6/7K 32 16 0; 8/8/P7/4k3/8/4p3/8/K7 40 20 603; 4K3/8/P7/4k3/8/4p3/8/8 40 20 0; "
        "3K4/8/P7/4k3/8/4p3/8/8 40 20 0; 8/4k3/P7/8/8/4p3/8/K7 40 20 0; 8/8/P3P3/4k3/8/4p3/8/K7 40 20 0; "
        "8/8/P7/4k3/8/4p3/8/K6n 40 20 0; 8/8/P7/8/7k/6p1/8/K7 40 22 703; 8/8/P6k/8/8/6p1/8/K7 40 22 703; "
        "8/8/P7/8/8/6pk/8/K7 40 22 0; 8/8/P7/6P1/7k/6p1/8/K7 40 22 0; 8/7P/P7/8/7k/6p1/8/K7 40 22 0; "
        "8/8/P7/8/6pk/8/8/2K5 40 30 703; 8/8/7P/8/k7/1p6/8/7K 47 17 803; 8/8/7P/8/8/kp6/8/7K 47 17 0; "
        "8/8/6P1/8/1k6/p7/8/7K 46 16 0; 2K5/2p5/1P6/7k/8/7p/8/8 41 23 901; 2K5/2p1p3/1P1p4/7k/8/7p/8/8 41 23 902; "
        "2K5/2p5/1P6/4p2k/3p2p1/7p/8/8 41 23 902; 2K5/8/1P6/7k/8/7p/8/8 41 23 0; 2K5/8/1P6/7k/6p1/7p/8/8 41 23 0; "
        "8/2p5/1P6/7k/8/3p4/8/K7 41 19 1001; 8/1ppP4/2k4p/1P6/8/6p1/8/7K 33 22 901; "
        "3K4/1ppP4/2k4p/1P6/8/6p1/8/8 33 22 1001; 8/1ppP4/1Pk4p/1P6/8/6p1/8/7K 33 22 1001";
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            const RunningPawn first{.moves = 2, .square = seen.At(c.Number(0))};
            const RunningPawn second{.moves = 3, .square = seen.At(c.Number(1))};
            Prepare(seen.fen);
            EXPECT_EQ(BothHalves(seen.mirrored ? RaceTerm(first, second) : RaceTerm(second, first)),
                      seen.For(c.Number(2)))
                << seen.fen;
        });
        // The same with Black to move, who has one move less to go then.
        Prepare(c.fen + " b");
        EXPECT_EQ(BothHalves(RaceTerm({.moves = 3, .square = c.Number(1)}, {.moves = 3, .square = c.Number(0)})),
                  -c.Number(2))
            << c.fen;
    }
}

}  // namespace
