#include "eval/king_attack.h"

#include "support/evaluation_fixture.h"

namespace {

std::int64_t FloorDivided(std::int64_t value, std::int64_t divisor) {
    return value / divisor - (value % divisor < 0);
}

class KingAttackTest : public EvaluationTest {};

/// What one colour's attack must come to, from the sums that stand in the record before.
struct Expected {
    std::int64_t danger, open_score, end_score, move_bonus;

    Expected(Colour us, const ThreadEvalInfo& before)
        : danger(before.danger[us]),
          open_score(before.open_score[us]),
          end_score(before.end_score[us]),
          move_bonus(before.move_bonus[us]) {
        if (before.ending[ChangeSide(us)] == 0) {
            AddAttack(us, before);
        }
    }

  private:
    void AddAttack(Colour us, const ThreadEvalInfo& before) {
        const Colour them = ChangeSide(us);
        const std::int32_t development = us == WHITE ? DevelopmentClassOf<WHITE>() : DevelopmentClassOf<BLACK>();
        const bool queen = thread_board.PieceCount[QUEEN][us] > 0;
        std::int64_t attackers = before.attackers[us];
        bool touch = false;
        for (int square = 0; square < 64; ++square) {
            const auto holds = [square](Bitboard set) { return (set >> square & 1) != 0; };
            if (holds(before.king_zone[them])) {
                danger += holds(before.enemy_pawn_attacks[them]) ? PawnZoneDanger : 0;
                attackers += holds(before.enemy_pawn_attacks[them]) ? PawnZoneWeight : 0;
                touch = touch || holds(before.king_zone[us]);
            }
        }
        danger = std::clamp<std::int64_t>(danger + (touch ? KingTouchDanger : 0), 0, 127);
        attackers = std::min<std::int64_t>(attackers + (touch ? KingTouchWeight : 0), 63);
        const int weakness = before.shelter_penalty[them];
        const std::int64_t curves = FloorDivided(
            std::int64_t{DangerCurve[danger]} * PressureSigmoid.values[attackers] * ShelterFactor[weakness], 32768);
        const std::int64_t armed = FloorDivided(curves * (queen ? AttackScaleQueen : AttackScaleNoQueen), 8192);
        const std::int64_t forces =
            (AttackHorrorSigmoid.values[std::min<int>(thread_board.attack_force[us], 511)] + 256) *
            (DefendHorrorSigmoid.values[std::min<int>(thread_board.defend_force[them], 511)] + 256);
        const std::int64_t value =
            FloorDivided(FloorDivided(forces * armed, 65536) * AttackDevelopmentScale[development], 64);
        if (value > 0) {
            const int lead = us == BLACK ? before.material_score : -before.material_score;
            open_score += FloorDivided(HorrorSigmoid.values[std::clamp(lead, -1000, 1000) + 1000] * value, 256);
        }
        move_bonus = FloorDivided(AttackMoveShare * value, 64);
        if (queen) {
            const std::int64_t scale = QueenDevelopmentScale[development];
            open_score += FloorDivided(QueenShelterOpen[std::min(weakness, 15)] * scale, 64);
            end_score += FloorDivided(QueenShelterEnd[std::min(weakness, 15)] * scale, 64);
        }
    }
};

TEST_F(KingAttackTest, EverySumAndCurve) {
    std::mt19937_64 random(31);
    const auto below = [&random](unsigned bound) { return static_cast<int>(random() % bound); };
    unsigned seed = 0;
    for (const std::string& fen : RandomPositions(33, 2, 120)) {
        if (seed++ % 20 == 0) {
            RandomizeParameters(seed);
            std::fill_n(KingZoneValue, 384, 0);
            PressureAmplitude = below(2) == 0 ? 400 : -1249;  // the wrong sign makes attack values below 0
            HorrorAmplitude = AttackHorrorAmplitude = DefendHorrorAmplitude = 100 + below(100);
            Rebuild();
        }
        SetupFen(fen);
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
            info.enemy_pawn_attacks[colour] = random() & random();
            thread_board.attack_force[colour] = static_cast<std::int16_t>(below(700));
            thread_board.defend_force[colour] = static_cast<std::int16_t>(below(700));
        }
        const Expected expected[2] = {{WHITE, info}, {BLACK, info}};
        EvaluateKingAttacks();
        for (const Colour colour : {WHITE, BLACK}) {
            ASSERT_EQ(info.danger[colour], expected[colour].danger) << fen << colour;
            ASSERT_EQ(info.open_score[colour], expected[colour].open_score) << fen << colour;
            ASSERT_EQ(info.end_score[colour], expected[colour].end_score) << fen << colour;
            ASSERT_EQ(info.move_bonus[colour], expected[colour].move_bonus) << fen << colour;
        }
        ASSERT_EQ(info.side_delta | info.both_sides_valid, 0) << "not this step's to set";
    }
}

// One square of the zone at a time, its index worked out by hand.
TEST_F(KingAttackTest, ZoneSquares) {
    // White's king is attacked: the square, whether it is defended, whether it is attacked or even safely hit, the
    // index.
    const std::string text =
        "4k3/8/8/8/8/8/5PPP/5RK1 f2 yes no 172; 4k3/8/8/8/8/8/5PPP/5RK1 f1 no attacked 112; "
        "4k3/8/8/8/8/8/5PPP/5RK1 h1 no no 128; 4k3/8/8/8/8/5b2/5PP1/5RKn h1 yes no 156; "
        "4k3/8/8/8/8/8/5p2/6K1 f2 no safely 312; 4k3/8/8/8/8/8/8/1K6 c1 no no 224; "
        "4k3/8/8/8/8/8/8/4K3 f1 no safely 257; 4k3/8/8/8/8/8/8/3K4 c1 yes safely 261; "
        "4k3/8/8/8/8/8/5N2/4K3 f2 no no 177; 4k3/8/8/8/8/8/1K6/8 c2 no attacked 98; "
        "4k3/8/8/8/8/8/PK6/8 a2 yes attacked 14; 4k3/8/8/8/8/q7/1K6/8 a3 no attacked 58; "
        "4k3/8/8/8/8/8/1K6/2B5 c1 yes safely 342; 4k3/8/8/8/8/1K6/8/8 c3 no no 227; "
        "4k3/8/8/8/5K2/8/8/8 e4 no no 227; 4k3/8/8/8/5K2/8/8/8 g4 no no 131; 4k3/8/8/5P2/5K2/8/8/8 f5 no safely 299";
    for (const TextCase& c : TextCases(text)) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            SetupFen(seen.fen);
            const Colour us = seen.Of(BLACK);
            const Colour them = seen.Of(WHITE);
            const Bitboard square = seen.Of(Bit(SquareOf(c.words[0].c_str())));
            ThreadEvalInfo& info = thread_eval_info;
            info = {};
            info.ending[us] = 1;
            info.king_zone[them] = square;
            info.attacks[them] = c.words[1] == "yes" ? square : 0;
            info.attacks[us] = c.words[2] != "no" ? square : 0;
            info.safe_zone_hits[them] = c.words[2] == "safely" ? square : 0;
            std::fill_n(KingZoneValue, 384, 0);
            KingZoneValue[c.Number(3)] = 10;
            EvaluateKingAttacks();
            EXPECT_EQ(info.danger[us], 10) << seen.fen << c.words[3];
        });
    }
}

TEST_F(KingAttackTest, DevelopmentByHomeSquares) {
    for (int i = 0; i < 64; ++i) {
        DevelopmentClass[i] = i;
    }
    // White's and Black's pattern. The men of the last are at home for the enemy only.
    const std::string text =
        "rnbqkbnr/8/8/8/8/8/8/RNBQKBNR 63 63; 3k4/8/8/8/8/8/8/2K5 1 1; 6k1/8/8/8/8/8/8/1K6 0 0; "
        "8/2k1q3/8/8/8/8/4Q3/5K2 1 0; 3q2k1/8/8/8/8/8/8/3R2K1 0 2; 1n4k1/8/8/8/8/8/8/5KN1 9 4; "
        "2b3k1/8/8/8/8/8/8/5BK1 32 16; 1NBQ1BN1/4K3/8/8/8/8/4k3/1nbq1bn1 0 0";
    for (const TextCase& c : TextCases(text)) {
        SetupFen(c.fen);
        EXPECT_EQ(DevelopmentClassOf<WHITE>(), c.Number(0)) << c.fen;
        EXPECT_EQ(DevelopmentClassOf<BLACK>(), c.Number(1)) << c.fen;
    }
}

TEST_F(KingAttackTest, QueenChecksThreaten) {
    const std::int32_t threats[] = {5, 11, 21, 43, 61, 80, 107};
    std::copy_n(threats, 7, QueenCheckThreat);
    // From b1 the queen checks a king on h8 on a1, b2 (the diagonal), h1, h7 (the file) and b8 (the rank). Only h7 is
    // next to the king; the others count twice.
    const struct {
        const char* fen;
        Bitboard enemy_attacks;
        int count;  // -1: no threat at all
    } cases[] = {
        {"7k/8/8/8/8/8/K7/1Q6", 0, 9},
        {"7k/8/8/8/8/8/K7/1Q6", Bit(A1) | Bit(B2) | Bit(H1) | Bit(B8), 1},
        {"7k/8/8/8/8/8/K7/1Q6", Bit(A1) | Bit(B2) | Bit(H1) | Bit(H7), 2},
        {"7k/8/8/8/8/8/K7/1Q6", Bit(A1) | Bit(B2) | Bit(H1), 3},
        {"7k/8/8/8/8/8/K7/1Q6", Bit(A1) | Bit(B2) | Bit(H1) | Bit(B8) | Bit(H7), 0},
        {"7k/8/8/8/8/8/K7/1Q5N", Bit(A1) | Bit(B2), 3},  // the own knight stands on h1
        {"7k/8/8/8/8/8/K7/1Q5n", Bit(A1) | Bit(B2), 5},  // an enemy one can be taken
        {"7k/8/8/8/3p4/8/K7/1Q6", 0, 5},                 // the diagonal is shut
        {"7k/8/8/8/8/8/K7/1R6", 0, -1},
    };
    for (const auto& c : cases) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            for (const bool to_move : {false, true}) {
                SetupFen(seen.fen);
                const Colour us = seen.Of(WHITE);
                const Colour them = seen.Of(BLACK);
                thread_board.SideToMove = to_move ? us : them;
                thread_eval_info = {};
                thread_eval_info.side_delta = 100;
                for (Bitboard queens = thread_board.Pieces[QUEEN][us]; queens != 0;) {
                    thread_eval_info.queen_attacks[us] |= QueenAttacksOf(PopLowestBit(queens), thread_board.AllPieces);
                }
                thread_eval_info.attacks[them] = seen.Of(c.enemy_attacks);
                thread_eval_info.ending[them] = 1;  // counts all the same
                const int threat = c.count < 0 ? 0 : threats[std::min(c.count, 6)];
                const int gain = threat - threat / 2;
                EXPECT_EQ(AddQueenCheckThreats(-1000), -1000 + seen.For(to_move ? threat : threat / 2)) << seen.fen;
                EXPECT_EQ(thread_eval_info.side_delta, 100 + seen.For(to_move ? gain : -gain)) << seen.fen;
            }
        });
    }
}

}  // namespace
