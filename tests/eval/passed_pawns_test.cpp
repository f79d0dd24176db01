#include "eval/passed_pawns.h"

#include <cmath>

#include "eval/packed.h"
#include "eval/pawn_race.h"
#include "eval/pawn_structure.h"
#include "support/evaluation_tables.h"
#include "support/random_parameters.h"
#include "support/random_positions.h"

namespace {

/// Sets up a position with its pawn structure, and nothing added up yet.
void Prepare(const std::string& fen) {
    SetupFen(fen);
    ClearPawnHash();
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

class PassedPawns : public testing::Test {
  protected:
    static void SetUpTestSuite() { ResetEvaluation(); }
    static void TearDownTestSuite() { ResetEvaluation(); }
    void SetUp() override {
        AssignParameterDefaults();
        PackParameters();
    }

    /// Every number around 64, so that no factor swallows the others.
    static void RandomizeScores(RandomParameters& random) {
        random.Fill(PassedRankOpen, 8, -90, 90);
        random.Fill(PassedRankEnd, 8, -90, 90);
        random.Fill(PassedFileOpen, 4, 40, 90);
        random.Fill(PassedFileEnd, 4, 40, 90);
        random.Fill(PassedStateOpen, 8, -90, 90);
        random.Fill(PassedStateEnd, 16, -90, 90);
        random.Fill(PassedForceOpen, 13, 40, 90);
        random.Fill(PassedForceEnd, 13, 40, 90);
        random.Fill(&PassedOwnKing[0][0], 24, -60, 60);
        random.Fill(&PassedEnemyKing[0][0], 24, -60, 60);
        random.Fill(PassedRace, 18, -60, 60);
    }

    static void FillRaceTables() {
        FillRow(RaceAlone, 8, 100);
        FillRow(RaceLeadOne, 8, 200);
        FillRow(RaceLeadTwo, 8, 300);
        FillRow(RaceCheck, 8, 400);
        FillRow(RaceStopsQueen, 8, 500);
        FillRow(RaceFileSkewer, 8, 600);
        FillRow(RaceGPawnCorner, 8, 700);
        FillRow(RaceBPawnCorner, 8, 800);
        FillRow(RaceLoosePawns, 9, 900);
        FillRow(RaceLoosePawnsCheck, 9, 1000);
    }
};

TEST_F(PassedPawns, ScoreIsTheToldProduct) {
    const struct {
        const char* fen;
        int square;  // of a white pawn
        int state, ahead, force;
        int own_rank, own_file, enemy_rank, enemy_file, race;  // indices of the king tables
    } cases[] = {
        {"7k/8/8/8/3P4/8/8/K7 w - - ", 27, 5, 0, 6, 0, 3, 5, 3, 8},
        {"8/3k4/8/3K4/3P4/8/8/r7 b - - ", 27, 4, 1, 1, 3, 0, 5, 0, 5},
        {"8/8/k7/P7/1P6/8/8/4K2R w - - ", 32, 2, 1, 11, 0, 3, 3, 0, 16},
        {"r6k/4P1n1/8/8/8/8/8/K3R3 w - - ", 52, 4, 0, 3, 0, 3, 3, 3, 16},  // attacked twice, defended once
        {"r6k/4P3/8/8/8/8/8/K3R3 w - - ", 52, 5, 0, 6, 0, 3, 3, 3, 16},
        {"8/8/8/1Pk5/8/8/5K2/q6R b - - ", 33, 4, 0, 2, 0, 3, 2, 1, 14},
    };
    RandomParameters random(5);
    for (int round = 0; round < 40; ++round) {
        RandomizeScores(random);
        for (const auto& c : cases) {
            const int rank = c.square / 8;
            const int file = std::min(c.square % 8, 7 - c.square % 8);
            const int kings = std::clamp(PassedOwnKing[c.own_rank][c.own_file] +
                                             PassedEnemyKing[c.enemy_rank][c.enemy_file] + PassedRace[c.race],
                                         -150, 150);
            const double sigmoid = std::round(50 / (1 + std::exp(-0.05 * kings)) - 25);
            const auto product = [](double r, double s, double f, double force) {
                return static_cast<int>(std::floor(std::floor(r * s * f / 4096) * force / 64));
            };
            const int open =
                product(PassedRankOpen[rank], PassedStateOpen[c.state], PassedFileOpen[file], PassedForceOpen[c.force]);
            const int end = product(PassedRankEnd[rank], PassedStateEnd[c.state + 8 * c.ahead] + sigmoid,
                                    PassedFileEnd[file], PassedForceEnd[c.force]);
            for (const bool mirrored : {false, true}) {
                Prepare(mirrored ? ColourMirror(c.fen) : c.fen);
                ScorePassedPawn(mirrored ? MirrorRank(c.square) : c.square, mirrored ? BLACK : WHITE);
                const Colour enemy = mirrored ? WHITE : BLACK;
                EXPECT_EQ(thread_eval_info.open_score[enemy], -open) << c.fen << mirrored;
                EXPECT_EQ(thread_eval_info.end_score[enemy], -end) << c.fen << mirrored;
                EXPECT_EQ(thread_eval_info.open_score[ChangeSide(enemy)], 0);
                EXPECT_EQ(thread_eval_info.end_score[ChangeSide(enemy)], 0);
            }
        }
    }
}

TEST_F(PassedPawns, OnlyTheForemostPawnOfAFileIsScored) {
    std::fill_n(PassedRankOpen, 8, 0);
    PassedRankOpen[3] = 64;
    PassedRankOpen[4] = 4096;
    std::fill_n(PassedStateOpen, 8, 64);
    std::fill_n(PassedFileOpen, 4, 1);
    std::fill_n(PassedForceOpen, 13, 64);
    PassedPawnsOf("k6r/8/8/P7/P7/8/8/K6R w - - ");
    EXPECT_EQ(thread_eval_info.open_score[BLACK], -64);
    PassedPawnsOf("k6r/8/8/8/p7/p7/8/K6R w - - ");
    EXPECT_EQ(thread_eval_info.open_score[WHITE], 0);  // rank index 5 from Black's side
    EXPECT_EQ(thread_eval_info.open_score[BLACK], 0);
}

TEST_F(PassedPawns, ParametersBeyondAllReasonWrap) {
    for (std::int32_t* const row : {PassedRankOpen, PassedRankEnd, PassedStateOpen}) {
        std::fill_n(row, 8, INT32_MIN);
    }
    std::fill_n(PassedFileOpen, 4, INT32_MAX);
    std::fill_n(PassedFileEnd, 4, INT32_MIN);
    std::fill_n(PassedStateEnd, 16, INT32_MIN);
    std::fill_n(PassedForceOpen, 13, INT32_MIN);
    std::fill_n(PassedForceEnd, 13, INT32_MAX);
    std::fill_n(&PassedOwnKing[0][0], 24, INT32_MAX);
    std::fill_n(&PassedEnemyKing[0][0], 24, INT32_MAX);
    std::fill_n(PassedRace, 18, INT32_MAX);
    for (const char* fen : {"k6r/8/8/P7/P7/8/8/K6R w - - ", "8/8/P7/8/8/k7/8/2K5 b - - "}) {
        const std::int32_t packed = PassedPawnsOf(fen);
        EXPECT_EQ(PassedPawnsOf(fen), packed);
    }
}

TEST_F(PassedPawns, RooksBehindThePawn) {
    for (int square = 0; square < 64; ++square) {
        PassedRookBehind[square] = PackBoth(100 + square);
        PassedRookBehindBlocked[square] = PackBoth(200 + square);
        PassedEnemyRookBehind[square] = PackBoth(300 + square);
    }
    const int d5 = 63 - 35;
    const struct {
        const char* fen;
        int term;  // for the pawn's owner
    } cases[] = {
        {"7k/6q1/8/3P4/8/8/8/K2R4 w - - ", 100 + d5},    {"7k/6q1/3r4/3P4/8/8/8/K2R4 w - - ", 200 + d5},
        {"7k/3r4/8/3P4/8/8/8/K2R4 w - - ", 100 + d5},  // only the next square blocks
        {"7k/6q1/3B4/3P4/8/8/8/K2R4 w - - ", 100 + d5},  {"7k/6q1/8/3P4/8/8/3N4/K2R4 w - - ", 0},
        {"7k/6q1/3R4/3P4/8/8/8/K7 w - - ", 0},           {"7k/6q1/8/3P4/8/3r4/8/K7 w - - ", -300 - d5},
        {"7k/6q1/8/3P4/8/3r4/8/K2R4 w - - ", -300 - d5}, {"7k/8/8/3P4/8/3Q4/8/K5q1 w - - ", 0},
        {"7k/6n1/8/3P4/8/8/8/K2R4 w - - ", 100 + d5},    {"7k/8/8/3P4/8/8/8/K2R4 w - - ", 100 + d5},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(BothHalves(PassedPawnsOf(c.fen)), -c.term) << c.fen;
    }
    // A black pawn reads its own square.
    EXPECT_EQ(BothHalves(PassedPawnsOf("3r3k/8/8/3p4/8/8/6Q1/K7 b - - ")), 100 + 35);
}

TEST_F(PassedPawns, MovesToPromotion) {
    FillRaceTables();
    constexpr int NEVER = -1;
    const struct {
        const char* fen;
        int moves;  // index of RaceAlone
        int valid;
    } cases[] = {
        // A bare enemy king.
        {"7k/8/8/8/8/8/P7/K7 w - - ", 5, 0},
        {"7k/8/8/8/8/8/P7/K7 b - - ", 6, 0},
        {"7k/8/8/8/P7/8/8/K7 w - - ", 4, 0},
        {"7k/8/8/8/P7/8/8/K7 b - - ", 4, 0},
        {"4k3/8/8/8/P7/8/8/7K w - - ", NEVER, 1},
        {"5k2/7K/6P1/8/8/8/8/8 w - - ", 1, 0},  // a move less for a king in the way
        {"5k2/7K/6P1/8/8/8/8/8 b - - ", 1, 0},
        {"6k1/8/6P1/8/8/8/8/K7 w - - ", NEVER, 1},
        // The own king in the way.
        {"7k/8/8/8/K7/P7/8/8 w - - ", 6, 0},
        {"7k/8/8/8/K7/P7/8/8 b - - ", 6, 0},
        {"8/K7/P7/8/8/8/8/2k5 w - - ", NEVER, 1},
        {"8/K7/P7/8/8/8/8/3k4 w - - ", 3, 0},
        {"8/K7/P7/8/8/8/8/3k4 b - - ", NEVER, 1},
        {"8/K7/P7/8/8/8/8/4k3 b - - ", 3, 0},
        {"8/1K6/1P6/8/8/8/8/2k5 w - - ", 3, 0},
        {"7k/8/8/8/8/1K6/1P6/8 w - - ", NEVER, 1},  // no rank to go back to
        {"8/8/2R5/2K5/2P5/8/8/7k w - - ", 6, 0},    // a move for each piece
        {"8/2K5/8/2P5/8/8/8/6k1 w - - ", 4, 0},
        {"6k1/2K5/8/2P5/8/8/8/8 w - - ", NEVER, 1},  // in the square once the pawn goes a rank back
        {"7k/2K5/8/2P5/8/8/8/8 w - - ", 4, 0},
        // The enemy king locked in.
        {"2k5/2P5/2K5/8/8/8/7P/8 w - - ", 5, 0},
        {"2k5/8/2K5/8/8/8/7P/8 w - - ", NEVER, 1},
        // Knights.
        {"7k/8/P7/8/8/8/8/K6n w - - ", 2, 0},
        {"7k/8/P7/8/8/8/8/K6n b - - ", 2, 0},
        {"2n4k/8/P7/8/8/8/8/K7 w - - ", NEVER, 0},
        {"7k/P7/1n6/8/8/8/8/K7 w - - ", NEVER, 0},
        {"4n2k/P7/8/3K4/8/8/8/8 w - - ", NEVER, 0},  // c7 forks
        {"4n2k/P7/8/8/4K3/8/8/8 w - - ", 1, 0},
        {"n6k/8/P7/8/8/8/8/K7 w - - ", NEVER, 1},
        {"7k/8/P7/8/8/8/8/K6b w - - ", NEVER, 1},
        {"2k5/8/P7/8/8/8/8/K6n w - - ", NEVER, 1},
        // Far apart: the slower of two, and one move for the king in the way of the other.
        {"8/8/8/7k/8/1K6/1P5P/8 w - - ", 6, 0},
        {"8/8/8/7k/8/1K6/1P5P/8 b - - ", NEVER, 0},
        {"8/8/8/7k/8/1K6/1PP5/8 w - - ", NEVER, 1},
    };
    for (const auto& c : cases) {
        for (const bool mirrored : {false, true}) {
            const int sum = BothHalves(PassedPawnsOf(mirrored ? ColourMirror(c.fen) : c.fen));
            const int term = c.moves == NEVER ? 0 : 100 + c.moves;
            EXPECT_EQ(sum, mirrored ? term : -term) << c.fen << mirrored;
            EXPECT_EQ(thread_eval_info.both_sides_valid, c.valid) << c.fen << mirrored;
        }
    }
}

TEST_F(PassedPawns, TermsByNumberOfFilesAndByBlockedKing) {
    FillRow(PassedCountNoPieces, 5, 10);
    FillRow(PassedCountKnight, 5, 20);
    FillRow(PassedCountBishop, 5, 30);
    FillRow(BlockedKingWin, 8, 1000);
    const struct {
        const char* fen;
        int term;  // White's less Black's
    } cases[] = {
        {"7k/8/8/8/3P4/8/8/K7 w - - ", 11 - 10},  // Black's empty count is a count too
        {"7k/8/8/8/PPP5/8/8/K7 w - - ", 13 - 10},
        {"7k/8/8/8/P1PPP1P1/8/8/K7 w - - ", 14 - 10},
        {"6nk/8/8/8/PPP5/8/8/K7 w - - ", 23 - 10},
        {"6bk/8/8/8/P7/P7/8/K7 w - - ", 31 - 10},
        {"5nbk/8/8/8/P7/8/8/K7 w - - ", 0 - 10},
        {"6rk/8/8/8/P7/8/8/KR6 w - - ", 0},
        {"4k3/8/4K3/4P2p/7P/8/8/8 w - - ", 1004 + 11 - 10},
        {"4k3/8/4K3/4P2p/7P/8/8/8 b - - ", 1004 + 11 - 10},
        {"4k3/8/4K3/4P2p/8/8/8/8 b - - ", 11 - 11},   // a passed pawn of its own
        {"4k3/8/4K2p/4P3/7P/8/8/8 b - - ", 11 - 10},  // which can move
        {"4k3/8/4K1pp/4P1P1/7P/8/8/8 b - - ", 11 - 10},
        {"8/4k3/4P2p/4K2P/8/8/8/8 w - - ", 11 - 10},  // no win by the table
        {"4k3/8/4K3/4P3/8/8/8/8 w - - ", 11 - 10},    // no pawns
        {"4k2n/8/4K3/4P2p/7P/8/8/8 w - - ", 21 - 10},
    };
    for (const auto& c : cases) {
        for (const bool mirrored : {false, true}) {
            const int sum = BothHalves(PassedPawnsOf(mirrored ? ColourMirror(c.fen) : c.fen));
            EXPECT_EQ(sum, mirrored ? c.term : -c.term) << c.fen << mirrored;
        }
    }
}

TEST_F(PassedPawns, WhoIsAheadInTheRace) {
    FillRaceTables();
    constexpr int NONE = RunningPawn::NONE;
    const struct {
        int own, other;  // moves, with the owner of the first to move
        int term;        // in its favour
    } cases[] = {
        {NONE, NONE, 0}, {3, NONE, 104}, {NONE, 3, -103}, {9, NONE, 107}, {NONE, -1, -100}, {2, 5, 303},
        {2, 4, 203},     {2, 3, 0},      {2, 2, 0},       {2, 1, -201},   {2, 0, -300},
    };
    // Neither queen has anything to attack.
    const std::string quiet = "8/8/2k5/8/P6p/2K5/8/8 ";
    for (const auto& c : cases) {
        const RunningPawn own{.moves = c.own, .square = 24};
        const RunningPawn other{.moves = c.other, .square = 31};
        Prepare(quiet + "w - - ");
        std::fill_n(RaceStopsQueen, 8, 0);
        std::fill_n(RaceCheck, 8, 0);
        EXPECT_EQ(BothHalves(RaceTerm(other, own)), -c.term) << c.own << ' ' << c.other;
        EXPECT_EQ(thread_eval_info.both_sides_valid, c.own == NONE && c.other == NONE ? 1 : 0);
        thread_board.SideToMove = BLACK;
        EXPECT_EQ(BothHalves(RaceTerm(own, other)), c.term) << c.own << ' ' << c.other;
    }
}

TEST_F(PassedPawns, TheFirstQueenDecides) {
    FillRaceTables();
    const struct {
        const char* board;
        int pawn, other;  // the running pawns, White's first
        int term;         // for White, who queens in three moves
    } cases[] = {
        {"7k/8/8/P7/8/8/7p/K7", 32, 15, 403},
        {"4K2k/8/8/P7/8/8/6p1/8", 32, 14, 0},   // the own king in between
        {"8/8/8/P7/8/8/k6p/7K", 32, 15, 403},   // down the file that the pawn has left
        {"8/8/3k4/P7/8/7p/8/K7", 32, 23, 503},  // along the diagonal
        {"8/8/3k4/P7/8/7p/8/5K2", 32, 23, 503},
        {"8/8/8/P7/8/7p/6k1/1K6", 32, 23, 403},
        {"8/8/3k4/P7/4K3/7p/8/8", 32, 23, 0},   // diagonal shut
        {"8/8/8/P7/8/7p/8/K5k1", 32, 23, 0},    // its king covers the square
        {"8/8/3k4/P7/8/p7/8/7K", 32, 16, 503},  // the pawn behind on the same file
        {"8/8/8/P7/8/p7/1k6/7K", 32, 16, 0},
        // Skewers along the file.
        {"8/8/P7/4k3/8/4p3/8/K7", 40, 20, 603},
        {"4K3/8/P7/4k3/8/4p3/8/8", 40, 20, 0},
        {"3K4/8/P7/4k3/8/4p3/8/8", 40, 20, 0},
        {"8/4k3/P7/8/8/4p3/8/K7", 40, 20, 0},
        {"8/8/P3P3/4k3/8/4p3/8/K7", 40, 20, 0},
        {"8/8/P7/4k3/8/4p3/8/K6n", 40, 20, 0},  // with pieces all is open
        // Kings beside their pawns in the corner.
        {"8/8/P7/8/7k/6p1/8/K7", 40, 22, 703},
        {"8/8/P6k/8/8/6p1/8/K7", 40, 22, 703},
        {"8/8/P7/8/8/6pk/8/K7", 40, 22, 0},
        {"8/8/P7/6P1/7k/6p1/8/K7", 40, 22, 0},
        {"8/7P/P7/8/7k/6p1/8/K7", 40, 22, 0},
        {"8/8/P7/8/6pk/8/8/2K5", 40, 30, 703},
        {"8/8/7P/8/k7/1p6/8/7K", 47, 17, 803},
        {"8/8/7P/8/8/kp6/8/7K", 47, 17, 0},
        {"8/8/6P1/8/1k6/p7/8/7K", 46, 16, 0},
        // Loose pawns.
        {"2K5/2p5/1P6/7k/8/7p/8/8", 41, 23, 901},
        {"2K5/2p5/1P6/4p2k/3p2p1/7p/8/8", 41, 23, 902},
        {"2K5/8/1P6/7k/8/7p/8/8", 41, 23, 0},
        {"2K5/8/1P6/7k/6p1/7p/8/8", 41, 23, 0},
        {"8/2p5/1P6/7k/8/3p4/8/K7", 41, 19, 1001},
        {"8/1ppP4/2k4p/1P6/8/6p1/8/7K", 33, 22, 901},    // nothing but contact checks
        {"3K4/1ppP4/2k4p/1P6/8/6p1/8/8", 33, 22, 1001},  // the king guards one
        {"8/1ppP4/1Pk4p/1P6/8/6p1/8/7K", 33, 22, 1001},  // a pawn does
    };
    for (const auto& c : cases) {
        const std::string fen = std::string(c.board) + " w - - ";
        const RunningPawn white{.moves = 2, .square = c.pawn};
        const RunningPawn black{.moves = 3, .square = c.other};
        Prepare(fen);
        EXPECT_EQ(BothHalves(RaceTerm(black, white)), -c.term) << fen;
        thread_board.SideToMove = BLACK;
        EXPECT_EQ(BothHalves(RaceTerm({.moves = 3, .square = c.other}, {.moves = 3, .square = c.pawn})), -c.term)
            << fen;

        Prepare(ColourMirror(fen));
        EXPECT_EQ(BothHalves(RaceTerm({.moves = 2, .square = MirrorRank(c.pawn)},
                                      {.moves = 3, .square = MirrorRank(c.other)})),
                  c.term)
            << fen << " mirrored";
    }
}

/// A position of two kings that do not touch, pawns, and a few pieces or none.
std::string RandomEnding(RandomParameters& random) {
    std::string board(64, '1');
    const auto place = [&](char man, int low, int high) {
        const int square = random.Between(low, high);
        if (board[static_cast<std::size_t>(square)] == '1') {
            board[static_cast<std::size_t>(square)] = man;
        }
        return square;
    };
    const int white = place('K', 0, 63);
    int black = white;
    while (std::abs(white % 8 - black % 8) <= 1 && std::abs(white / 8 - black / 8) <= 1) {
        black = random.Between(0, 63);
    }
    board[static_cast<std::size_t>(black)] = 'k';
    const int pawns = random.Between(1, 6);
    for (int i = 0; i < pawns; ++i) {
        place(random.Between(0, 1) != 0 ? 'P' : 'p', 8, 55);
    }
    for (const char* men : {"NBRQ", "nbrq"}) {
        const int pieces = std::max(random.Between(-2, 2), 0);
        for (int i = 0; i < pieces; ++i) {
            // Knights most of all: they have rules of their own.
            place(men[std::max(random.Between(-3, 3), 0)], 0, 63);
        }
    }
    std::string fen;
    for (std::size_t rank = 8; rank-- > 0;) {
        fen += board.substr(8 * rank, 8) + (rank > 0 ? "/" : "");
    }
    return fen + (random.Between(0, 1) != 0 ? " w - - " : " b - - ");
}

TEST_F(PassedPawns, ColourMirrorIsTheExactOpposite) {
    RandomParameters random(77);
    RandomizeScores(random);
    random.FillPackedBySquare(PassedRookBehind);
    random.FillPackedBySquare(PassedRookBehindBlocked);
    random.FillPackedBySquare(PassedEnemyRookBehind);
    for (std::int32_t* const row : {RaceAlone, RaceLeadOne, RaceLeadTwo, RaceCheck, RaceStopsQueen, RaceFileSkewer,
                                    RaceBPawnCorner, RaceGPawnCorner, BlockedKingWin}) {
        random.FillPacked(row, 8);
    }
    random.FillPacked(RaceLoosePawns, 9);
    random.FillPacked(RaceLoosePawnsCheck, 9);
    random.FillPacked(PassedCountNoPieces, 5);
    random.FillPacked(PassedCountKnight, 5);
    random.FillPacked(PassedCountBishop, 5);

    std::vector<std::string> positions = RandomPositions(31, 3, 160);
    for (int i = 0; i < 20000; ++i) {
        positions.push_back(RandomEnding(random));
    }
    int races = 0;
    for (const std::string& fen : positions) {
        const std::int32_t packed = PassedPawnsOf(fen);
        const ThreadEvalInfo info = thread_eval_info;
        races += info.both_sides_valid == 0;
        ASSERT_EQ(PackedAdd(PassedPawnsOf(ColourMirror(fen)), packed), 0) << fen;
        ASSERT_EQ(thread_eval_info.both_sides_valid, info.both_sides_valid) << fen;
        for (const Colour colour : {WHITE, BLACK}) {
            ASSERT_EQ(thread_eval_info.open_score[ChangeSide(colour)], info.open_score[colour]) << fen;
            ASSERT_EQ(thread_eval_info.end_score[ChangeSide(colour)], info.end_score[colour]) << fen;
        }
    }
    EXPECT_GT(races, 1000);
}

// Pawns on the outer ranks can be set up; the answer is of no interest, that there is one is.
TEST_F(PassedPawns, PawnsOnTheOuterRanksAreSurvived) {
    for (const char* fen :
         {"P6k/8/8/8/8/8/8/K6p w - - ", "P6k/8/8/8/8/8/8/K6p b - - ", "7P/8/8/k7/8/K7/8/p7 w - - ",
          "k6K/8/8/8/8/8/8/PPPppppp w - - ", "PPPPpppp/8/8/8/8/8/8/8 b - - ", "P6k/n7/8/8/8/8/N7/K6p w - - "}) {
        const std::int32_t packed = PassedPawnsOf(fen);
        EXPECT_EQ(PassedPawnsOf(fen), packed) << fen;
    }
}

// The private scores decide a duel of two pawns.
TEST_F(PassedPawns, PassedPawnsOfADuelGoThroughItsSigmoid) {
    std::fill_n(TempoBonus, 8, 50);
    PassedRankEnd[4] = 64;
    std::fill_n(PassedStateEnd, 16, 64);
    std::fill_n(PassedFileEnd, 4, 64);
    std::fill_n(PassedForceEnd, 13, 64);
    PawnDuelAmplitude = 400;
    PawnDuelSlope = 30;
    std::int32_t result = 0;
    SetupFen("4k3/8/8/1P4p1/8/8/8/4K3 b - - ");
    ClearPawnHash();
    EvaluateFull(result);
    const int lead =
        thread_eval_info.end_score[BLACK] - thread_eval_info.end_score[WHITE] + PackedEnding(thread_eval_info.packed);
    EXPECT_LT(thread_eval_info.end_score[BLACK], 0);
    const double sigmoid = std::round(400 / (std::exp(-0.03 * std::abs(lead)) + 1) - 200);
    EXPECT_EQ(result, static_cast<int>(std::floor(sigmoid * lead / 64)));
}

}  // namespace
