#include "eval/pawn_structure.h"

#include <cstring>
#include <string_view>

#include "eval/pawn_hash.h"
#include "support/evaluation_fixture.h"

namespace {

/// The tables of a single pawn's terms, each with its letter; the first three are credits.
struct MarkedTable {
    char letter;
    std::int32_t (&table)[64];
};
const MarkedTable MARKED_TABLES[] = {{'C', PawnConnected},    {'L', PawnLever},        {'N', PawnCandidate},
                                     {'D', PawnDoubled},      {'I', PawnIsolatedOpen}, {'i', PawnIsolated},
                                     {'B', PawnBackwardOpen}, {'b', PawnBackward}};

/// Pawns by square names, white ones before the bar, black ones behind it, and kings out of the way. The colours change
/// places in the mirror.
void PlacePawns(std::string_view squares, const Seen& seen) {
    ClearHistory();
    ClearBoard();
    thread_board.SideToMove = WHITE;
    thread_board.CastlingFlags = 0;
    PlacePiece(E1, WHITE, KING);
    PlacePiece(E8, BLACK, KING);
    Colour colour = WHITE;
    for (std::size_t i = 0; i < squares.size(); ++i) {
        if (squares[i] == '|') {
            colour = BLACK;
        } else if (squares[i] != ' ') {
            PlacePiece(seen.At(SquareOf(&squares[i])), seen.Of(colour), PAWN);
            ++i;
        }
    }
}

/// Calls `test` with the pawns on the board, and again with colours changed.
template <typename Test>
void WithPawns(std::string_view squares, const Test& test) {
    for (const bool mirrored : {false, true}) {
        const Seen seen{"", mirrored};
        PlacePawns(squares, seen);
        test(seen);
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

class PawnStructure : public EvaluationTest {
  protected:
    void SetUp() override {
        EvaluationTest::SetUp();
        std::fill_n(&PiecePosition[4][0][0], 256, 0);
    }
    void TearDown() override {
        PawnHashSize = 0x40000;
        EvaluationTest::TearDown();
    }

    /// Cases told as text: ';' stands between them, '=' between the pawns and what `test` is to expect of them.
    template <typename Test>
    static void ForPawns(const std::string& text, const Test& test) {
        std::istringstream cases(text);
        for (std::string line; std::getline(cases, line, ';');) {
            const std::size_t middle = line.find('=');
            const std::string pawns = line.substr(0, middle);
            WithPawns(pawns, [&](const Seen& seen) { test(seen, pawns, std::istringstream(line.substr(middle + 1))); });
        }
    }

    /// Pawns, and the letters of the terms that the first of them has.
    static void ExpectMarks(const std::string& text) {
        ForPawns(text, [](const Seen& seen, const std::string& pawns, std::istringstream words) {
            const std::string marks = words.str();
            const int square = SquareOf(pawns.c_str() + pawns.find_first_not_of(' '));
            std::int32_t expected = 0;
            for (int i = 0; i < 8; ++i) {
                const MarkedTable& marked = MARKED_TABLES[i];
                std::fill_n(marked.table, 64, 0);
                marked.table[seen.mirrored ? MirrorRank(square) : 63 - square] = PackBoth(1 << i);
                if (marks.find(marked.letter) != std::string::npos) {
                    expected += i < 3 ? 1 << i : -(1 << i);
                }
            }
            EXPECT_EQ(PackedEnding(FreshStructure()), seen.For(expected)) << pawns << marks;
        });
    }
};

TEST_F(PawnStructure, EveryConditionOfAPawn) {
    // Companions.
    ExpectMarks("d4 e4 = C; e4 d3 = C; d3 f3 = I; d4 c2 = -");
    // Isolated, doubled, and what makes a file open.
    ExpectMarks("d4 = I; d4 | d6 = i; d4 | d3 = I; d4 | e6 = I; d4 d2 = DI; d2 d4 = i; d5 d2 | d7 = Di; d4 d2 e4 = CD");
    // Backward, with a companion to step up to.
    ExpectMarks(
        "d3 e4 | a7 = -; d3 e4 | c5 = B; d3 e4 | d4 = b; d3 e4 | d5 = -; d3 e4 | c4 = B; d3 e4 | c4 d6 = b; "
        "d3 e5 = B; d3 e5 | d6 = b; d4 e6 c2 = -; d4 e6 c4 = C");
    // Backward at home, with a companion two ranks on.
    ExpectMarks(
        "d2 e4 = -; d2 e4 | c5 = B; d2 e4 | c4 = B; d2 e4 | e5 = B; d2 e4 | c3 = B; d2 e4 | c6 = -; d2 e4 | d4 = b; "
        "d2 e4 | d3 = b; d2 e4 | d5 = -; d2 e5 = B; d2 e3 = -; d2 e3 | c5 = -; a2 b4 | c5 = -");
    // Candidates.
    ExpectMarks(
        "e4 d4 | d7 = CN; e4 d3 | d7 = CN; e4 d2 | d7 = N; e4 d4 | d7 f7 = C; e4 d4 f2 | d7 f7 = CN; f4 e4 | e5 = C; "
        "f4 e3 | e5 = CN; f4 e3 g4 | e5 g5 = C; e4 d4 | c7 d7 e3 = CN; e4 d4 | e7 d7 = C; e4 d5 | d7 = -; "
        "h4 g4 | g7 = CN; e4 d4 | d4 f4 = C");
    // Levers.
    ExpectMarks(
        "e6 d5 | e7 = CL; e6 f5 | e7 = CL; e6 d5 f5 | e7 = CL; e6 d5 | e7 c7 = C; e6 d5 | e7 c6 = C; "
        "e6 d5 | e7 c5 = CL; e6 d5 | e7 d7 = C; e6 d5 | e7 d6 = C; e6 d5 | e7 b7 = CL; e6 d5 | e7 f7 = CL; "
        "e6 d5 f5 | e7 c7 = CL; e6 d5 f5 | e7 c7 g7 = C; e6 d6 | e7 = C; e6 d5 = C; e5 d4 | e6 = C; b6 a5 | b7 = CL; "
        "b6 a5 | b7 c7 = CL; b6 a5 | b7 a7 = C; b6 c5 | b7 d7 = C; g6 h5 | g7 = CL; h6 g5 | h7 = CL; "
        "h6 g5 | h7 f7 = C; a6 b5 | a7 h7 = CL; a6 b5 | a7 c6 = C");
}

TEST_F(PawnStructure, FilesOfTheEntry) {
    const auto files = [](const std::string& names) {
        int byte = 0;
        for (const char name : names) {
            byte |= name == '-' ? 0 : 1 << (name - 'a');
        }
        return byte;
    };
    // The files with pawns, with passed ones, with weak ones, and the number of pawns on files with passed ones.
    const std::string text =
        "= - - - 0; a4 c2 c4 d3 h2 | h7 = acdh acd a 4; d3 e4 e2 | c5 d6 = de - - 0; d3 e4 | c5 = de e d 1; "
        "b5 f4 | a6 f6 = bf - b 0; a2 a3 a4 | b4 = a a a 3; a2 a3 | b4 = a - a 0";
    ForPawns(text, [&](const Seen& seen, const std::string& pawns, std::istringstream words) {
        std::string all, passed, weak;
        int count = 0;
        words >> all >> passed >> weak >> count;
        const Colour us = seen.Of(WHITE);
        FreshStructure();
        PawnHashEntry& entry = thread_board.PawnEntry;
        EXPECT_EQ(entry.key, thread_board.PawnKey);
        EXPECT_EQ(entry.PawnFiles[us], files(all)) << pawns;
        EXPECT_EQ(entry.PassedFiles(us), files(passed)) << pawns;
        EXPECT_EQ(entry.WeakFilesOf(us), files(weak)) << pawns;
        EXPECT_EQ(PopCount(thread_eval_info.passed_pawns[us]), count) << pawns;
    });
}

TEST_F(PawnStructure, SpansReachFromTheOutermostFileToTheOutermost) {
    for (int i = 0; i < 9; ++i) {
        PawnSpanBonus[i] = Pack(-i, i);
        PassedSpanBonus[i] = Pack(20 * i, -20 * i);
    }
    // The spans of pawns and of passed pawns, Black's less White's.
    const std::string text =
        " = 0 0; c2 | c7 = 0 0; d4 = -1 -1; a4 h4 = -8 -8; a4 h4 | c6 d6 = -6 -6; a4 h4 | a6 b7 h6 = 0 0; "
        "b4 | c6 f6 g7 = 4 2";
    ForPawns(text, [](const Seen& seen, const std::string& pawns, std::istringstream words) {
        int pawn_span = 0;
        int passed_span = 0;
        words >> pawn_span >> passed_span;
        const int sum = seen.For(-(pawn_span - 20 * passed_span));
        EXPECT_EQ(FreshStructure(), Pack(-sum, sum)) << pawns;
    });
}

TEST_F(PawnStructure, WingShelterIsAPatternOfThreeFiles) {
    // The digits of the king's and of the queen's wing, the innermost file last.
    const std::string text =
        " = 777 777; f2 g2 h2 a2 b2 c2 | f7 g7 h7 a7 b7 c7 = 0 0; f3 g4 h5 | f7 g7 h7 = 321 777; f2 g3 h4 = 654 777; "
        "a2 b3 c4 | b7 = 777 416; g2 g3 | f7 = 743 777; g4 g3 = 757 777; a6 | a7 = 777 377";
    ForPawns(text, [](const Seen& seen, const std::string& pawns, std::istringstream words) {
        int kings_wing = 0;
        int queens_wing = 0;
        words >> std::oct >> kings_wing >> queens_wing;
        std::fill_n(ShelterPattern, 512, 0);
        ShelterPattern[kings_wing] += 1;
        ShelterPattern[queens_wing] += 2;
        FreshStructure();
        const auto& wings = thread_board.PawnEntry.WingShelter[seen.Of(WHITE)];
        EXPECT_EQ(wings[0], ShelterPattern[kings_wing]) << pawns;
        EXPECT_EQ(wings[1], ShelterPattern[queens_wing]) << pawns;
    });
}

TEST_F(PawnStructure, StormsCountByDistanceAndContact) {
    for (int i = 0; i < 4; ++i) {
        StormFree[i] = 1 + i;
        StormBlocked[i] = 10 * (1 + i);
        StormContact[i] = 50 + i;
    }
    const std::string text =
        "| g7 = 0 0; | g6 = 4 0; | g3 g4 g5 = 6 0; | g2 = 0 0; | e4 d5 = 2 3; g2 | g3 = 10 0; g3 | g5 = 3 0; "
        "g5 | g6 = 40 0; g2 | h3 = 50 0; g2 h2 | h3 = 50 0; g5 | f6 = 53 0; e3 | e4 = 2 0; e3 | f4 = 2 0; "
        "f3 | e4 = 51 0; a2 b3 | a3 b4 c5 h5 = 3 33; d3 | c4 = 0 2; c3 | d4 = 0 51";
    ForPawns(text, [](const Seen& seen, const std::string& pawns, std::istringstream words) {
        int kings_wing = 0;
        int queens_wing = 0;
        words >> kings_wing >> queens_wing;
        FreshStructure();
        const auto& wings = thread_board.PawnEntry.WingShelter[seen.Of(WHITE)];
        EXPECT_EQ(wings[0], kings_wing) << pawns;
        EXPECT_EQ(wings[1], queens_wing) << pawns;
    });
    // The byte keeps the low bits, whatever the parameters are.
    std::fill_n(ShelterPattern, 512, 0x7fffffff);
    std::fill_n(StormFree, 4, 3);
    PlacePawns("| g4 h4", {"", false});
    FreshStructure();
    EXPECT_EQ(thread_board.PawnEntry.WingShelter[WHITE][0], 5);
}

TEST_F(PawnStructure, RowsFollowTheKingsWings) {
    for (int i = 0; i < 256; ++i) {
        (&PiecePosition[4][0][0])[i] = Pack(1000 * (i / 64), 100 * (i / 64) + i % 64);
    }
    const struct {
        const char* fen;
        int white_row, black_row;
    } cases[] = {{"6k1/1p6/8/8/8/6P1/8/6K1", 0, 0},
                 {"1k6/1p6/8/8/8/6P1/8/6K1", 1, 2},
                 {"6k1/1p6/8/8/8/6P1/8/1K6", 2, 1},
                 {"1k6/1p6/8/8/8/6P1/8/1K6", 3, 3}};
    for (const auto& c : cases) {
        SetupFen(c.fen);
        // b7 as it is; g3 with its rank mirrored is g6.
        EXPECT_EQ(FreshStructure(), PackedSub(Pack(1000 * c.black_row, 100 * c.black_row + 49),
                                              Pack(1000 * c.white_row, 100 * c.white_row + 46)))
            << c.fen;
    }
}

TEST_F(PawnStructure, HashedAnswersAreFreshAnswers) {
    RandomizeParameters(3);
    const std::vector<std::string> positions = RandomPositions(22, 3, 120);
    for (const std::int64_t size : {std::int64_t{0}, std::int64_t{7}, std::int64_t{0x40000}}) {
        PawnHashSize = size;
        ASSERT_TRUE(AllocatePawnHash());
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

TEST_F(PawnStructure, WorkingCopyThenTableThenNothing) {
    PawnHashSize = 64;
    ASSERT_TRUE(AllocatePawnHash());
    std::fill_n(PawnIsolatedOpen, 64, PackBoth(-5));
    PlacePawns("d4", {"", false});
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

    // A board without pawns has its own entry, whose key is that of an empty one.
    std::fill_n(ShelterPattern, 512, 77);
    PawnHashSize = 64;
    ClearPawnHash();
    PlacePawns("", {"", false});
    ASSERT_EQ(thread_board.PawnKey, 0u);
    Structure();
    EXPECT_EQ(thread_board.PawnEntry.WingShelter[WHITE][0], 77);
}

}  // namespace
