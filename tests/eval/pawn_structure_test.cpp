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

TEST_F(PawnStructure, EmptyBoardsHaveAnEntry) {
    PawnHashSize = 64;
    ASSERT_TRUE(AllocatePawnHash());
    std::fill_n(ShelterPattern, 512, 77);
    PlacePawns("", {"", false});
    ASSERT_EQ(thread_board.PawnKey, 0u) << "that of an empty slot";
    Structure();
    EXPECT_EQ(thread_board.PawnEntry.WingShelter[WHITE][0], 77);
}

}  // namespace
