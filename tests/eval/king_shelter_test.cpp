#include "eval/king_shelter.h"

#include <algorithm>
#include <limits>

#include "position/settings.h"
#include "support/evaluation_tables.h"
#include "support/random_positions.h"

namespace {

/// Every number different, so that a wrong one shows; the penalty is the plain weakness.
class KingShelter : public testing::Test {
  protected:
    static void SetUpTestSuite() { ResetEvaluation(); }
    static void TearDownTestSuite() {
        AssignStyleDefaults();
        ResetEvaluation();
    }
    void SetUp() override {
        AssignParameterDefaults();
        std::fill_n(KingSquareShelter, 64, 0);
        CastleFileWeight = 16;
        CastleWingWeight = 0;
        const std::int32_t open[] = {9, 13, 21};
        const std::int32_t half_open[] = {5, 10, 17};
        std::copy_n(open, 3, FileOpen);
        std::copy_n(half_open, 3, FileHalfOpen);
        CentreFileOpen[0] = 4;
        CentreFileOpen[1] = 14;
        CentreFileHalfOpen[0] = 6;
        CentreFileHalfOpen[1] = 20;
        FianchettoHole = 32;
        std::fill_n(&ShelterScale[0][0][0], 30, 256);
        for (int i = 0; i < 64; ++i) {
            ShelterPenalty[i] = 100 * i;
        }
        AggressivityRate = 100;
        CowardiceRate = 100;
        EngineSide = WHITE;
    }

    /// The penalty of White's king; wings as the pawn structure would have it.
    static int Penalty(const std::string& fen, int kings_wing, int queens_wing) {
        return PenaltyOf(WHITE, fen, kings_wing, queens_wing);
    }
    /// The same for Black's king in the mirrored position.
    static int MirrorPenalty(const std::string& fen, int kings_wing, int queens_wing) {
        return PenaltyOf(BLACK, ColourMirror(fen), kings_wing, queens_wing);
    }

  private:
    static int PenaltyOf(Colour colour, const std::string& fen, int kings_wing, int queens_wing) {
        SetupFen(fen);
        thread_board.PawnEntry.WingShelter[colour][0] = static_cast<std::uint8_t>(kings_wing);
        thread_board.PawnEntry.WingShelter[colour][1] = static_cast<std::uint8_t>(queens_wing);
        thread_board.PawnEntry.WingShelter[ChangeSide(colour)][0] = 200;
        thread_board.PawnEntry.WingShelter[ChangeSide(colour)][1] = 200;
        EvaluateKingShelter(colour);
        return thread_eval_info.shelter_penalty[colour];
    }
};

TEST_F(KingShelter, EveryConditionOfTheText) {
    const struct {
        const char* fen;
        int kings_wing, queens_wing, penalty;
    } cases[] = {
        // With a right to castle: files d, e, f.
        {"4k3/3ppp2/8/8/8/8/3PPP2/R2QK2R w KQ - ", 0, 0, 0},
        {"4k3/3ppp2/8/8/8/5P2/3PP3/R2QK2R w KQ - ", 0, 0, 1},
        {"4k3/3ppp2/8/8/5P2/8/3PP3/R2QK2R w KQ - ", 0, 0, 2},
        {"4k3/3ppp2/8/5P2/8/8/3PP3/R2QK2R w KQ - ", 0, 0, 2},
        {"4k3/3ppp2/5P2/8/8/8/3PPP2/R2QK2R w KQ - ", 0, 0, 0},  // of two pawns the one at home
        {"4k3/4pp2/8/8/8/8/4PP2/R2QK2R w K - ", 0, 0, 9},       // d open
        {"4k3/3pp3/8/8/8/8/3PP3/R2QK2R w K - ", 0, 0, 21},      // f open
        {"4k3/3ppp2/8/8/8/8/3P1P2/R2QK2R w Q - ", 0, 0, 10},    // e half open
        {"4k3/3p1p2/8/8/4P3/8/3P1P2/R2QK2R w Q - ", 0, 0, 2},
        {"4k3/3p1p2/8/8/8/8/8/R2QK2R w KQ - ", 0, 0, 5 + 13 + 17},
        // Without one: the king's own wing.
        {"4k3/8/8/8/8/8/8/R2Q2KR w - - ", 7, 40, 7},
        {"4k3/8/8/8/8/8/8/RK1Q3R w - - ", 7, 40, 40},
        {"4k3/8/8/8/8/8/8/R1KQ3R w - - ", 7, 40, 40},
        {"4k3/8/8/8/8/8/8/R2Q1K1R w - - ", 7, 40, 7},
        // The fianchetto's hole: own pawn gone, a pawn or bishop in it, an enemy queen.
        {"3qk3/8/8/8/8/5p2/8/6K1 w - - ", 1, 2, 33},
        {"3qk3/8/8/8/8/5b2/8/6K1 w - - ", 1, 2, 33},
        {"3qk3/8/8/8/8/5n2/8/6K1 w - - ", 1, 2, 1},
        {"3qk3/8/8/8/8/5P2/8/6K1 w - - ", 1, 2, 1},
        {"3rk3/8/8/8/8/5p2/8/6K1 w - - ", 1, 2, 1},
        {"3qk3/8/8/8/8/5p2/6P1/6K1 w - - ", 1, 2, 1},
        {"3qk3/8/8/8/8/5p2/6B1/6K1 w - - ", 1, 2, 33},
        {"3qk3/8/8/8/8/2p5/8/6K1 w - - ", 1, 2, 1},  // the other wing's hole
        {"3qk3/8/8/8/8/2p5/8/1K6 w - - ", 1, 2, 34},
        {"3qk3/8/8/8/8/2b5/1P6/1K6 w - - ", 1, 2, 2},
        {"3qk3/8/8/8/8/2b5/6P1/1K6 w - - ", 1, 2, 34},
        // A king on d or e: three files, edge, middle, edge, and 1 more once.
        {"4k3/2pppp2/8/8/8/8/2PPPP2/4K3 w - - ", 3, 8, 4},
        {"4k3/2pppp2/8/8/8/8/2PPPP2/3K4 w - - ", 3, 8, 9},
        {"4k3/2p1pp2/8/8/8/8/2P1PP2/3K4 w - - ", 3, 8, 9 + 14},
        {"4k3/2pp1p2/8/8/8/8/2PP1P2/3K4 w - - ", 3, 8, 9 + 4},
        {"4k3/2pp1p2/8/8/8/8/2PP1P2/4K3 w - - ", 3, 8, 4 + 14},
        {"4k3/2pppp2/8/8/8/8/2PP1P2/4K3 w - - ", 3, 8, 4 + 20},
        {"4k3/3ppp2/8/8/8/8/3PPP2/3K4 w - - ", 3, 8, 9 + 4},
        {"4k3/2pppp2/8/8/8/8/3PPP2/3K4 w - - ", 3, 8, 9 + 6},
        {"4k3/2pppp2/8/8/8/8/3PPP2/4K3 w - - ", 3, 8, 4},  // the c-file is no neighbour of e
        {"4k3/3ppp2/8/8/4P3/5P2/3P4/4K3 w - - ", 3, 8, 4 + 3},
        {"4k3/8/8/8/8/8/3K4/8 w - - ", 3, 8, 9 + 4 + 14 + 4},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Penalty(c.fen, c.kings_wing, c.queens_wing), c.penalty) << c.fen;
        EXPECT_EQ(MirrorPenalty(c.fen, c.kings_wing, c.queens_wing), c.penalty) << "mirrored " << c.fen;
    }
}

TEST_F(KingShelter, ACastlerTakesTheBetterWingThatIsOpenToIt) {
    CastleShelterBase = 24;
    CastleShelterBias = 3;
    CastleFileWeight = 5;
    CastleWingWeight = 10;
    const std::string board = "4k3/3ppp2/8/8/8/8/3PPP2/R2QK2R w ";
    const struct {
        const char* rights;
        int kings_wing, queens_wing, best;
    } cases[] = {{"KQ", 10, 6, 6},   {"KQ", 6, 10, 6}, {"K", 10, 6, 10}, {"Q", 6, 10, 10},
                 {"KQ", 40, 50, 24}, {"K", 30, 0, 24}, {"Q", 0, 30, 24}};
    for (const auto& c : cases) {
        const std::string fen = board + c.rights + " - ";
        const int expected = ((24 * 5 + c.best * 10) >> 4) + 3;
        EXPECT_EQ(Penalty(fen, c.kings_wing, c.queens_wing), expected) << fen;
        EXPECT_EQ(MirrorPenalty(fen, c.kings_wing, c.queens_wing), expected) << "mirrored " << fen;
    }
    // Below nothing the colours part: Black's better wing is raised to 0, White's is not.
    CastleShelterBase = -32;
    CastleShelterBias = 40;
    EXPECT_EQ(Penalty(board + "KQ - ", 5, 5), -30 + 40);
    EXPECT_EQ(MirrorPenalty(board + "KQ - ", 5, 5), -10 + 40);
}

TEST_F(KingShelter, TheKingsSquareCountsFromItsOwnSide) {
    for (int i = 0; i < 64; ++i) {
        KingSquareShelter[i] = i;
    }
    CentreFileOpen[0] = CentreFileOpen[1] = 0;
    EXPECT_EQ(Penalty("4k3/8/8/8/8/8/8/6K1 w - - ", 0, 0), 6);
    EXPECT_EQ(MirrorPenalty("4k3/8/8/8/8/8/8/6K1 w - - ", 0, 0), 6);
    EXPECT_EQ(Penalty("4k3/8/8/8/8/1K6/8/8 w - - ", 0, 0), 17);
    EXPECT_EQ(MirrorPenalty("4k3/8/8/8/8/1K6/8/8 w - - ", 0, 0), 17);
}

TEST_F(KingShelter, TheEnemysPiecesScaleAndThePenaltyStaysInItsTable) {
    for (int queens = 0; queens < 2; ++queens) {
        for (int rooks = 0; rooks < 3; ++rooks) {
            for (int minors = 0; minors < 5; ++minors) {
                ShelterScale[queens][rooks][minors] = 256 + 64 * queens + 100 * rooks + 30 * minors;
            }
        }
    }
    const struct {
        const char* fen;
        int scale;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/QRRNNBBK w - - ", 256},  // the own army says nothing
        {"4k1q1/8/8/8/8/8/8/7K w - - ", 320},     {"4kqqq/8/8/8/8/8/8/7K w - - ", 320},
        {"rr2k3/8/8/8/8/8/8/7K w - - ", 456},     {"rrr1k3/8/8/8/8/8/8/7K w - - ", 456},
        {"n3kb2/8/8/8/8/8/8/7K w - - ", 316},     {"nnn1kbb1/8/8/8/8/8/8/7K w - - ", 376},
        {"q1r1kb2/8/8/8/8/8/8/7K w - - ", 450},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Penalty(c.fen, 21, 0), 21 * c.scale / 256) << c.fen;
        EXPECT_EQ(MirrorPenalty(c.fen, 21, 0), 21 * c.scale / 256) << c.fen;
    }
    EXPECT_EQ(Penalty("4k3/8/8/8/8/8/8/7K w - - ", 200, 0), 63);
    KingSquareShelter[H1] = -100;
    EXPECT_EQ(Penalty("4k3/8/8/8/8/8/8/7K w - - ", 20, 0), 0);
}

TEST_F(KingShelter, StyleWeighsTheOwnKingAgainstTheEnemys) {
    QueenLeftHome = 17;
    ShelterPenalty[9] = 33;
    AggressivityRate = 150;
    CowardiceRate = 50;
    const struct {
        const char* fen;
        int queen;
    } cases[] = {
        {"4k3/8/8/8/8/8/8/6K1 w - - ", 0},  // a king without rights has no queen's place
        {"4k3/3p1p2/8/8/8/8/3P1P2/R2QK2R w K - ", 0},
        {"4k3/3p1p2/8/8/8/8/3P1P2/R3K2R w K - ", -17},
        {"4k3/3p1p2/8/8/8/8/3P1PQ1/R3K2R w Q - ", -17},
        {"3qk3/3p1p2/8/8/8/8/3P1P2/R3K2R w KQ - ", -17},
    };
    FileOpen[1] = 9;
    for (const auto& c : cases) {
        for (const Colour colour : {WHITE, BLACK}) {
            for (const Colour engine : {WHITE, BLACK}) {
                EngineSide = engine;
                colour == WHITE ? Penalty(c.fen, 9, 9) : MirrorPenalty(c.fen, 9, 9);
                ASSERT_EQ(thread_eval_info.shelter_penalty[colour], 9) << c.fen;
                // 33 * 1.5 and 33 * 0.5, the division cutting toward zero.
                EXPECT_EQ(EvaluateKingShelter(colour), c.queen - (colour == engine ? 16 : 49)) << c.fen << colour;
            }
        }
    }
    CowardiceRate = 0;
    Penalty("4k3/8/8/8/8/8/8/6K1 w - - ", 9, 9);
    EngineSide = WHITE;
    EXPECT_EQ(EvaluateKingShelter(WHITE), 0);
}

TEST_F(KingShelter, TheShelterOfAThreatenedKingPaysTheEnemy) {
    SetupFen("6k1/8/8/8/8/8/8/6K1 w - - ");
    for (int colour = 0; colour < 2; ++colour) {
        thread_board.PawnEntry.WingShelter[colour][0] = static_cast<std::uint8_t>(10 + colour);
    }
    for (const bool white_safe : {false, true}) {
        for (const bool black_safe : {false, true}) {
            thread_eval_info = {};
            thread_eval_info.ending[WHITE] = white_safe;
            thread_eval_info.ending[BLACK] = black_safe;
            thread_eval_info.shelter_penalty[WHITE] = thread_eval_info.shelter_penalty[BLACK] = 63;
            thread_eval_info.open_score[WHITE] = 5;
            thread_eval_info.open_score[BLACK] = 6;
            AddKingShelters();
            EXPECT_EQ(thread_eval_info.shelter_penalty[WHITE], white_safe ? 0 : 10);
            EXPECT_EQ(thread_eval_info.shelter_penalty[BLACK], black_safe ? 0 : 11);
            EXPECT_EQ(thread_eval_info.open_score[WHITE], black_safe ? 5 : 5 + 1100);
            EXPECT_EQ(thread_eval_info.open_score[BLACK], white_safe ? 6 : 6 + 1000);
        }
    }
}

TEST_F(KingShelter, UnboundedParametersStayInsideTheTable) {
    for (const std::int32_t value :
         {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
        CastleShelterBase = CastleShelterBias = CastleFileWeight = CastleWingWeight = QueenLeftHome = value;
        FianchettoHole = value;
        std::fill_n(FileOpen, 3, value);
        std::fill_n(FileHalfOpen, 3, value);
        std::fill_n(CentreFileOpen, 2, value);
        std::fill_n(CentreFileHalfOpen, 2, value);
        std::fill_n(KingSquareShelter, 64, value);
        std::fill_n(&ShelterScale[0][0][0], 30, value);
        std::fill_n(ShelterPenalty, 64, value);
        for (const std::string& fen : GameStarts) {
            SetupFen(fen);
            thread_eval_info = {};
            AddKingShelters();
            for (const Colour colour : {WHITE, BLACK}) {
                EXPECT_TRUE(thread_eval_info.shelter_penalty[colour] >= 0 &&
                            thread_eval_info.shelter_penalty[colour] < 64);
            }
        }
    }
}

}  // namespace
