#include "eval/parameters.h"

#include <cmath>
#include <filesystem>
#include <limits>
#include <numeric>
#include <vector>

#include "eval/material_table.h"
#include "eval/move_stats.h"
#include "eval/parameter_file.h"
#include "movegen/ordering.h"
#include "support/evaluation_fixture.h"
#include "support/files.h"

namespace {

/// Leaves the tables as an engine without a file has them.
class ParameterTest : public EvaluationTest {
  protected:
    std::int32_t no_centre_ = 0;  // of a curve that has none

    void TearDown() override {
        std::filesystem::remove_all("values.txt");
        ResetEvaluation();
        BuildPieceSquareSource();
        EvaluationTest::TearDown();
    }

    const WorkingFolder folder_;
};

/// The place in the file of the n-th value of a block, or of the end for the block after the last.
int PlaceInFile(int block, int n) {
    for (const Parameter& parameter : Parameters()) {
        n += parameter.block < block ? parameter.places : 0;
    }
    return n;
}

/// A file of the numbers 0, 1, 2, ...: each value tells its place.
std::string CountingFile(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text.append(std::to_string(i)).append("\n");
    }
    return text;
}

std::vector<std::int32_t> Snapshot() {
    std::vector<std::int32_t> values;
    for (const Parameter& parameter : Parameters()) {
        values.insert(values.end(), parameter.values, parameter.values + parameter.entries);
    }
    return values;
}

std::size_t ImbalanceOf(int white_code, int white_count, int black_code, int black_count) {
    int white[8] = {};
    int black[8] = {};
    white[white_code] = white_count;
    black[black_code] = black_count;
    return static_cast<std::size_t>(SetIndexOf(white, black));
}

TEST_F(ParameterTest, EachValueStandsAtItsPlace) {
    folder_.Write("values.txt", CountingFile(PlaceInFile(PARAMETER_BLOCKS + 1, 0)));
    const EvaluationStatistics statistics = LoadParameterFile();
    // Of half tables and rows files a..d stand in the file, of a whole mirrored row the later file stays. The
    // statistics are told by nested counts, white queens outermost, and stored by index.
    const struct {
        std::int32_t value;
        int block, n;
    } cases[] = {{PieceValueFull[ROOK], 2, 2},
                 {KingSquareShelterColumn[1][2], 6, 18},
                 {PatternRow[113][5][1], 12, 1367},
                 {PassedEnemyKing[5][3], 14, 65},
                 {ThreatBalanceEnd[2], 16, 25},
                 {RaceAloneBoth[0], 18, 56},
                 {PiecePositionEnd[0][0][1], 23, 1281},
                 {QueenSafeMobilityEnd[28], 25, 775},
                 {PawnLeverOpen[14], 15, 5},
                 {RookOpenFileOpen[5], 17, 2},
                 {PawnIsolatedOpenEnd[0], 17, 15},
                 {statistics.imbalance[ImbalanceOf(QUEEN, 1, PAWN, 0)], 3, 1458},
                 {statistics.imbalance[ImbalanceOf(PAWN, 0, QUEEN, 1)], 3, 729},
                 {statistics.imbalance[ImbalanceOf(BISHOP, 2, PAWN, 0)], 3, 54},
                 {statistics.army[1], 19, 1},
                 {static_cast<std::int32_t>(statistics.move_counts[98303]), 11, 98303}};
    for (const auto& c : cases) {
        EXPECT_EQ(c.value, PlaceInFile(c.block, c.n)) << "block " << c.block << " value " << c.n;
    }
}

TEST_F(ParameterTest, WhatIsWrittenIsRead) {
    std::mt19937_64 random(7);
    const auto number = [&] { return static_cast<std::int32_t>(random()); };
    EvaluationStatistics statistics;
    statistics.move_counts.resize(MOVE_COUNT_VALUES);
    std::ranges::generate(statistics.move_counts, [&] { return static_cast<std::int64_t>(random() >> 1); });
    std::ranges::generate(statistics.army, number);
    std::ranges::generate(statistics.imbalance, number);
    ForEachPlace([&](const Parameter& parameter, int place) {
        if (parameter.store == ParameterStore::TABLE) {
            const int entry = EntryOfPlace(parameter, place);
            const bool mirrored = parameter.layout == FileLayout::MIRRORED || parameter.layout == FileLayout::HALF;
            parameter.values[entry] = number();
            parameter.values[mirrored ? entry ^ 7 : entry] = parameter.values[entry];
        }
    });
    const std::vector<std::int32_t> values = Snapshot();
    ASSERT_TRUE(WriteParameterFile("values.txt", statistics));
    AssignParameterDefaults();
    ASSERT_NE(Snapshot(), values);
    EvaluationStatistics read;
    EXPECT_EQ(OutputOf([&] { read = LoadParameterFile(); }), "");
    EXPECT_EQ(Snapshot(), values);
    EXPECT_EQ(read.army, statistics.army);
    EXPECT_EQ(read.imbalance, statistics.imbalance);
    EXPECT_EQ(read.move_counts, statistics.move_counts);
    EXPECT_FALSE(WriteParameterFile("no/such/directory", statistics));
}

TEST_F(ParameterTest, ReadingEndsAtTheEndOrAtWhatIsNoNumber) {
    constexpr std::int32_t LOWEST = -2147483647 - 1;
    constexpr std::int32_t HIGHEST = 2147483647;
    const struct {
        const char* text;
        std::int32_t first, second, third;  // of PawnCorner, which starts as -1
    } cases[] = {
        {"", -1, -1, -1},
        {" 5\t\r\n\v\f+6\n\n-7\n", 5, 6, -7},
        {"5 6x 7", 5, 6, -1},
        {"5 - 6", 5, -1, -1},
        {"5 --6", 5, -1, -1},
        {"\xef\xbb\xbf 5 6 7", -1, -1, -1},
        {"2147483647 2147483648 -2147483649", HIGHEST, HIGHEST, LOWEST},
        {"99999999999999999999999999 -99999999999999999999999999 18446744073709551616", HIGHEST, LOWEST, HIGHEST},
        {"000000000000000000000000000005 1.5", 5, 1, -1}};
    for (const auto& c : cases) {
        std::ranges::fill(PawnCorner, -1);
        folder_.Write("values.txt", c.text);
        EXPECT_EQ(OutputOf([] { LoadParameterFile(); }), "");
        EXPECT_EQ(PawnCorner[0], c.first) << c.text;
        EXPECT_EQ(PawnCorner[1], c.second) << c.text;
        EXPECT_EQ(PawnCorner[2], c.third) << c.text;
        EXPECT_EQ(TempoBonus[0], 8) << c.text;
    }
}

TEST_F(ParameterTest, EarlyEndLeavesTheRestAsItWas) {
    for (const int length : {5, 1000, PlaceInFile(11, 0), 200000, 390000, PlaceInFile(17, 8 + 2)}) {
        for (const Parameter& parameter : Parameters()) {
            std::fill_n(parameter.values, parameter.entries, -9);
        }
        folder_.Write("values.txt", CountingFile(length));
        const EvaluationStatistics statistics = LoadParameterFile();
        int place = 0;
        ForEachPlace([&](const Parameter& parameter, int n) {
            const bool reached = place++ < length;
            if (parameter.store == ParameterStore::TABLE && parameter.layout == FileLayout::IN_ORDER) {
                const bool reset = parameter.name.starts_with("Trade");
                ASSERT_EQ(parameter.values[n], reached ? place - 1 : reset ? 0 : -9) << parameter.name << length;
            }
        });
        EXPECT_EQ(statistics.move_counts.empty(), length <= PlaceInFile(11, 0));
        EXPECT_EQ(statistics.time_factors, std::vector<std::int32_t>(ARMY_PAIRS, 256));
    }
    // The last cut: in the middle of a mirrored row.
    EXPECT_EQ(PawnIsolatedOpenEnd[6], PlaceInFile(17, 8 + 1));
    EXPECT_EQ(PawnIsolatedOpenEnd[5], -9);
}

TEST_F(ParameterTest, WithoutAFileTheDefaultsStay) {
    const std::vector<std::int32_t> values = Snapshot();
    for (const bool directory : {false, true}) {
        if (directory) {
            std::filesystem::create_directory("values.txt");
        }
        TradeBonus[2] = TradeThin[3] = PieceValueFull[QUEEN] = PieceValueThin[PAWN] = 77;
        EXPECT_EQ(OutputOf([] { LoadParameterFile(); }), "Error loading values.txt\n");
        EXPECT_EQ(Snapshot(), values);
    }
}

TEST_F(ParameterTest, NegativeMoveCountsAreToldAndKept) {
    folder_.Write("values.txt", CountingFile(PlaceInFile(11, 0)).append("-5\n-6\n7\n-9000000000000000000\n-1\n"));
    EvaluationStatistics statistics;
    EXPECT_EQ(OutputOf([&] { statistics = LoadParameterFile(); }),
              "Error! Negative prune stats value: -5\nError! Negative prune stats value: -1\n");
    EXPECT_EQ(statistics.move_counts[0], -5);
    EXPECT_EQ(statistics.move_counts[3], -9000000000000000000);
    EXPECT_EQ(statistics.move_counts[5], 0);
}

TEST_F(ParameterTest, ValuesComeIntoTheirBoundsInOrder) {
    FianchettoHole = -1;
    QueenCheckDanger[31] = -3;
    ShelterPenalty[63] = -5;
    ShelterFactor[0] = 0;
    AttackDevelopmentScale[5] = -7;
    KingZoneValue[1] = 200;
    KingZoneValue[2] = -2147483647;
    DevelopmentClass[63] = -1;
    DevelopmentOpen[0] = 201;
    DevelopmentEnd[63] = -201;
    KpkWinValue[3] = 5;
    EXPECT_EQ(OutputOf(ValidateParameters),
              "fix [1, -1 to 0]; \nfix [133, -3 to 0]; \nfix [325, -5 to 0]; \nfix [838, 0 to 1]; "
              "\nfix [919, -7 to 1]; \nfix [921, 200 to 127]; \nfix [1367, -1 to 0]; \nfix [1368, 201 to 200]; "
              "\nfix [1495, -201 to -200]; \n");
    EXPECT_EQ(KingZoneValue[2], -2147483647);
    EXPECT_EQ(KpkWinValue[3], 860);
    EXPECT_EQ(OutputOf(ValidateParameters), "");

    // Rows and half tables are mirrored, others not.
    std::iota(RookHalfOpenFileEnd, RookHalfOpenFileEnd + 8, 0);
    for (std::int32_t* table : {BishopOutpostOpen, PawnDoubledEnd, KingEdgeBonus}) {
        std::iota(table, table + 64, 0);
    }
    ValidateParameters();
    EXPECT_EQ(RookHalfOpenFileEnd[6], 1);
    for (int square = 0; square < 64; ++square) {
        const int folded = FileOf(square) < 4 ? square : square ^ 7;
        EXPECT_EQ(BishopOutpostOpen[square], folded);
        EXPECT_EQ(PawnDoubledEnd[square], folded);
        EXPECT_EQ(KingEdgeBonus[square], square);
    }
}

std::int64_t* PairOf(std::vector<std::int64_t>& counts, int ending, int piece, int from, int to) {
    return &counts[static_cast<std::size_t>(((ending * 6 + piece) * 64 + from) * 64 + to) * 2];
}

TEST_F(ParameterTest, ReloadTakesANewFileButKeepsTheSummedTable) {
    EXPECT_EQ(OutputOf(InitEvaluation), "Error loading values.txt\n");
    const std::int32_t knight_score = MaterialTable[729].score;
    const std::vector<std::int32_t> table(std::begin(PieceSquareTable), std::end(PieceSquareTable));

    EvaluationStatistics statistics;
    statistics.imbalance[ImbalanceOf(KNIGHT, 1, PAWN, 0)] = 40;
    statistics.move_counts.resize(MOVE_COUNT_VALUES);
    std::fill_n(PairOf(statistics.move_counts, 0, 0, E1, F1), 2, 7);
    KnightMobilityOpen[4] = 9;
    PieceSquareColumn[0] = 99;
    KingZoneValue[0] = 200;
    ASSERT_TRUE(WriteParameterFile("values.txt", statistics));
    AssignParameterDefaults();
    EXPECT_EQ(OutputOf(InitEvaluation), "fix [920, 200 to 127]; \n");
    EXPECT_EQ(KnightMobility[4], 9 * 65536);
    EXPECT_NE(MaterialTable[729].score, knight_score);
    EXPECT_EQ(MoveFrequency[0][HistoryClass[KING]][E1 | (F1 << 6)][WHITE], 1000);
    EXPECT_TRUE(std::ranges::equal(PieceSquareTable, table));

    // Without the file the parameters stay, the statistics go.
    std::filesystem::remove("values.txt");
    OutputOf(InitEvaluation);
    EXPECT_EQ(KnightMobility[4], 9 * 65536);
    EXPECT_EQ(MaterialTable[729].score, knight_score);
    EXPECT_EQ(MoveFrequency[0][HistoryClass[KING]][E1 | (F1 << 6)][WHITE], 0);
}

TEST_F(ParameterTest, MoveFrequenciesArePerMilleAndMirroredForBlack) {
    constexpr std::int64_t huge = 9'000'000'000'000'000'000;
    const struct {
        int ending, piece, from, to;
        std::int64_t played, seen;
        std::int32_t expected;
    } cases[] = {
        {0, 0, E1, F1, 1, 3, 333},         // king
        {1, 1, B1, C1 + 16, 7, 7, 1000},   // knight, class of the king
        {0, 2, E2, E2 + 16, 5, 0, 0},      // pawn never seen
        {0, 3, A1, A8, 999, 1000000, 0},   // rook: rounds down
        {1, 4, F1, G2, -5, 10, 0},         // bishop: negative counts never reach a reader
        {0, 5, D8, H8, huge, huge, 1000},  // queen: the product outgrows 64 bits
        {0, 5, D7, H7, huge, 1, 2147483647},
        // Of pieces that share a class the earlier stays.
        {0, 2, E2, F1, 20, 1000, 20},
        {0, 4, E2, F1, 30, 1000, 20},
        {0, 4, E2, D1, 40, 1000, 40},
    };
    std::vector<std::int64_t> counts(MOVE_COUNT_VALUES);
    for (const auto& c : cases) {
        std::int64_t* pair = PairOf(counts, c.ending, c.piece, c.from, c.to);
        pair[0] = c.played;
        pair[1] = c.seen;
    }
    BuildMoveStats(counts);
    for (const auto& c : cases) {
        const int row = HistoryClass[MoveCountPiece[c.piece]];
        EXPECT_EQ(MoveFrequency[c.ending][row][c.from | (c.to << 6)][WHITE], c.expected);
        EXPECT_EQ(MoveFrequency[c.ending][row][MirrorRank(c.from) | (MirrorRank(c.to) << 6)][BLACK], c.expected);
        EXPECT_EQ(MoveFrequency[1 - c.ending][row][c.from | (c.to << 6)][WHITE], 0);
    }
}

TEST_F(ParameterTest, PieceSquaresComeFromTheSourceRows) {
    const auto built = [](int code, int colour, int square) {
        BuildPieceSquareTable();
        return PieceSquareTable[PieceSquareIndex(code, colour, square)];
    };
    const std::vector<std::int32_t> before(std::begin(PieceSquareTable), std::end(PieceSquareTable));
    // Numbers beyond 16 bits are cut; the file columns run from the own side, both wings alike.
    PieceSquareColumn[static_cast<std::size_t>(PieceSquareColumnIndex(1, 0, 1, 2))] = 65536 + 77;
    BuildPieceSquareSource();
    for (const int file : {1, 6}) {
        EXPECT_EQ(PackedOpening(built(KNIGHT, WHITE, 16 + file)), 77);
        EXPECT_EQ(PackedOpening(built(KNIGHT, BLACK, 40 + file)), 77);
    }
    EXPECT_EQ(PieceSquareOpen[PieceSquareIndex(KNIGHT, WHITE, 17)], -10);
    // The defaults are the built-in numbers but for the one that is not symmetric.
    AssignParameterDefaults();
    BuildPieceSquareSource();
    for (int index = 0; index < 1024; ++index) {
        const bool asymmetric =
            index == PieceSquareIndex(KING, WHITE, G1) || index == PieceSquareIndex(KING, BLACK, G8);
        const std::int32_t word = built(index >> 7, index >> 6 & 1, index & 63);
        ASSERT_EQ(word, Pack(asymmetric ? 19 : PieceSquareOpen[index], PieceSquareEnd[index])) << index;
        ASSERT_EQ(word, PieceSquareTable[index ^ (1 << 6) ^ 56]) << index;
    }
    std::ranges::copy(before, PieceSquareTable);
}

TEST_F(ParameterTest, AnySigmoidParametersGiveADefinedCurve) {
    std::mt19937 random(7);
    const auto expect_curve = [&](const auto& sigmoid, int low, std::int32_t& a, std::int32_t& k, std::int32_t& c,
                                  void (*build)(), std::int32_t base) {
        const auto rounded = [](double value) {
            return value < 0 ? -std::floor(0.5 - value) : std::floor(value + 0.5);
        };
        const int high = low + static_cast<int>(std::size(sigmoid.values)) - 1;
        for (int round = 0; round < 60; ++round) {
            const std::int32_t spread = round % 2 == 0 ? 2000 : std::numeric_limits<std::int32_t>::max();
            for (std::int32_t* parameter : {&a, &k, &c}) {
                *parameter = round == 0 ? *parameter : std::uniform_int_distribution<int>(-spread, spread)(random);
            }
            build();
            for (int x = low; x <= high; ++x) {
                const double centre = &c == &no_centre_ ? 0 : c;
                const double exact = a / (1 + std::exp(k * (centre - x) / 1000)) - a / 2.0;
                ASSERT_EQ(sigmoid[x], base + rounded(exact)) << x << ": " << a << ' ' << k << ' ' << c;
            }
            // Beyond the ends the last entry.
            ASSERT_EQ(sigmoid[low - 1], sigmoid[low]);
            ASSERT_EQ(sigmoid[std::numeric_limits<std::int32_t>::max()], sigmoid[high]);
        }
    };
    expect_curve(PawnEndgameSigmoid, -150, PawnEndgameAmplitude, PawnEndgameSlope, no_centre_, InitPawnEndgameSigmoid,
                 0);
    expect_curve(PressureSigmoid, 0, PressureAmplitude, PressureSlope, PressureCentre, InitPressureSigmoid, 0);
    expect_curve(AttackHorrorSigmoid, 0, AttackHorrorAmplitude, AttackHorrorSlope, AttackHorrorCentre,
                 InitAttackHorrorSigmoid, 0);
    expect_curve(DefendHorrorSigmoid, 0, DefendHorrorAmplitude, DefendHorrorSlope, DefendHorrorCentre,
                 InitDefendHorrorSigmoid, 0);
    expect_curve(HorrorSigmoid, -1000, HorrorAmplitude, HorrorSlope, no_centre_, InitHorrorSigmoid, 256);
}

}  // namespace
