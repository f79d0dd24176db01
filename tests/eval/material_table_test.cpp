#include "eval/material_table.h"

#include <set>
#include <string_view>
#include <vector>

#include "support/evaluation_fixture.h"

namespace {

struct Counts {
    int count[8] = {};
};

/// "RBP3" is a rook, a bishop and three pawns.
Counts ParseArmy(std::string_view text) {
    Counts army;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == 'P') {
            army.count[PAWN] = text[++i] - '0';
        } else {
            ++army.count[text[i] == 'Q' ? QUEEN : text[i] == 'R' ? ROOK : text[i] == 'B' ? BISHOP : KNIGHT];
        }
    }
    return army;
}

int IndexOf(const Counts& white, const Counts& black) {
    int index = 0;
    for (int code = 0; code < 8; ++code) {
        index +=
            white.count[code] * MaterialIndexWeight[code][WHITE] + black.count[code] * MaterialIndexWeight[code][BLACK];
    }
    return index;
}

/// Entry of "white/black".
const MaterialEntry& EntryOf(std::string_view pair) {
    const std::size_t slash = pair.find('/');
    return MaterialTable[IndexOf(ParseArmy(pair.substr(0, slash)), ParseArmy(pair.substr(slash + 1)))];
}

/// Index with colours changed: every digit of the mixed radix changes places with its neighbour.
int MirrorIndex(int index) {
    int mirror = 0;
    for (int weight = 1; weight < 6561; weight *= 9, index /= 9) {
        mirror += weight * (index % 3 * 3 + index / 3 % 3);
    }
    return mirror + 6561 * (index / 9 + index % 9 * 9);
}

class MaterialTableTest : public EvaluationTest {
  protected:
    void TearDown() override {
        EvaluationTest::TearDown();
        ResetEvaluation();
    }

    /// Pairs of armies, and the score of each, Black's point of view.
    static void ExpectScores(const std::string& text) {
        for (const TextCase& c : TextCases(text)) {
            EXPECT_EQ(EntryOf(c.fen).score, c.Number(0)) << c.fen;
        }
    }
};

TEST_F(MaterialTableTest, EveryEntryMirrorsItsColourTwin) {
    RandomizeParameters(3);
    std::mt19937 random(4);
    std::vector<std::int32_t> imbalance(IMBALANCE_SETS);
    std::vector<std::int32_t> army(ARMY_PAIRS);
    std::vector<std::int32_t> factors(ARMY_PAIRS, 256);
    for (std::vector<std::int32_t>* statistics : {&imbalance, &army}) {
        std::ranges::generate(*statistics, [&] { return static_cast<std::int32_t>(random() % 121) - 60; });
    }
    AssignFixedTimeFactors(factors.data());
    BuildMaterialTable({imbalance.data(), army.data(), factors.data()});
    for (int index = 0; index < MATERIAL_OVERFLOW; ++index) {
        const MaterialEntry& entry = MaterialTable[index];
        const MaterialEntry& twin = MaterialTable[MirrorIndex(index)];
        ASSERT_EQ(entry.score + twin.score, 0) << index;
        ASSERT_EQ(entry.current_phase, twin.current_phase) << index;
        ASSERT_EQ(entry.white_phase, twin.black_phase) << index;
        ASSERT_EQ(entry.flags[WHITE], twin.flags[BLACK]) << index;
        ASSERT_EQ(entry.defend_force[WHITE], twin.defend_force[BLACK]) << index;
        ASSERT_EQ(entry.attack_force[WHITE], twin.attack_force[BLACK]) << index;
        ASSERT_EQ(entry.pattern_class[0], twin.pattern_class[1]) << index;
        ASSERT_EQ(entry.time_factor, twin.time_factor) << index;
    }
}

TEST_F(MaterialTableTest, PatternClassesNumberEverySmallBalancedSet) {
    std::set<int> classes;
    for (int index = 0; index < 6561; ++index) {
        const MaterialEntry& entry = MaterialTable[index];
        if (entry.pattern_class[0] >= 0) {
            EXPECT_TRUE(classes.insert(entry.pattern_class[0]).second) << index;
        }
        for (int pawns = 1; pawns < 81; ++pawns) {
            ASSERT_EQ(MaterialTable[index + 6561 * pawns].pattern_class[0], entry.pattern_class[0]);
        }
    }
    EXPECT_EQ(classes.size(), 114u);
    EXPECT_EQ(*classes.begin(), 0);
    EXPECT_EQ(*classes.rbegin(), 113);
    // Numbers rise with Black's knights first; the queen alone comes last.
    const std::pair<const char*, int> known[] = {{"P1/P1", 0}, {"P1/NP1", 1}, {"Q/Q", 113},
                                                 {"BN/", -1},  {"QQ/Q", -1},  {"RBN/RN", -1}};
    for (const auto& [pair, expected] : known) {
        EXPECT_EQ(EntryOf(pair).pattern_class[0], expected) << pair;
    }
}

TEST_F(MaterialTableTest, PhasesForcesFlagsAndFactorsOfKnownSets) {
    // White's, Black's and the common phase; both flags, 1 for who cannot win and 2 for a king that needs no
    // protection; the time factor.
    const std::string text =
        "QRRBBNNP8/QRRBBNNP8 0 0 0 0 0 340; / 256 256 256 3 3 256; QQRR/N 0 235 117 2 1 256; "
        "N/BP1 235 235 235 3 2 256; NN/BN 213 213 213 3 2 256; RNP3/RBP3 192 192 192 2 2 150; "
        "RBP3/RNP3 192 192 192 2 2 150; RRBP6/RRNP6 149 149 149 2 2 257; QP3/RRP3 171 171 171 2 2 256; "
        "QNP3/RRBNP3 149 128 139 0 0 256";
    for (const TextCase& c : TextCases(text)) {
        const MaterialEntry& entry = EntryOf(c.fen);
        EXPECT_EQ(entry.white_phase, c.Number(0)) << c.fen;
        EXPECT_EQ(entry.black_phase, c.Number(1)) << c.fen;
        EXPECT_EQ(entry.current_phase, c.Number(2)) << c.fen;
        EXPECT_EQ(entry.flags[WHITE], c.Number(3)) << c.fen;
        EXPECT_EQ(entry.flags[BLACK], c.Number(4)) << c.fen;
        EXPECT_EQ(entry.time_factor, c.Number(5)) << c.fen;
    }
    EXPECT_EQ(EntryOf("QRNP2/RBBP1").defend_force[WHITE], 180);
    EXPECT_EQ(EntryOf("QRNP2/RBBP1").attack_force[BLACK], 110);
}

// All values 0 but for the fixed parts and the defaults: bishop pair 50.., rooks by pawns 15.., partners 15.
TEST_F(MaterialTableTest, TradeRulesWorkedOutByHand) {
    ExpectScores(
        "NP0/P1 -30; BP2/P3 -100; BP2/NP3 0; RP5/BNP5 93; RP8/BNP8 103; RP5/NP5 -27; RRP2/RBNP2 126; QP3/RRP3 -50; "
        "QNP1/QBP1 -30; QN/QB -15; RBP4/RNP4 -15; RBNP4/QBP4 59; RBNP4/QP4 -61; RBBN/QR -170; RBB/QR -50; "
        "BBP3/BNP8 -15; BB/N -170; QNNP1/QBBP1 35; BBP3/RP8 -110; RP3/P3 -125");
}

TEST_F(MaterialTableTest, FallbackAgreesWithTheTable) {
    int inside = 0;
    for (const std::string& fen : RandomPositions(3, 4, 120)) {
        SetupFen(fen);
        const MaterialEntry* entry = CurrentMaterial();
        if (entry == nullptr) {
            continue;
        }
        ++inside;
        RefreshPhases();
        ComputeMaterialFallback();
        ASSERT_EQ(thread_board.white_phase, entry->white_phase) << fen;
        ASSERT_EQ(thread_board.black_phase, entry->black_phase) << fen;
        ASSERT_EQ(thread_board.current_phase, entry->current_phase) << fen;
        for (const Colour colour : {WHITE, BLACK}) {
            ASSERT_EQ(thread_board.defend_force[colour], entry->defend_force[colour]) << fen;
            ASSERT_EQ(thread_board.attack_force[colour], entry->attack_force[colour]) << fen;
            ASSERT_EQ(EndingByFormula(colour), thread_eval_info.ending[colour]) << fen;
        }
    }
    EXPECT_GT(inside, 500);
}

}  // namespace
