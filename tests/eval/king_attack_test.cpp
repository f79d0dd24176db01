#include "eval/king_attack.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <random>

#include "eval/sigmoids.h"
#include "position/attacks.h"
#include "position/settings.h"
#include "support/evaluation_tables.h"
#include "support/random_positions.h"

namespace {

std::int64_t FloorDivided(std::int64_t value, std::int64_t divisor) {
    return value / divisor - (value % divisor < 0);
}

void BuildSigmoids() {
    InitPressureSigmoid();
    InitAttackHorrorSigmoid();
    InitDefendHorrorSigmoid();
    InitHorrorSigmoid();
}

class KingAttackTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { ResetEvaluation(); }
    static void TearDownTestSuite() {
        AssignStyleDefaults();
        ResetEvaluation();
    }
    void SetUp() override {
        AssignParameterDefaults();
        BuildSigmoids();
        AssignStyleDefaults();
        EngineSide = WHITE;
    }
    void TearDown() override {
        AssignParameterDefaults();
        BuildDerivedRows();
        BuildSigmoids();
        ForgetPawnStructure();
    }

    /// Any numbers that a term can live with, so that no default of 0 hides a wrong sign.
    static void RandomizeParameters(std::mt19937& random) {
        const auto fill = [&random](std::int32_t* values, int count, int low, int high) {
            std::uniform_int_distribution<int> choice(low, high);
            std::generate_n(values, count, [&] { return choice(random); });
        };
        fill(KingZoneValue, 384, -3, 12);
        fill(DangerCurve, 128, 0, 400);
        fill(ShelterFactor, 64, 1, 40);
        fill(ShelterPenalty, 64, 0, 80);
        fill(&ShelterScale[0][0][0], 30, 100, 400);
        fill(DevelopmentClass, 64, 0, 5);
        fill(AttackDevelopmentScale, 6, 30, 90);
        fill(QueenDevelopmentScale, 6, 30, 90);
        fill(QueenShelterOpen, 16, -30, 90);
        fill(QueenShelterEnd, 16, -30, 90);
        fill(QueenCheckThreat, 7, -20, 120);
        fill(AttackerWeight, 8, 1, 9);
        for (std::int32_t* row : {KnightCheckDanger, BishopCheckDanger, RookCheckDanger, QueenCheckDanger}) {
            fill(row, 1, 1, 9);
        }
        fill(RookFileDanger, 8, 0, 5);
        fill(QueenDistanceDanger, 8, 0, 5);
        fill(QueenFileDanger, 8, 0, 5);
        for (std::int32_t* scalar : {&PawnZoneDanger, &PawnZoneWeight, &KingTouchDanger, &KingTouchWeight}) {
            fill(scalar, 1, 1, 5);
        }
        fill(&AttackScaleQueen, 1, 8000, 12000);
        fill(&AttackScaleNoQueen, 1, 8000, 12000);
        fill(&AttackMoveShare, 1, 5, 60);
        fill(&PressureAmplitude, 1, -1500, 500);  // the wrong sign makes attack values below 0
        fill(&HorrorAmplitude, 1, 20, 200);
        fill(&AttackHorrorAmplitude, 1, -200, 200);
        fill(&DefendHorrorAmplitude, 1, -200, 200);
        // The shelter keeps clear of negative weakness, where the colours differ.
        for (std::int32_t* scalar : {&FianchettoHole, &QueenLeftHome, &CastleShelterBase, &CastleShelterBias,
                                     &CastleFileWeight, &CastleWingWeight, &CentreFileOpen[0], &CentreFileOpen[1],
                                     &CentreFileHalfOpen[0], &CentreFileHalfOpen[1]}) {
            fill(scalar, 1, 0, 12);
        }
        fill(FileOpen, 3, 0, 12);
        fill(FileHalfOpen, 3, 0, 12);
        fill(&KingSquareShelterColumn[0][0], 32, 0, 12);
        fill(ShelterPattern, 512, 0, 25);
        for (std::int32_t* row : {StormFree, StormBlocked, StormContact}) {
            fill(row, 4, 0, 9);
        }
        BuildDerivedRows();
        BuildSigmoids();
        AggressivityRate = 130;
        CowardiceRate = 70;
        ForgetPawnStructure();
    }

    /// The structure on the board was judged by other numbers.
    static void ForgetPawnStructure() {
        ClearPawnHash();
        thread_board.PawnEntry = {};
        thread_board.PawnEntry.key = ~Key{0};
    }

    static std::int32_t FullResult() {
        std::int32_t result = NO_EVALUATION;
        EvaluateFull(result);
        return result;
    }
};

// What one colour's attack must come to, worked out square by square.
struct Expected {
    std::int64_t danger, open_score, end_score, move_bonus;
};

int ZoneIndex(Colour defender, int square) {
    const ThreadEvalInfo& info = thread_eval_info;
    const int king = thread_board.KingSquare[defender];
    const int forward = defender == WHITE ? 1 : -1;
    const int king_rank = defender == WHITE ? RankOf(king) : 7 - RankOf(king);
    const int king_file = FileOf(king);
    int index = 3;
    if (king_rank == 0) {
        index = king_file <= 1 || king_file >= 6 ? 0 : 1;
    } else if (king_rank == 1) {
        index = 2;
    }
    const auto holds = [square](Bitboard set) { return (set >> square & 1) != 0; };
    index += holds(info.attacks[defender]) ? 4 : 0;
    if (holds(thread_board.ColourPieces[ChangeSide(defender)])) {
        index += 24;
    } else if (holds(thread_board.ColourPieces[defender])) {
        index += thread_board.Board[square] == PAWN ? 8 : 16;
    }
    const int ahead = (RankOf(square) - RankOf(king)) * forward;
    const int toward_centre = king_file <= 3 ? 1 : -1;
    index += ahead > 0 ? 32 : ahead < 0 ? 64 : FileOf(square) - king_file == toward_centre ? 96 : 0;
    index += holds(info.attacks[ChangeSide(defender)]) ? 0 : 128;
    index += holds(info.safe_zone_hits[defender]) ? 256 : 0;
    return index;
}

/// The six-bit pattern from the squares' names.
int HomePattern(Colour colour) {
    const int first = colour == WHITE ? 0 : 56;
    const auto stands = [&](int piece, int file) {
        return (thread_board.ColourPieces[colour] >> (first + file) & 1) != 0 &&
               static_cast<int>(thread_board.Board[first + file]) == piece;
    };
    return (stands(KING, 2) || stands(KING, 3) || stands(KING, 4) || stands(KING, 5)) + 2 * stands(QUEEN, 3) +
           4 * stands(KNIGHT, 1) + 8 * stands(KNIGHT, 6) + 16 * stands(BISHOP, 2) + 32 * stands(BISHOP, 5);
}

Expected ExpectedAttack(Colour attacker, const ThreadEvalInfo& before) {
    const Colour defender = ChangeSide(attacker);
    Expected expected = {before.danger[attacker], before.open_score[attacker], before.end_score[attacker],
                         before.move_bonus[attacker]};
    if (before.ending[defender] != 0) {
        return expected;
    }
    const int development = DevelopmentClass[HomePattern(attacker)];
    const bool queen = thread_board.PieceCount[QUEEN][attacker] > 0;
    std::int64_t attackers = before.attackers[attacker];
    bool touch = false;
    for (int square = 0; square < 64; ++square) {
        const Bitboard bit = Bit(square);
        if ((before.king_zone[defender] & bit) == 0) {
            continue;
        }
        expected.danger += KingZoneValue[ZoneIndex(defender, square)];
        if ((before.enemy_pawn_attacks[defender] & bit) != 0) {
            expected.danger += PawnZoneDanger;
            attackers += PawnZoneWeight;
        }
        touch = touch || (before.king_zone[attacker] & bit) != 0;
    }
    if (touch) {
        expected.danger += KingTouchDanger;
        attackers += KingTouchWeight;
    }
    expected.danger = std::clamp<std::int64_t>(expected.danger, 0, 127);
    const int weakness = before.shelter_penalty[defender];
    std::int64_t value =
        FloorDivided(std::int64_t{DangerCurve[expected.danger]} *
                         PressureSigmoid.values[std::min<std::int64_t>(attackers, 63)] * ShelterFactor[weakness],
                     32768);
    value = FloorDivided(value * (queen ? AttackScaleQueen : AttackScaleNoQueen), 8192);
    value = FloorDivided(
        (AttackHorrorSigmoid.values[std::min<int>(thread_board.attack_force[attacker], 511)] + 256) *
            (DefendHorrorSigmoid.values[std::min<int>(thread_board.defend_force[defender], 511)] + 256) * value,
        65536);
    value = FloorDivided(value * AttackDevelopmentScale[development], 64);
    if (value > 0) {
        const int lead = attacker == BLACK ? before.material_score : -before.material_score;
        expected.open_score += FloorDivided(HorrorSigmoid.values[std::clamp(lead, -1000, 1000) + 1000] * value, 256);
    }
    expected.move_bonus = FloorDivided(AttackMoveShare * value, 64);
    if (queen) {
        const std::int64_t scale = QueenDevelopmentScale[development];
        expected.open_score += FloorDivided(QueenShelterOpen[std::min(weakness, 15)] * scale, 64);
        expected.end_score += FloorDivided(QueenShelterEnd[std::min(weakness, 15)] * scale, 64);
    }
    return expected;
}

TEST_F(KingAttackTest, EverySumAndCurveByTheText) {
    std::mt19937 random(31);
    std::mt19937_64 random_set(32);
    const auto below = [&random](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
    for (const std::string& fen : RandomPositions(33, 4, 120)) {
        SetupFen(fen);
        RandomizeParameters(random);
        ThreadEvalInfo& info = thread_eval_info;
        info = {};
        info.material_score = below(3001) - 1500;
        for (const Colour colour : {WHITE, BLACK}) {
            info.ending[colour] = below(4) == 0;
            info.attackers[colour] = below(90);
            info.danger[colour] = below(10) == 0 ? below(200) : below(60) - 10;
            info.shelter_penalty[colour] = below(64);
            info.open_score[colour] = below(100) - 50;
            info.end_score[colour] = below(100) - 50;
            info.move_bonus[colour] = below(100) - 50;
            info.king_zone[colour] = KingAttacks[thread_board.KingSquare[colour]];
            info.attacks[colour] = random_set() & random_set();
            info.safe_zone_hits[ChangeSide(colour)] = info.attacks[colour] & random_set();
            info.enemy_pawn_attacks[colour] = random_set() & random_set();
            thread_board.attack_force[colour] = static_cast<std::int16_t>(below(700));
            thread_board.defend_force[colour] = static_cast<std::int16_t>(below(700));
        }
        const ThreadEvalInfo before = info;
        const Expected expected[2] = {ExpectedAttack(WHITE, before), ExpectedAttack(BLACK, before)};
        EvaluateKingAttacks();
        for (const Colour colour : {WHITE, BLACK}) {
            ASSERT_EQ(info.danger[colour], expected[colour].danger) << fen << colour;
            ASSERT_EQ(info.open_score[colour], expected[colour].open_score) << fen << colour;
            ASSERT_EQ(info.end_score[colour], expected[colour].end_score) << fen << colour;
            ASSERT_EQ(info.move_bonus[colour], expected[colour].move_bonus) << fen << colour;
        }
        ASSERT_EQ(info.side_delta, 0);
        ASSERT_EQ(info.both_sides_valid, 0) << "not this step's to set";
    }
}

// One square of the zone at a time, its index worked out by hand.
TEST_F(KingAttackTest, ZoneSquares) {
    constexpr int A3 = 16, C3 = 18, E4 = 28, G4 = 30, F5 = 37;
    enum Hit { NO, ATTACKED, SAFELY };
    const struct {
        const char* fen;  // White's king is attacked
        int square;
        bool defended;
        Hit hit;
        int index;
    } cases[] = {
        {"4k3/8/8/8/8/8/5PPP/5RK1 w - - ", F2, true, NO, 0 + 4 + 8 + 32 + 128},
        {"4k3/8/8/8/8/8/5PPP/5RK1 w - - ", F1, false, ATTACKED, 0 + 16 + 96},
        {"4k3/8/8/8/8/8/5PPP/5RK1 w - - ", H1, false, NO, 0 + 128},
        {"4k3/8/8/8/8/5b2/5PP1/5RKn w - - ", H1, true, NO, 0 + 4 + 24 + 128},
        {"4k3/8/8/8/8/8/5p2/6K1 w - - ", F2, false, SAFELY, 0 + 24 + 32 + 256},
        {"4k3/8/8/8/8/8/8/1K6 w - - ", C1, false, NO, 0 + 96 + 128},
        {"4k3/8/8/8/8/8/8/4K3 w - - ", F1, false, SAFELY, 1 + 256},
        {"4k3/8/8/8/8/8/8/3K4 w - - ", C1, true, SAFELY, 1 + 4 + 256},
        {"4k3/8/8/8/8/8/5N2/4K3 w - - ", F2, false, NO, 1 + 16 + 32 + 128},
        {"4k3/8/8/8/8/8/1K6/8 w - - ", C2, false, ATTACKED, 2 + 96},
        {"4k3/8/8/8/8/8/PK6/8 w - - ", A2, true, ATTACKED, 2 + 4 + 8},
        {"4k3/8/8/8/8/q7/1K6/8 w - - ", A3, false, ATTACKED, 2 + 24 + 32},
        {"4k3/8/8/8/8/8/1K6/2B5 w - - ", C1, true, SAFELY, 2 + 4 + 16 + 64 + 256},
        {"4k3/8/8/8/8/1K6/8/8 w - - ", C3, false, NO, 3 + 96 + 128},
        {"4k3/8/8/8/5K2/8/8/8 w - - ", E4, false, NO, 3 + 96 + 128},
        {"4k3/8/8/8/5K2/8/8/8 w - - ", G4, false, NO, 3 + 128},
        {"4k3/8/8/5P2/5K2/8/8/8 w - - ", F5, false, SAFELY, 3 + 8 + 32 + 256},
    };
    for (const auto& c : cases) {
        for (const bool mirrored : {false, true}) {
            SetupFen(mirrored ? ColourMirror(c.fen) : c.fen);
            const Colour attacker = mirrored ? WHITE : BLACK;
            const Colour defender = ChangeSide(attacker);
            const Bitboard square = Bit(mirrored ? MirrorRank(c.square) : c.square);
            ThreadEvalInfo& info = thread_eval_info;
            info = {};
            info.ending[attacker] = 1;
            info.king_zone[defender] = square;
            info.attacks[defender] = c.defended ? square : 0;
            info.attacks[attacker] = c.hit != NO ? square : 0;
            info.safe_zone_hits[defender] = c.hit == SAFELY ? square : 0;
            std::fill_n(KingZoneValue, 384, 0);
            KingZoneValue[c.index] = 10;
            EvaluateKingAttacks();
            EXPECT_EQ(info.danger[attacker], 10) << c.fen << c.index << (mirrored ? " mirrored" : "");
        }
    }
}

TEST_F(KingAttackTest, AKingThatNeedsNoProtectionIsNotAttacked) {
    std::mt19937 random(34);
    for (const std::string& fen : RandomPositions(35, 2, 120)) {
        SetupFen(fen);
        RandomizeParameters(random);
        FullResult();
        for (const Colour colour : {WHITE, BLACK}) {
            if (thread_eval_info.ending[ChangeSide(colour)] != 0) {
                ASSERT_EQ(thread_eval_info.danger[colour], 0) << fen;
                ASSERT_EQ(thread_eval_info.attackers[colour], 0) << fen;
                ASSERT_EQ(thread_eval_info.shelter_penalty[ChangeSide(colour)], 0) << fen;
            }
        }
    }
}

TEST_F(KingAttackTest, DevelopmentByHomeSquares) {
    for (int i = 0; i < 64; ++i) {
        DevelopmentClass[i] = i;
    }
    const struct {
        const char* fen;
        int white, black;
    } cases[] = {
        {"rnbqkbnr/8/8/8/8/8/8/RNBQKBNR w - - ", 63, 63},
        {"3k4/8/8/8/8/8/8/2K5 w - - ", 1, 1},
        {"6k1/8/8/8/8/8/8/1K6 w - - ", 0, 0},
        {"8/2k1q3/8/8/8/8/4Q3/5K2 w - - ", 1, 0},
        {"3q2k1/8/8/8/8/8/8/3R2K1 w - - ", 0, 2},
        {"1n4k1/8/8/8/8/8/8/5KN1 w - - ", 9, 4},
        {"2b3k1/8/8/8/8/8/8/5BK1 w - - ", 32, 16},
        {"1NBQ1BN1/4K3/8/8/8/8/4k3/1nbq1bn1 w - - ", 0, 0},  // at home for the enemy only
    };
    for (const auto& c : cases) {
        SetupFen(c.fen);
        EXPECT_EQ(DevelopmentClassOf(WHITE), c.white) << c.fen;
        EXPECT_EQ(DevelopmentClassOf(BLACK), c.black) << c.fen;
    }
}

TEST_F(KingAttackTest, QueenChecksThreaten) {
    const std::int32_t threats[] = {5, 11, 21, 43, 61, 80, 107};
    std::copy_n(threats, 7, QueenCheckThreat);
    // From b1 the queen checks a king on h8 on a1, b2 (the diagonal), h1, h7 (the file) and b8 (the rank). Only h7 is
    // next to the king; the others count twice.
    const struct {
        const char* board;
        Bitboard enemy_attacks;
        int count;  // -1: no threat at all
    } positions[] = {
        {"7k/8/8/8/8/8/K7/1Q6 ", 0, 9},
        {"7k/8/8/8/8/8/K7/1Q6 ", Bit(A1) | Bit(B2) | Bit(H1) | Bit(B8), 1},
        {"7k/8/8/8/8/8/K7/1Q6 ", Bit(A1) | Bit(B2) | Bit(H1) | Bit(H7), 2},
        {"7k/8/8/8/8/8/K7/1Q6 ", Bit(A1) | Bit(B2) | Bit(H1), 3},
        {"7k/8/8/8/8/8/K7/1Q6 ", Bit(A1) | Bit(B2) | Bit(H1) | Bit(B8) | Bit(H7), 0},
        {"7k/8/8/8/8/8/K7/1Q5N ", Bit(A1) | Bit(B2), 3},  // the own knight stands on h1
        {"7k/8/8/8/8/8/K7/1Q5n ", Bit(A1) | Bit(B2), 5},  // an enemy one can be taken
        {"7k/8/8/8/3p4/8/K7/1Q6 ", 0, 5},                 // the diagonal is shut
        {"7k/8/8/8/8/8/K7/1R6 ", 0, -1},
    };
    for (const auto& p : positions) {
        const int threat = p.count < 0 ? 0 : threats[std::min(p.count, 6)];
        for (const bool mirrored : {false, true}) {
            for (const bool to_move : {false, true}) {
                const std::string white = std::string(p.board) + (to_move ? "w - - " : "b - - ");
                SetupFen(mirrored ? ColourMirror(white) : white);
                const Colour us = mirrored ? BLACK : WHITE;
                const Colour them = ChangeSide(us);
                thread_eval_info = {};
                thread_eval_info.side_delta = 100;
                for (Bitboard queens = thread_board.Pieces[QUEEN][us]; queens != 0;) {
                    thread_eval_info.queen_attacks[us] |= QueenAttacksOf(PopLowestBit(queens), thread_board.AllPieces);
                }
                for (Bitboard squares = p.enemy_attacks; squares != 0;) {
                    const int square = PopLowestBit(squares);
                    thread_eval_info.attacks[them] |= Bit(mirrored ? MirrorRank(square) : square);
                }
                thread_eval_info.ending[them] = 1;  // counts all the same
                const int sign = us == BLACK ? 1 : -1;
                EXPECT_EQ(AddQueenCheckThreats(-1000), -1000 + sign * (to_move ? threat : threat / 2)) << p.board;
                EXPECT_EQ(thread_eval_info.side_delta,
                          100 + sign * (to_move ? threat - threat / 2 : threat / 2 - threat))
                    << p.board;
            }
        }
    }
}

TEST_F(KingAttackTest, ColourMirrorGathersAlike) {
    std::mt19937 random(36);
    const std::vector<std::string> positions = RandomPositions(37, 4, 140);
    int attacks = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const std::string& fen = positions[i];
        if (i % 50 == 0) {
            RandomizeParameters(random);
        }
        for (const Colour engine : {WHITE, BLACK}) {
            EngineSide = engine;
            SetupFen(fen);
            const std::int32_t result = FullResult();
            const ThreadEvalInfo info = thread_eval_info;
            EngineSide = ChangeSide(engine);
            SetupFen(ColourMirror(fen));
            // Shifts of signed sums round down on either side; the two private scores are each colour's own.
            ASSERT_NEAR(FullResult(), result, 6) << fen;
            const ThreadEvalInfo& mirror = thread_eval_info;
            for (const Colour colour : {WHITE, BLACK}) {
                const Colour other = ChangeSide(colour);
                ASSERT_EQ(mirror.danger[other], info.danger[colour]) << fen;
                ASSERT_EQ(mirror.attackers[other], info.attackers[colour]) << fen;
                ASSERT_EQ(mirror.shelter_penalty[other], info.shelter_penalty[colour]) << fen;
                ASSERT_EQ(mirror.open_score[other], info.open_score[colour]) << fen;
                ASSERT_EQ(mirror.end_score[other], info.end_score[colour]) << fen;
                ASSERT_EQ(mirror.move_bonus[other], info.move_bonus[colour]) << fen;
                attacks += info.danger[colour] > 0 && info.shelter_penalty[other] > 0;
            }
        }
    }
    EXPECT_GT(attacks, 1000) << "positions that say nothing";
}

// With pieces enough that no factor of an ending, which may hang on the sign of the value, rounds side_delta apart.
TEST_F(KingAttackTest, TheOtherSidesResultIsThatOfAFreshEvaluation) {
    std::mt19937 random(38);
    const std::vector<std::string> positions = RandomPositions(39, 6, 140);
    int derived = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        SetupFen(positions[i]);
        if (i % 50 == 0) {
            RandomizeParameters(random);
        }
        const std::int32_t result = FullResult();
        if (thread_eval_info.both_sides_valid == 0 ||
            std::min(thread_board.PieceWeight[WHITE], thread_board.PieceWeight[BLACK]) <= EndingWeightNoQueen) {
            continue;
        }
        ++derived;
        const std::int32_t other = thread_eval_info.side_delta - result;
        thread_board.SideToMove = ChangeSide(thread_board.SideToMove);
        ASSERT_EQ(FullResult(), other) << positions[i];
        ASSERT_EQ(thread_eval_info.side_delta, result + other) << positions[i];
    }
    EXPECT_GT(derived, 1000);
}

TEST_F(KingAttackTest, UnboundedParametersAreHarmless) {
    for (const std::int32_t value :
         {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
        std::fill_n(KingZoneValue, 384, value);
        std::fill_n(DangerCurve + 64, 64, value);
        for (std::int32_t* table : {DangerCurve, ShelterFactor, ShelterPenalty}) {
            std::fill_n(table, 64, value);
        }
        for (std::int32_t* row : {QueenShelterOpen, QueenShelterEnd}) {
            std::fill_n(row, 16, value);
        }
        for (std::int32_t* row : {QueenCheckThreat, AttackDevelopmentScale, QueenDevelopmentScale}) {
            std::fill_n(row, 6, value);
        }
        std::fill_n(AttackerWeight, 8, value);
        PressureAmplitude = AttackHorrorAmplitude = DefendHorrorAmplitude = HorrorAmplitude = value;
        AttackScaleQueen = AttackScaleNoQueen = AttackMoveShare = PawnZoneDanger = PawnZoneWeight = value;
        KingTouchDanger = KingTouchWeight = value;
        BuildSigmoids();
        for (const std::string& fen : GameStarts) {
            SetupFen(fen);
            FullResult();
            std::fill_n(thread_board.attack_force, 2, std::int16_t{-7});
            std::fill_n(thread_board.defend_force, 2, std::int16_t{32767});
            EvaluateKingAttacks();
            AddQueenCheckThreats(value);
            for (const Colour colour : {WHITE, BLACK}) {
                EXPECT_TRUE(thread_eval_info.danger[colour] >= 0 && thread_eval_info.danger[colour] <= 127);
            }
        }
    }
}

}  // namespace
