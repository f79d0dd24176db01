#include "eval/parameters.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <vector>

#include "eval/init.h"
#include "eval/material_table.h"
#include "eval/move_stats.h"
#include "eval/packed.h"
#include "eval/parameters_fixture.h"
#include "movegen/ordering.h"

namespace {

class ParameterFileTest : public ParametersFixture {};
class ParameterCheckTest : public ParametersFixture {};

/// Leaves the tables as an engine without a file has them.
class ParameterBuildTest : public ParametersFixture {
  protected:
    void TearDown() override {
        std::filesystem::remove("values.txt");
        AssignParameterDefaults();
        Printed(InitEvaluation);
        ParametersFixture::TearDown();
    }
};

class MoveStatsTest : public ParametersFixture {};

// The length of each block of the file, from the sizes of what stands in it.
constexpr int BLOCK_LENGTHS[] = {20,  10,  2916, 856, 371, 424,    256, 435, 32768, 1521, 98304, 1560, 556,
                                 151, 640, 45,   648, 179, 236196, 208, 72,  47,    2560, 74,    776};

/// The place in the file of the n-th value of a block.
int PlaceInFile(int block, int n) {
    return std::accumulate(BLOCK_LENGTHS, BLOCK_LENGTHS + block - 1, n);
}

int FileLength() {
    return std::accumulate(std::begin(BLOCK_LENGTHS), std::end(BLOCK_LENGTHS), 0);
}

/// A file of the numbers 0, 1, 2, ...: each value tells its place.
std::string CountingFile(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += std::to_string(i);
        text += '\n';
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

TEST_F(ParameterFileTest, EachValueStandsAtItsPlace) {
    WriteText(CountingFile(FileLength()));
    const EvaluationStatistics statistics = LoadParameterFile();
    const struct {
        std::int32_t value;
        int block;
        int n;
    } cases[] = {
        {PawnCorner[7], 1, 7},
        {TradeBonus[0], 1, 8},
        {TradeThin[5], 1, 19},
        {PieceValueFull[PAWN], 2, 0},
        {PieceValueThin[PAWN], 2, 1},
        {PieceValueFull[ROOK], 2, 2},
        {PieceValueThin[QUEEN], 2, 9},
        {KnightCheckDanger[0], 4, 231},
        {RookCheckDanger[31], 4, 231 + 95},
        {ShelterPattern[0], 4, 231 + 96 + 17},
        {PawnConnectedColumnOpen[0][0], 5, 51},
        {BlockedKingWinBoth[7], 6, 7},
        {KingSquareShelterColumn[1][2], 6, 8 + 10},
        {PieceSquareColumn[0], 6, 8 + 32},
        {PieceSquareColumn[383], 6, 8 + 32 + 383},
        {DangerCurve[5], 7, 5},
        {ShelterFactor[0], 7, 128},
        {ShelterPenalty[63], 7, 255},
        {PieceSquareScale[0], 8, 35},
        {RookEndingTable[1][2], 10, 41},
        {PatternRow[113][5][1], 12, 1367},
        {KingDistancePattern[0][0][0][1], 12, 1369},
        {DevelopmentOpen[63], 13, 63},
        {DevelopmentEnd[0], 13, 64 + 9},
        {KingZoneValue[0], 13, 64 + 9 + 64 + 35},
        {PassedOwnKing[0][1], 14, 18 + 2},
        {PassedEnemyKing[5][3], 14, 18 + 47},
        {PassedRace[0], 14, 18 + 48},
        {PassedStateEnd[0], 14, 18 + 48 + 18 + 8},
        {PassedFileEnd[0], 14, 18 + 48 + 18 + 8 + 16 + 1},
        {PawnDuelAmplitude, 14, 18 + 48 + 18 + 8 + 16 + 8},
        {PawnLeverOpen[0], 15, 0},
        {PawnLeverOpen[9], 15, 5},   // b2
        {PawnLeverOpen[14], 15, 5},  // g2 is its copy
        {PawnLeverEnd[63], 15, 32 + 28},
        {PawnCandidateEnd[60], 15, 19 * 32 + 31},
        {PawnSpanBonusOpen[1], 16, 2},
        {PassedSpanBonusOpen[8], 16, 17},
        {ThreatBalanceOpen[2], 16, 18 + 6},
        {ThreatBalanceEnd[2], 16, 18 + 7},
        {RookOpenFileOpen[2], 17, 2},
        {RookOpenFileOpen[5], 17, 2},
        {RookOpenFileEnd[7], 17, 4},
        {PawnIsolatedOpenEnd[0], 17, 8 + 7},  // of a whole mirrored row the later file stays
        {PawnIsolatedOpenEnd[7], 17, 8 + 7},
        {PawnBackwardOpenEnd[12], 17, 8 + 64 + 12},
        {PawnIsolatedOpenOpen[4], 17, 8 + 2 * 64 + 4},
        {PawnIsolatedSourceOpen[4], 17, 8 + 4 * 64 + 4},
        {PawnDoubledEnd[60], 17, 8 + 9 * 64 + 60},
        {RookHalfOpenFileEnd[0], 18, 4},
        {RaceAloneBoth[0], 18, 8 + 6 * 8},
        {KpkWinValue[0], 18, 72},
        {PawnRunEach, 18, 72 + 6 + 2},
        {QueenShelterEnd[0], 18, 72 + 15},
        {DevelopmentClass[63], 18, 178},
        {PassedForceEnd[0], 20, 28},
        {KingHunt[0][0][1], 20, 28 + 13 + 9 + 5 + 1},
        {AttackMoveShare, 20, 199},
        {TempoBonus[7], 20, 207},
        {OppositeBishopsPosition[35], 21, 71},
        {MinorThin, 22, 8},
        {MaterialScale[3][3], 22, 8 + 6 + 15},
        {RookOnWeakFileOpen[0], 22, 31},
        {RookHitsWeakPawnEnd[4], 22, 46},
        {PiecePositionEnd[0][0][1], 23, 1281},
        {QueenCheckDanger[0], 24, 42},
        {KnightMobilityEnd[0], 25, 9},
        {KnightLowMobilityOpen[0][0][0][0], 25, 96},
        {BishopFixedPawnsOpen[0], 25, 96 + 4 * 108},
        {QueenSafeMobilityEnd[28], 25, 775},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.value, PlaceInFile(c.block, c.n)) << "block " << c.block << " value " << c.n;
    }
    // The statistics are told by nested counts, white queens outermost, and stored by index.
    const int none[8] = {};
    int one[8] = {};
    one[QUEEN] = 1;
    EXPECT_EQ(statistics.imbalance[static_cast<std::size_t>(SetIndexOf(one, none))], PlaceInFile(3, 1458));
    EXPECT_EQ(statistics.imbalance[static_cast<std::size_t>(SetIndexOf(none, one))], PlaceInFile(3, 729));
    one[QUEEN] = 0;
    one[BISHOP] = 2;
    EXPECT_EQ(statistics.imbalance[static_cast<std::size_t>(SetIndexOf(one, none))], PlaceInFile(3, 2 * 27));
    EXPECT_EQ(statistics.army[1], PlaceInFile(19, 1));
    EXPECT_EQ(statistics.move_counts[98303], PlaceInFile(11, 98303));
}

TEST_F(ParameterFileTest, WhatIsWrittenIsRead) {
    std::mt19937_64 random(7);
    EvaluationStatistics statistics;
    statistics.move_counts.resize(MOVE_COUNT_VALUES);
    for (std::int64_t& count : statistics.move_counts) {
        count = static_cast<std::int64_t>(random() >> 1);
    }
    for (std::int32_t& value : statistics.army) {
        value = static_cast<std::int32_t>(random());
    }
    for (std::int32_t& value : statistics.imbalance) {
        value = static_cast<std::int32_t>(random());
    }
    ForEachPlace([&](const Parameter& parameter, int place) {
        if (parameter.store != ParameterStore::TABLE) {
            return;
        }
        const int entry = EntryOfPlace(parameter, place);
        const bool mirrored = parameter.layout == FileLayout::MIRRORED || parameter.layout == FileLayout::HALF;
        parameter.values[entry] = static_cast<std::int32_t>(random());
        if (mirrored) {
            parameter.values[entry ^ 7] = parameter.values[entry];
        }
    });
    const std::vector<std::int32_t> values = Snapshot();

    ASSERT_TRUE(WriteParameterFile("values.txt", statistics));
    AssignParameterDefaults();
    ASSERT_NE(Snapshot(), values);
    EvaluationStatistics read;
    EXPECT_EQ(Printed([&] { read = LoadParameterFile(); }), "");
    EXPECT_EQ(Snapshot(), values);
    EXPECT_EQ(read.army, statistics.army);
    EXPECT_EQ(read.imbalance, statistics.imbalance);
    EXPECT_EQ(read.move_counts, statistics.move_counts);
    EXPECT_FALSE(WriteParameterFile("no/such/directory", statistics));
}

TEST_F(ParameterFileTest, ReadingEndsAtTheEndOrAtWhatIsNoNumber) {
    const struct {
        const char* text;
        std::int32_t first, second, third;  // of PawnCorner, which starts as -1
    } cases[] = {
        {"", -1, -1, -1},
        {"5", 5, -1, -1},
        {" 5\t\r\n\v\f+6\n\n-7\n", 5, 6, -7},
        {"5 6 x 7", 5, 6, -1},
        {"5 6x 7", 5, 6, -1},
        {"5 - 6", 5, -1, -1},
        {"5 --6", 5, -1, -1},
        {"\xef\xbb\xbf"
         "5 6 7",
         -1, -1, -1},
        {"2147483647 2147483648 -2147483649", 2147483647, 2147483647, -2147483647 - 1},
        {"99999999999999999999999999 -99999999999999999999999999 18446744073709551616", 2147483647, -2147483647 - 1,
         2147483647},
        {"000000000000000000000000000005 1.5", 5, 1, -1},
    };
    for (const auto& c : cases) {
        AssignParameterDefaults();
        std::ranges::fill(PawnCorner, -1);
        WriteText(c.text);
        EXPECT_EQ(Printed([] { LoadParameterFile(); }), "");
        EXPECT_EQ(PawnCorner[0], c.first) << c.text;
        EXPECT_EQ(PawnCorner[1], c.second) << c.text;
        EXPECT_EQ(PawnCorner[2], c.third) << c.text;
        EXPECT_EQ(TempoBonus[0], 8) << c.text;
    }
}

TEST_F(ParameterFileTest, EarlyEndLeavesTheRestAsItWas) {
    std::mt19937 random(3);
    for (int round = 0; round < 12; ++round) {
        const int length = round == 0 ? PlaceInFile(17, 8 + 2) : static_cast<int>(random() % 400000);
        for (const Parameter& parameter : Parameters()) {
            std::fill_n(parameter.values, parameter.entries, -9);
        }
        WriteText(CountingFile(length));
        const EvaluationStatistics statistics = LoadParameterFile();
        int place = 0;
        ForEachPlace([&](const Parameter& parameter, int n) {
            const bool reached = place++ < length;
            if (parameter.store == ParameterStore::TABLE && parameter.layout == FileLayout::IN_ORDER) {
                const bool reset = parameter.name.starts_with("Trade");
                ASSERT_EQ(parameter.values[n], reached ? place - 1 : reset ? 0 : -9) << parameter.name << length;
            }
        });
        EXPECT_EQ(place, FileLength());
        EXPECT_EQ(statistics.move_counts.empty(), length <= PlaceInFile(11, 0));
        EXPECT_EQ(statistics.time_factors, std::vector<std::int32_t>(ARMY_PAIRS, 256));
    }
    // The cut of the first round: in the middle of a mirrored row.
    std::ranges::fill(PawnIsolatedOpenEnd, -9);
    WriteText(CountingFile(PlaceInFile(17, 8 + 2)));
    LoadParameterFile();
    EXPECT_EQ(PawnIsolatedOpenEnd[6], PlaceInFile(17, 8 + 1));
    EXPECT_EQ(PawnIsolatedOpenEnd[5], -9);
}

TEST_F(ParameterFileTest, WithoutAFileTheDefaultsStay) {
    for (const bool directory : {false, true}) {
        if (directory) {
            std::filesystem::create_directory("values.txt");
        }
        const std::vector<std::int32_t> values = Snapshot();
        TradeBonus[2] = TradeThin[3] = PieceValueFull[QUEEN] = PieceValueThin[PAWN] = 77;
        EXPECT_EQ(Printed([] { LoadParameterFile(); }), "Error loading values.txt\n");
        EXPECT_EQ(Snapshot(), values);
    }
}

TEST_F(ParameterFileTest, NegativeMoveCountsAreToldAndKept) {
    std::string text = CountingFile(PlaceInFile(11, 0));
    text += "-5\n-6\n7\n-9000000000000000000\n-1\n";
    WriteText(text);
    EvaluationStatistics statistics;
    EXPECT_EQ(Printed([&] { statistics = LoadParameterFile(); }),
              "Error! Negative prune stats value: -5\nError! Negative prune stats value: -1\n");
    EXPECT_EQ(statistics.move_counts[0], -5);
    EXPECT_EQ(statistics.move_counts[3], -9000000000000000000);
    EXPECT_EQ(statistics.move_counts[5], 0);
}

TEST_F(ParameterCheckTest, ValuesComeIntoTheirBoundsInOrder) {
    FianchettoHole = -1;
    CentreFileHalfOpen[1] = -2;
    QueenCheckDanger[31] = -3;
    DangerCurve[0] = -4;
    ShelterPenalty[63] = -5;
    ShelterPattern[511] = -6;
    ShelterFactor[0] = 0;
    DevelopmentFactor[5] = 0;
    AttackDevelopmentScale[5] = -7;
    KingZoneValue[1] = 200;
    KingZoneValue[2] = -2147483647;
    DevelopmentClass[0] = 6;
    DevelopmentClass[63] = -1;
    DevelopmentOpen[0] = 201;
    DevelopmentEnd[63] = -201;
    KpkWinValue[3] = 5;
    EXPECT_EQ(Printed(ValidateParameters),
              "fix [1, -1 to 0]; \n"
              "fix [5, -2 to 0]; \n"
              "fix [133, -3 to 0]; \n"
              "fix [134, -4 to 0]; \n"
              "fix [325, -5 to 0]; \n"
              "fix [837, -6 to 0]; \n"
              "fix [838, 0 to 1]; \n"
              "fix [907, 0 to 1]; \n"
              "fix [919, -7 to 1]; \n"
              "fix [921, 200 to 127]; \n"
              "fix [1304, 6 to 5]; \n"
              "fix [1367, -1 to 0]; \n"
              "fix [1368, 201 to 200]; \n"
              "fix [1495, -201 to -200]; \n");
    EXPECT_EQ(KingZoneValue[1], 127);
    EXPECT_EQ(KingZoneValue[2], -2147483647);
    EXPECT_EQ(KpkWinValue[3], 860);
    EXPECT_EQ(Printed(ValidateParameters), "");
}

TEST_F(ParameterCheckTest, RowsAndHalfTablesAreMirrored) {
    for (int i = 0; i < 8; ++i) {
        RookHalfOpenFileEnd[i] = i;
    }
    for (int i = 0; i < 64; ++i) {
        BishopOutpostOpen[i] = PawnDoubledEnd[i] = i;
        KingEdgeBonus[i] = i;
    }
    EXPECT_EQ(Printed(ValidateParameters), "");
    EXPECT_EQ(RookHalfOpenFileEnd[4], 3);
    EXPECT_EQ(RookHalfOpenFileEnd[7], 0);
    for (int square = 0; square < 64; ++square) {
        const int folded = FileOf(square) < 4 ? square : 8 * RankOf(square) + 7 - FileOf(square);
        EXPECT_EQ(BishopOutpostOpen[square], folded);
        EXPECT_EQ(PawnDoubledEnd[square], folded);
        EXPECT_EQ(KingEdgeBonus[square], square);
    }
}

TEST_F(ParameterBuildTest, PackingBorrowsFromTheOpeningHalf) {
    std::vector<std::int32_t> opening;
    std::vector<std::int32_t> ending;
    for (const std::int32_t a : {-32768, -32767, -300, -1, 0, 1, 300, 32767}) {
        for (const std::int32_t b : {-32768, -300, -1, 0, 1, 300, 32767}) {
            opening.push_back(a);
            ending.push_back(b);
        }
    }
    std::vector<std::int32_t> packed(opening.size());
    PackTable(opening.data(), ending.data(), packed.data(), static_cast<int>(packed.size()));
    for (std::size_t i = 0; i < packed.size(); ++i) {
        const std::int64_t word = std::int64_t{opening[i]} * 65536 + ending[i];
        EXPECT_EQ(packed[i], static_cast<std::int32_t>(static_cast<std::uint32_t>(word)));
        if (opening[i] > -32768) {
            EXPECT_EQ(PackedOpening(packed[i]), opening[i]);
        }
        EXPECT_EQ(PackedEnding(packed[i]), ending[i]);
    }
}

TEST_F(ParameterBuildTest, PackedTablesTakeBothHalvesOfTheirSources) {
    KnightLowMobilityOpen[3][2][2][2] = -40;
    KnightLowMobilityEnd[3][2][2][2] = -50;
    PawnIsolatedOpenOpen[5] = 11;
    PawnIsolatedOpenEnd[5] = 12;
    PawnIsolatedSourceOpen[5] = 13;
    PawnIsolatedSourceEnd[5] = 14;
    PiecePositionOpen[4][1][63] = 15;
    PiecePositionEnd[4][1][63] = -16;
    RaceLoosePawnsCheckBoth[8] = -17;
    RookOnEighthOpen = 18;
    RookOnEighthEnd = -19;
    QueenPinEnd[KNIGHT] = 20;
    PassedVsMinorsStep[0] = 3;
    BuildDerivedRows();
    PackParameters();
    EXPECT_EQ(KnightLowMobility[3][2][2][2], -40 * 65536 - 50);
    EXPECT_EQ(PawnIsolatedOpen[5], 11 * 65536 + 12);
    EXPECT_EQ(PawnIsolated[5], 13 * 65536 + 14);
    EXPECT_EQ(PawnPiecePosition[1][63], 15 * 65536 - 16);
    EXPECT_EQ(RaceLoosePawnsCheck[8], -17 * 65537);
    EXPECT_EQ(RookOnEighth, 18 * 65536 - 19);
    EXPECT_EQ(QueenPin[KNIGHT], 20);
    EXPECT_EQ(PassedVsMinors[1], 3 * 65537);
    EXPECT_EQ(PawnOutflank, 150 * 65537);
    EXPECT_EQ(ThreatBalance[3], -10 * 65537);
}

TEST_F(ParameterBuildTest, ShortParametersSpreadOverTheirTables) {
    const std::vector<std::int32_t> minors = {30, 60, 100, 110, 120, 120, 120, 120, 120};
    const std::vector<std::int32_t> bishops = {50, 50, 50, 50, 50, 45, 40, 30, 15};
    const std::vector<std::int32_t> passed = {0, 5, 10, 15, 20, 20, 20, 20, 20};
    PawnConnectedColumnOpen[1][2] = 6;
    PawnConnectedColumnEnd[3][7] = -6;
    BuildDerivedRows();
    EXPECT_TRUE(std::ranges::equal(MinorVsPawns, minors));
    EXPECT_TRUE(std::ranges::equal(BishopPairBonus, bishops));
    EXPECT_TRUE(std::ranges::equal(PassedVsMinorsBoth, passed));
    EXPECT_EQ(KingSquareShelter[G1], 0);
    EXPECT_EQ(KingSquareShelter[B2], 1);
    EXPECT_EQ(KingSquareShelter[C1], 1);
    EXPECT_EQ(KingSquareShelter[E1], 3);
    EXPECT_EQ(KingSquareShelter[D8], 6);
    EXPECT_EQ(CheckDanger[KNIGHT], 3);
    EXPECT_EQ(CheckDanger[BISHOP], 2);
    EXPECT_EQ(CheckDanger[QUEEN], 6);
    EXPECT_EQ(PawnConnectedOpen[17], 6);
    EXPECT_EQ(PawnConnectedOpen[22], 6);
    EXPECT_EQ(PawnConnectedEnd[D8], -6);
    EXPECT_EQ(PawnConnectedEnd[E8], -6);
    EXPECT_EQ(std::ranges::count(PawnConnectedOpen, 6) + std::ranges::count(PawnConnectedEnd, -6), 4);
}

TEST_F(ParameterBuildTest, ReloadTakesANewFileButKeepsTheSummedTable) {
    EXPECT_EQ(Printed(InitEvaluation), "Error loading values.txt\n");
    const std::int32_t start_score = MaterialTable[531436].score;
    const std::int32_t knight_score = MaterialTable[729].score;
    const std::vector<std::int32_t> table(std::begin(PieceSquareTable), std::end(PieceSquareTable));
    EXPECT_EQ(start_score, 0);
    EXPECT_EQ(KnightMobility[4], 0);
    EXPECT_EQ(TempoBonus[3], 8);
    EXPECT_EQ(OppositeBishopsMaterial[35], 256);

    EvaluationStatistics statistics;
    const int none[8] = {};
    int knight[8] = {};
    knight[KNIGHT] = 1;
    statistics.imbalance[static_cast<std::size_t>(SetIndexOf(knight, none))] = 40;
    KnightMobilityOpen[4] = 9;
    PieceSquareColumn[0] = 99;
    KingZoneValue[0] = 200;
    ASSERT_TRUE(WriteParameterFile("values.txt", statistics));
    AssignParameterDefaults();
    EXPECT_EQ(Printed(InitEvaluation), "fix [920, 200 to 127]; \n");
    EXPECT_EQ(KnightMobility[4], 9 * 65536);
    EXPECT_NE(MaterialTable[729].score, knight_score);
    EXPECT_EQ(MaterialTable[531436].score, start_score);
    EXPECT_TRUE(std::ranges::equal(PieceSquareTable, table));

    // Without the file what was loaded stays.
    std::filesystem::remove("values.txt");
    Printed(InitEvaluation);
    EXPECT_EQ(KnightMobility[4], 9 * 65536);
    EXPECT_EQ(MaterialTable[729].score, knight_score);
}

std::int64_t* PairOf(std::vector<std::int64_t>& counts, int ending, int piece, int from, int to) {
    return &counts[static_cast<std::size_t>(((ending * 6 + piece) * 64 + from) * 64 + to) * 2];
}

TEST_F(MoveStatsTest, FrequenciesArePerMilleAndMirroredForBlack) {
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
        {1, 5, D1, H1, 0, 10, 0},          // queen
        {1, 4, F1, G2, -5, 10, 0},         // bishop: negative counts never reach a reader
        {0, 5, D8, H8, huge, huge, 1000},  // the product outgrows 64 bits
        {0, 5, D7, H7, huge, 1, 2147483647},
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
        const int mirrored = (56 + FileOf(c.from) - 8 * RankOf(c.from)) | ((56 + FileOf(c.to) - 8 * RankOf(c.to)) << 6);
        EXPECT_EQ(MoveFrequency[c.ending][row][mirrored][BLACK], c.expected);
        EXPECT_EQ(MoveFrequency[1 - c.ending][row][c.from | (c.to << 6)][WHITE], 0);
    }

    // Without new counts the table stays.
    BuildMoveStats({});
    EXPECT_EQ(MoveFrequency[0][0][E1 | (F1 << 6)][WHITE], 333);
    BuildMoveStats(std::vector<std::int64_t>(MOVE_COUNT_VALUES));
    EXPECT_EQ(MoveFrequency[0][0][E1 | (F1 << 6)][WHITE], 0);
}

TEST_F(MoveStatsTest, OfPiecesThatShareAClassTheEarlierStays) {
    std::vector<std::int64_t> counts(MOVE_COUNT_VALUES);
    const auto set = [&](int piece, int from, int to, std::int64_t played) {
        PairOf(counts, 0, piece, from, to)[0] = played;
        PairOf(counts, 0, piece, from, to)[1] = 1000;
    };
    set(2, E2, F1, 20);  // pawn
    set(4, E2, F1, 30);  // bishop, the same class
    set(4, E2, D1, 40);
    BuildMoveStats(counts);
    const int row = HistoryClass[BISHOP];
    EXPECT_EQ(MoveFrequency[0][row][E2 | (F1 << 6)][WHITE], 20);
    EXPECT_EQ(MoveFrequency[0][row][E2 | (D1 << 6)][WHITE], 40);
    EXPECT_EQ(MoveFrequency[0][row][E7 | (D8 << 6)][BLACK], 40);
}

}  // namespace
