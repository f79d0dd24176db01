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
    void SetUp() override {
        EvaluationTest::SetUp();
        imbalance.assign(IMBALANCE_SETS, 0);
        army.assign(ARMY_PAIRS, 0);
        factors.assign(ARMY_PAIRS, 256);
        AssignFixedTimeFactors(factors.data());
    }
    void TearDown() override {
        EvaluationTest::TearDown();
        ResetEvaluation();
    }

    void Build() { BuildMaterialTable({imbalance.data(), army.data(), factors.data()}); }

    /// Pairs of armies, and the score of each, Black's point of view.
    static void ExpectScores(const std::string& text) {
        for (const TextCase& c : TextCases(text)) {
            EXPECT_EQ(EntryOf(c.fen).score, c.Number(0)) << c.fen;
        }
    }

    std::vector<std::int32_t> imbalance;
    std::vector<std::int32_t> army;
    std::vector<std::int32_t> factors;
};

TEST_F(MaterialTableTest, EveryEntryMirrorsItsColourTwin) {
    RandomizeParameters(3);
    std::mt19937 random(4);
    for (std::vector<std::int32_t>* statistics : {&imbalance, &army}) {
        std::ranges::generate(*statistics, [&] { return static_cast<std::int32_t>(random() % 121) - 60; });
    }
    Build();
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
    const auto class_of = [](const char* pair) { return EntryOf(pair).pattern_class[0]; };
    EXPECT_EQ(class_of("P1/P1"), 0);
    EXPECT_EQ(class_of("P1/NP1"), 1);
    EXPECT_EQ(class_of("Q/Q"), 113);
    EXPECT_GE(class_of("R/"), 0) << "one piece against none, any difference";
    EXPECT_GE(class_of("BN/N"), 0) << "three points";
    EXPECT_EQ(class_of("BN/"), -1) << "six points, two pieces";
    EXPECT_EQ(class_of("RBN/RN"), -1) << "above nine points";
    EXPECT_EQ(class_of("QQ/Q"), -1);
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

TEST_F(MaterialTableTest, ValuesBlendBetweenFullAndThinArmies) {
    PieceValueFull[ROOK] = 10;
    PieceValueThin[ROOK] = 100;
    PieceValueCommon[ROOK] = 3;
    HeavyFull = 5;
    HeavyThin = 50;
    HeavyCommon = 7;
    TradeThin[0] = 8;
    Build();
    // Two of 24 units of force are on the board: 120 + 15 + (168 * 22 + 25 * 234) / 256.
    EXPECT_EQ(EntryOf("R/").score, -172);

    std::fill_n(PawnCorner, 4, 0);
    PawnCorner[0] = 1000;
    PawnCorner[1] = 20;
    PawnCorner[2] = 300;
    PawnCorner[3] = 4000;
    PieceValueFull[ROOK] = PieceValueThin[ROOK] = PieceValueCommon[ROOK] = 0;
    HeavyFull = HeavyThin = HeavyCommon = 0;
    Build();
    // White's army is all heavy and Black's all light: 30 + 7 + (3 * 300 - 2 * 20) * 235 / 256.
    EXPECT_EQ(EntryOf("RP3/NP2").score, -826);
}

TEST_F(MaterialTableTest, StatisticsAreHalvedTowardZero) {
    const Counts white = ParseArmy("N");
    const Counts black = ParseArmy("B");
    army[static_cast<std::size_t>(PairIndexOf(black.count, white.count))] = 5;
    imbalance[static_cast<std::size_t>(SetIndexOf(white.count, black.count))] = -3;
    Build();
    EXPECT_EQ(EntryOf("N/B").score, -3);  // from White's view 2 + 1
    EXPECT_EQ(EntryOf("B/N").score, 3);
    EXPECT_EQ(EntryOf("NP1/BP1").score, -1);  // the army has changed, the set has not
}

TEST_F(MaterialTableTest, ThinLeadsAreScaledByPointsAndPawns) {
    for (int row = 0; row < 4; ++row) {
        for (int pawns = 0; pawns < 4; ++pawns) {
            MaterialScale[row][pawns] = 10 * row + pawns + 3;
        }
    }
    Build();
    // Computed from White's point of view, so that scaling rounds against White: a lead of three points with many
    // pawns, by Black and by White, level ones, one and two points, a leader in value that is behind in points, and
    // five points, which are lead enough. The last three are taken from the twin, rounding and all.
    ExpectScores(
        "P8/BP7 68; NNP4/BP1 -67; RNP3/RBP2 4; BNP5/RP5 -37; RBNP4/QP4 -24; RRP3/QP3 5; P3/RP3 125; BP7/P8 -68; "
        "BP1/NNP4 67; RBP2/RNP3 -4");
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

TEST_F(MaterialTableTest, FallbackBalance) {
    const struct {
        const char* fen;
        int value;  // Black's point of view
    } cases[] = {
        {"r3k3/8/8/8/8/8/8/NNN1K3", -505},    // 400, 120 two minors more, 15 the rook
        {"rrn1k3/8/8/8/8/8/8/RRR1K3", -230},  // 200, 30 heavy for minor, rooks count twice at most
        {"4k3/8/8/8/8/8/8/QQQ1K3", -2820},    // 2700 and 120
        {"3qk3/8/8/8/8/8/8/NNN1K3", -120},    // two heavy units down, three minors up
    };
    for (const auto& c : cases) {
        FromBothSides(c.fen, [&](const Seen& seen) {
            SetupFen(seen.fen);
            ASSERT_EQ(thread_board.MaterialIndex, MATERIAL_OVERFLOW);
            EXPECT_EQ(EvaluateMaterial(), seen.For(-c.value)) << seen.fen;
        });
    }
}

class MaterialPattern : public MaterialTableTest {
  protected:
    static int TermOf(const std::string& fen) {
        SetupFen(fen);
        return MaterialPatternTerm();
    }
};

TEST_F(MaterialPattern, RookEndingReadsBothWings) {
    // White on a and b: class 3 (bytes 1, 2, 3); its mirror image on g and h: the last, 36. Black on a, b, c: 0.
    RookEndingTable[0][3] = 40;
    RookEndingTable[3][0] = 7;
    RookEndingTable[0][36] = 5;
    RookEndingTable[36][0] = 1;
    EXPECT_EQ(TermOf("r3k3/ppp5/8/8/8/8/PP6/4K2R"), (33 + 4) >> 1);
    EXPECT_EQ(TermOf("4k2r/5ppp/8/8/8/8/6PP/R3K3 b"), (33 + 4) >> 1);  // left to right
    EXPECT_EQ(TermOf("4k2r/pp6/8/8/8/8/PPP5/R3K3"), (-33 - 4) >> 1);
    EXPECT_EQ(TermOf("r3k3/8/8/8/8/8/8/4K2R"), 0);  // no pawn
    RookEndingTable[37][3] = 20;
    EXPECT_EQ(TermOf("r3k3/8/8/8/8/8/PP6/4K2R"), 10);
}

TEST_F(MaterialPattern, PieceSetsReadTheOtherSidesPawns) {
    const int knight_bishop = EntryOf("N/B").pattern_class[0];
    const int bishop_knight = EntryOf("N/B").pattern_class[1];
    PatternRow[knight_bishop][4][1] = 30;  // Black's pawns on a and b, White has some
    PatternRow[knight_bishop][4][0] = 90;
    PatternRow[bishop_knight][1][1] = 11;  // White's pawn on the a-file
    EXPECT_EQ(TermOf("b3k3/pp6/8/8/8/8/P7/N3K3"), 19 >> 1);
    EXPECT_EQ(TermOf("b3k3/pp6/8/8/8/8/8/N3K3"), 90 >> 1);
    EXPECT_EQ(TermOf("n3k3/p7/8/8/8/8/PP6/B3K3"), -19 >> 1);
    EXPECT_EQ(TermOf("bb2k3/pp6/8/8/8/8/P7/NN1QK3"), 0);  // no row for this set
}

TEST_F(MaterialPattern, KingsOfTheLeadingSide) {
    for (int i = 0; i < 3 * 64; ++i) {
        (&KingDistancePattern[0][0][0][0])[i] = 1000 * (i / 64 + 1) + 100 * (i / 16 % 4) + 10 * (i / 4 % 4) + i % 4;
    }
    EXPECT_EQ(TermOf("4k3/8/8/3q4/8/8/8/K7"), 3300);       // seven files and ranks away, counted as five
    EXPECT_EQ(TermOf("8/8/2k5/8/3K4/8/8/N7"), -2032);      // White leads by three; rings 3 and 2
    EXPECT_EQ(TermOf("8/1k6/8/8/3K4/8/8/nn2B3 b"), 2113);  // Black leads by three
    EXPECT_EQ(TermOf("8/1k6/8/8/3K4/8/8/n3B3 b"), 0);      // level
    EXPECT_EQ(TermOf("8/1k6/8/8/3K4/8/8/r3B3 b"), 1113);   // rook against bishop
    EXPECT_EQ(TermOf("8/8/8/8/3Kk3/8/8/r3B3 b"), 1033);    // kings side by side read the nearest row
    std::fill_n(&PatternRow[0][0][0], 114 * 6 * 2, 500);
    EXPECT_EQ(TermOf("4k3/8/8/8/8/8/8/NNN1K3"), 0) << "none outside the table";
}

}  // namespace
