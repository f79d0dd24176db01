#include "eval/pawn_structure.h"

#include <cstring>
#include <string_view>

#include "eval/packed.h"
#include "eval/pawn_hash.h"
#include "support/evaluation_tables.h"
#include "support/random_parameters.h"
#include "support/random_positions.h"

namespace {

/// The terms of a single pawn: +1, +2, -4 and so on in the sum.
enum Mark : int {
    PLAIN = 0,
    CONNECTED = 1,
    LEVER = 2,
    DOUBLED = 4,
    ISOLATED_OPEN = 8,
    ISOLATED = 16,
    BACKWARD_OPEN = 32,
    BACKWARD = 64,
    CANDIDATE = 128
};
constexpr int CREDITS = CONNECTED | LEVER | CANDIDATE;

struct MarkedTable {
    std::int32_t (&table)[64];
    Mark mark;
};
const MarkedTable MARKED_TABLES[] = {{PawnConnected, CONNECTED}, {PawnLever, LEVER},
                                     {PawnDoubled, DOUBLED},     {PawnIsolatedOpen, ISOLATED_OPEN},
                                     {PawnIsolated, ISOLATED},   {PawnBackwardOpen, BACKWARD_OPEN},
                                     {PawnBackward, BACKWARD},   {PawnCandidate, CANDIDATE}};

int SquareOf(std::string_view name) {
    return (name[0] - 'a') + 8 * (name[1] - '1');
}

/// Pawns by square names, white ones before the bar, black ones behind it, and kings out of the way.
void PlacePawns(std::string_view squares, bool mirrored) {
    ClearHistory();
    ClearBoard();
    thread_board.SideToMove = WHITE;
    thread_board.CastlingFlags = 0;
    PlacePiece(E1, WHITE, KING);
    PlacePiece(E8, BLACK, KING);
    Colour colour = WHITE;
    for (std::size_t i = 0; i < squares.size();) {
        if (squares[i] == '|') {
            colour = BLACK;
        } else if (squares[i] != ' ') {
            const int square = SquareOf(squares.substr(i, 2));
            PlacePiece(mirrored ? MirrorRank(square) : square, mirrored ? ChangeSide(colour) : colour, PAWN);
            ++i;
        }
        ++i;
    }
}

std::int32_t Structure() {
    thread_eval_info = {};
    thread_eval_info.wing_index[WHITE] =
        2 * (FileOf(thread_board.KingSquare[WHITE]) < 4) + (FileOf(thread_board.KingSquare[BLACK]) < 4);
    EvaluatePawnStructure();
    return thread_eval_info.packed;
}

std::int32_t FreshStructure() {
    ClearPawnHash();
    return Structure();
}

class PawnStructure : public testing::Test {
  protected:
    static void SetUpTestSuite() { ResetEvaluation(); }
    static void TearDownTestSuite() { ResetEvaluation(); }
    void SetUp() override {
        AssignParameterDefaults();
        PackParameters();
        ClearPawnHash();
    }
    void TearDown() override {
        FreePawnHash();
        PawnHashSize = 0x40000;
    }

    static void RandomizeStructure() {
        RandomParameters random(3);
        for (const MarkedTable& marked : MARKED_TABLES) {
            random.FillPackedBySquare(marked.table);
        }
        random.FillPacked(&PiecePosition[4][0][0], 4 * 64);
        random.FillPacked(PawnSpanBonus, 9);
        random.FillPacked(PassedSpanBonus, 9);
        random.Fill(ShelterPattern, 512, 0, 60);
        random.Fill(StormFree, 4, -20, 20);
        random.Fill(StormBlocked, 4, -20, 20);
        random.Fill(StormContact, 4, -20, 20);
    }
};

TEST_F(PawnStructure, EveryConditionOfAPawn) {
    const struct {
        const char* pawns;  // the first is the one that is looked at
        int marks;
    } cases[] = {
        {"d4 e4", CONNECTED},
        {"e4 d3", CONNECTED},
        {"d3 f3", PLAIN | ISOLATED_OPEN},
        {"d4 c2", PLAIN},
        // Isolated, doubled, and what makes a file open.
        {"d4", ISOLATED_OPEN},
        {"d4 | d6", ISOLATED},
        {"d4 | d3", ISOLATED_OPEN},
        {"d4 | e6", ISOLATED_OPEN},
        {"d4 d2", DOUBLED | ISOLATED_OPEN},
        {"d2 d4", ISOLATED},
        {"d5 d2 | d7", DOUBLED | ISOLATED},
        {"d4 d2 e4", DOUBLED | CONNECTED},
        // Backward, with a companion to step up to.
        {"d3 e4 | a7", PLAIN},
        {"d3 e4 | c5", BACKWARD_OPEN},
        {"d3 e4 | d4", BACKWARD},
        {"d3 e4 | d5", PLAIN},
        {"d3 e4 | c4", BACKWARD_OPEN},
        {"d3 e4 | c4 d6", BACKWARD},
        {"d3 e5", BACKWARD_OPEN},
        {"d3 e5 | d6", BACKWARD},
        {"d4 e6 c2", PLAIN},
        {"d4 e6 c4", CONNECTED},
        // Backward at home, with a companion two ranks on.
        {"d2 e4", PLAIN},
        {"d2 e4 | c5", BACKWARD_OPEN},
        {"d2 e4 | c4", BACKWARD_OPEN},
        {"d2 e4 | e5", BACKWARD_OPEN},
        {"d2 e4 | c3", BACKWARD_OPEN},
        {"d2 e4 | c6", PLAIN},
        {"d2 e4 | d4", BACKWARD},
        {"d2 e4 | d3", BACKWARD},
        {"d2 e4 | d5", PLAIN},
        {"d2 e5", BACKWARD_OPEN},
        {"d2 e3", PLAIN},
        {"d2 e3 | c5", PLAIN},  // one step is enough here
        {"a2 b4 | c5", PLAIN},  // attacks nothing on the way
        // Candidates.
        {"e4 d4 | d7", CONNECTED | CANDIDATE},
        {"e4 d3 | d7", CONNECTED | CANDIDATE},
        {"e4 d2 | d7", CANDIDATE},
        {"e4 d4 | d7 f7", CONNECTED},
        {"e4 d4 f2 | d7 f7", CONNECTED | CANDIDATE},
        {"f4 e4 | e5", CONNECTED},
        {"f4 e3 | e5", CONNECTED | CANDIDATE},
        {"f4 e3 g4 | e5 g5", CONNECTED},
        {"e4 d4 | c7 d7 e3", CONNECTED | CANDIDATE},
        {"e4 d4 | e7 d7", CONNECTED},
        {"e4 d5 | d7", PLAIN},  // a helper must not be ahead
        {"h4 g4 | g7", CONNECTED | CANDIDATE},
        {"e4 d4 | d4 f4", CONNECTED},  // level enemies: passed
        // Levers.
        {"e6 d5 | e7", CONNECTED | LEVER},
        {"e6 f5 | e7", CONNECTED | LEVER},
        {"e6 d5 f5 | e7", CONNECTED | LEVER},
        {"e6 d5 | e7 c7", CONNECTED},
        {"e6 d5 | e7 c6", CONNECTED},
        {"e6 d5 | e7 c5", CONNECTED | LEVER},
        {"e6 d5 | e7 d7", CONNECTED},
        {"e6 d5 | e7 d6", CONNECTED},
        {"e6 d5 | e7 b7", CONNECTED | LEVER},
        {"e6 d5 | e7 f7", CONNECTED | LEVER},
        {"e6 d5 f5 | e7 c7", CONNECTED | LEVER},
        {"e6 d5 f5 | e7 c7 g7", CONNECTED},
        {"e6 d6 | e7", CONNECTED},
        {"e6 d5", CONNECTED},
        {"e5 d4 | e6", CONNECTED},
        {"b6 a5 | b7", CONNECTED | LEVER},
        {"b6 a5 | b7 c7", CONNECTED | LEVER},
        {"b6 a5 | b7 a7", CONNECTED},
        {"b6 c5 | b7 d7", CONNECTED},
        {"g6 h5 | g7", CONNECTED | LEVER},
        {"h6 g5 | h7", CONNECTED | LEVER},
        {"h6 g5 | h7 f7", CONNECTED},
        {"a6 b5 | a7 h7", CONNECTED | LEVER},
        {"a6 b5 | a7 c6", CONNECTED},
    };
    for (const auto& c : cases) {
        for (const bool mirrored : {false, true}) {
            const int square = SquareOf(c.pawns);
            for (const MarkedTable& marked : MARKED_TABLES) {
                std::fill_n(marked.table, 64, 0);
                marked.table[mirrored ? MirrorRank(square) : 63 - square] = PackBoth(marked.mark);
            }
            PlacePawns(c.pawns, mirrored);
            const int sum = PackedEnding(FreshStructure());
            const int expected = (c.marks & CREDITS) - (c.marks & ~CREDITS);
            EXPECT_EQ(sum, mirrored ? expected : -expected) << c.pawns << (mirrored ? " mirrored" : "");
        }
    }
}

TEST_F(PawnStructure, FilesOfTheEntry) {
    const auto files = [](std::string_view names) {
        int byte = 0;
        for (const char name : names) {
            byte |= 1 << (name - 'a');
        }
        return byte;
    };
    const struct {
        const char* pawns;
        const char* files;
        const char* passed;
        const char* weak;
        int passed_pawns;
    } cases[] = {
        {"", "", "", "", 0},
        {"a4 c2 c4 d3 h2 | h7", "acdh", "acd", "a", 4},
        {"d3 e4 e2 | c5 d6", "de", "", "", 0},
        {"d3 e4 | c5", "de", "e", "d", 1},
        {"b5 f4 | a6 f6", "bf", "", "b", 0},
        {"a2 a3 a4 | b4", "a", "a", "a", 3},
        {"a2 a3 | b4", "a", "", "a", 0},
    };
    for (const auto& c : cases) {
        for (const bool mirrored : {false, true}) {
            const Colour us = mirrored ? BLACK : WHITE;
            PlacePawns(c.pawns, mirrored);
            FreshStructure();
            PawnHashEntry& entry = thread_board.PawnEntry;
            EXPECT_EQ(entry.key, thread_board.PawnKey);
            EXPECT_EQ(entry.PawnFiles[us], files(c.files)) << c.pawns;
            EXPECT_EQ(entry.PassedFiles(us), files(c.passed)) << c.pawns;
            EXPECT_EQ(entry.WeakFilesOf(us), files(c.weak)) << c.pawns;
            EXPECT_EQ(PopCount(thread_eval_info.passed_pawns[us]), c.passed_pawns) << c.pawns;
        }
    }
}

TEST_F(PawnStructure, SpansReachFromTheOutermostFileToTheOutermost) {
    for (int i = 0; i < 9; ++i) {
        PawnSpanBonus[i] = Pack(-i, i);
        PassedSpanBonus[i] = Pack(20 * i, -20 * i);
    }
    const struct {
        const char* pawns;
        int pawn_span, passed_span;  // Black's less White's
    } cases[] = {
        {"", 0, 0},
        {"c2 | c7", 0, 0},
        {"d4", -1, -1},
        {"a4 h4", -8, -8},
        {"a4 h4 | c6 d6", -6, -6},
        {"a4 h4 | a6 b7 h6", 0, 0},
        {"b4 | c6 f6 g7", 4, 2},
    };
    for (const auto& c : cases) {
        for (const int sign : {1, -1}) {
            PlacePawns(c.pawns, sign < 0);
            const int sum = c.pawn_span - 20 * c.passed_span;
            EXPECT_EQ(FreshStructure(), Pack(-sign * sum, sign * sum)) << c.pawns;
        }
    }
}

TEST_F(PawnStructure, WingShelterIsAPatternOfThreeFiles) {
    const struct {
        const char* pawns;
        int kings_wing, queens_wing;  // digits, the innermost file last
    } cases[] = {
        {"", 0777, 0777},
        {"f2 g2 h2 a2 b2 c2 | f7 g7 h7 a7 b7 c7", 0, 0},
        {"f3 g4 h5 | f7 g7 h7", 0321, 0777},
        {"f2 g3 h4", 0654, 0777},
        {"a2 b3 c4 | b7", 0777, 0416},
        {"g2 g3 | f7", 0743, 0777},
        {"g4 g3", 0757, 0777},
        {"a6 | a7", 0777, 0377},
    };
    for (const auto& c : cases) {
        for (const bool mirrored : {false, true}) {
            const Colour us = mirrored ? BLACK : WHITE;
            std::fill_n(ShelterPattern, 512, 0);
            ShelterPattern[c.kings_wing] += 1;
            ShelterPattern[c.queens_wing] += 2;
            const int both = c.kings_wing == c.queens_wing ? 3 : 0;
            PlacePawns(c.pawns, mirrored);
            FreshStructure();
            EXPECT_EQ(thread_board.PawnEntry.WingShelter[us][0], both != 0 ? both : 1) << c.pawns;
            EXPECT_EQ(thread_board.PawnEntry.WingShelter[us][1], both != 0 ? both : 2) << c.pawns;
        }
    }
}

TEST_F(PawnStructure, StormsCountByDistanceAndContact) {
    for (int i = 0; i < 4; ++i) {
        StormFree[i] = 1 + i;
        StormBlocked[i] = 10 * (1 + i);
        StormContact[i] = 50 + i;
    }
    const struct {
        const char* pawns;
        int kings_wing, queens_wing;
    } cases[] = {
        {"| g7", 0, 0},     {"| g6", 4, 0},        {"| g3 g4 g5", 6, 0},
        {"| g2", 0, 0},     {"| e4 d5", 2, 3},  // the fourth file of the half counts too
        {"g2 | g3", 10, 0}, {"g3 | g5", 3, 0},     {"g5 | g6", 40, 0},
        {"g2 | h3", 50, 0}, {"g2 h2 | h3", 50, 0},  // contact before block
        {"g5 | f6", 53, 0}, {"e3 | e4", 2, 0},      // neither on the wing
        {"e3 | f4", 2, 0},  {"f3 | e4", 51, 0},    {"a2 b3 | a3 b4 c5 h5", 3, 10 + 20 + 3},
        {"d3 | c4", 0, 2},  {"c3 | d4", 0, 51},
    };
    for (const auto& c : cases) {
        for (const bool mirrored : {false, true}) {
            const Colour us = mirrored ? BLACK : WHITE;
            PlacePawns(c.pawns, mirrored);
            FreshStructure();
            EXPECT_EQ(thread_board.PawnEntry.WingShelter[us][0], c.kings_wing) << c.pawns;
            EXPECT_EQ(thread_board.PawnEntry.WingShelter[us][1], c.queens_wing) << c.pawns;
        }
    }
    // The byte keeps the low bits, whatever the parameters are.
    std::fill_n(ShelterPattern, 512, 0x7fffffff);
    std::fill_n(StormFree, 4, 3);
    PlacePawns("| g4 h4", false);
    FreshStructure();
    EXPECT_EQ(thread_board.PawnEntry.WingShelter[WHITE][0], 5);
}

TEST_F(PawnStructure, RowsFollowTheKingsWings) {
    for (int row = 0; row < 4; ++row) {
        for (int square = 0; square < 64; ++square) {
            PiecePosition[4][row][square] = Pack(1000 * row, 100 * row + square);
        }
    }
    const struct {
        const char* fen;
        int white_row, black_row;
    } cases[] = {
        {"6k1/1p6/8/8/8/6P1/8/6K1 w - - ", 0, 0},
        {"1k6/1p6/8/8/8/6P1/8/6K1 w - - ", 1, 2},
        {"6k1/1p6/8/8/8/6P1/8/1K6 w - - ", 2, 1},
        {"1k6/1p6/8/8/8/6P1/8/1K6 w - - ", 3, 3},
    };
    for (const auto& c : cases) {
        SetupFen(c.fen);
        // b7 as it is; g3 with its rank mirrored is g6.
        EXPECT_EQ(FreshStructure(), PackedSub(Pack(1000 * c.black_row, 100 * c.black_row + 49),
                                              Pack(1000 * c.white_row, 100 * c.white_row + 46)))
            << c.fen;
    }
}

TEST_F(PawnStructure, ColourMirrorIsTheExactOpposite) {
    RandomizeStructure();
    for (const std::string& fen : RandomPositions(21, 6, 140)) {
        SetupFen(fen);
        const std::int32_t packed = FreshStructure();
        PawnHashEntry entry = thread_board.PawnEntry;
        const ThreadEvalInfo info = thread_eval_info;
        SetupFen(ColourMirror(fen));
        ASSERT_EQ(PackedAdd(FreshStructure(), packed), 0) << fen;
        for (const Colour colour : {WHITE, BLACK}) {
            const Colour other = ChangeSide(colour);
            ASSERT_EQ(thread_board.PawnEntry.WingShelter[other][0], entry.WingShelter[colour][0]) << fen;
            ASSERT_EQ(thread_board.PawnEntry.WingShelter[other][1], entry.WingShelter[colour][1]) << fen;
            ASSERT_EQ(thread_board.PawnEntry.WeakFilesOf(other), entry.WeakFilesOf(colour)) << fen;
            ASSERT_EQ(__builtin_bswap64(thread_eval_info.passed_pawns[other]), info.passed_pawns[colour]) << fen;
        }
    }
}

TEST_F(PawnStructure, HashedAnswersAreFreshAnswers) {
    RandomizeStructure();
    const std::vector<std::string> positions = RandomPositions(22, 3, 120);
    for (const std::int64_t size : {std::int64_t{0}, std::int64_t{7}, std::int64_t{0x40000}}) {
        PawnHashSize = size;
        ASSERT_TRUE(AllocatePawnHash());
        for (int round = 0; round < 2; ++round) {
            for (const std::string& fen : positions) {
                SetupFen(fen);
                const std::int32_t hashed = Structure();
                const PawnHashEntry entry = thread_board.PawnEntry;
                thread_board.PawnEntry.key = ~thread_board.PawnKey;
                PawnHashSize = 0;
                ASSERT_EQ(Structure(), hashed) << fen;
                ASSERT_EQ(std::memcmp(&entry, &thread_board.PawnEntry, sizeof entry), 0) << fen;
                PawnHashSize = size;
            }
        }
    }
}

TEST_F(PawnStructure, WorkingCopyThenTableThenNothing) {
    PawnHashSize = 64;
    ASSERT_TRUE(AllocatePawnHash());
    std::fill_n(PawnIsolatedOpen, 64, PackBoth(-5));
    PlacePawns("d4", false);
    EXPECT_EQ(Structure(), PackBoth(-5));
    std::fill_n(PawnIsolatedOpen, 64, PackBoth(-9));
    EXPECT_EQ(Structure(), PackBoth(-5)) << "the working copy holds while the pawns do";
    thread_board.PawnEntry.key = 1;
    EXPECT_EQ(Structure(), PackBoth(-5)) << "and the table after it";

    // Another key in the same slot takes its place.
    thread_board.PawnKey ^= 64;
    EXPECT_EQ(Structure(), PackBoth(-9));
    thread_board.PawnKey ^= 64;
    EXPECT_EQ(Structure(), PackBoth(-9));

    std::fill_n(PawnIsolatedOpen, 64, PackBoth(-2));
    ClearPawnHash();
    EXPECT_EQ(Structure(), PackBoth(-2));
    std::fill_n(PawnIsolatedOpen, 64, PackBoth(-3));
    PawnHashSize = 0;
    EXPECT_EQ(Structure(), PackBoth(-3)) << "without a table nothing is kept";
}

TEST_F(PawnStructure, ABoardWithoutPawnsHasItsOwnEntry) {
    std::fill_n(ShelterPattern, 512, 77);
    ASSERT_TRUE(AllocatePawnHash());
    PlacePawns("", false);
    ASSERT_EQ(thread_board.PawnKey, 0u);
    Structure();
    EXPECT_EQ(thread_board.PawnEntry.WingShelter[WHITE][0], 77);
}

}  // namespace
