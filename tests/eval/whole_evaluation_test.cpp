// What must hold of the whole evaluation whatever its terms say: colours are alike, the cache answers as a fresh
// evaluation would, and nothing on a board or in a parameter breaks it. QUORVANTH_TEST_POSITIONS in the environment
// asks for more positions than the default.
#include <cstdlib>
#include <limits>

#include "eval/colour_view.h"
#include "eval/evaluation_cache.h"
#include "support/evaluation_fixture.h"

namespace {

std::size_t WantedPositions() {
    const char* const wanted = std::getenv("QUORVANTH_TEST_POSITIONS");
    const long long count = wanted != nullptr ? std::atoll(wanted) : 0;
    return count > 0 ? static_cast<std::size_t>(count) : 20000;
}

bool InCheck(Colour colour) {
    return SquareAttacked(ChangeSide(colour), thread_board.KingSquare[colour]);
}

/// Positions of random games, and with few men on the board.
std::vector<std::string> SomePositions(unsigned seed, std::size_t count) {
    std::vector<std::string> positions =
        RandomPositions(seed, static_cast<int>(count / (100 * GameStarts.size())) + 1, 160);
    std::mt19937 random(seed);
    std::ranges::shuffle(positions, random);
    positions.resize(std::min(positions.size(), 2 * count / 3));
    while (positions.size() < count) {
        positions.push_back(RandomFewMen(random, 1 + static_cast<unsigned>(positions.size()) % 7));
    }
    return positions;
}

std::int32_t Fresh(Colour side) {
    thread_board.SideToMove = side;
    std::int32_t result = NO_EVALUATION;
    EvaluateFull(result);
    return result;
}

bool SeveralQueens() {
    return std::max(thread_board.PieceCount[QUEEN][WHITE], thread_board.PieceCount[QUEEN][BLACK]) > 1;
}

class WholeEvaluation : public EvaluationTest {
  protected:
    void SetUp() override {
        EvaluationTest::SetUp();
        ASSERT_TRUE(AllocatePawnHash());
    }
    void TearDown() override {
        EvalHashSize = cache_size_;
        EvaluationTest::TearDown();
    }

    /// Everything that a colour has of its own must be the other's in the mirror. Of several queens the exchange test
    /// moves the one on the lowest square first: other squares can be safely hit.
    static void ExpectColoursAlike(unsigned seed, std::size_t positions, int bound) {
        EngineSide = WHITE;
        for (const std::string& fen : SomePositions(seed, positions)) {
            SetupFen(fen);
            const std::int32_t result = Fresh(thread_board.SideToMove);
            const ThreadEvalInfo here = thread_eval_info;
            EngineSide = ChangeSide(EngineSide);  // as in the next position too
            SetupFen(ColourMirror(fen));
            ASSERT_NEAR(Fresh(thread_board.SideToMove), result, bound) << fen << " engine " << EngineSide;
            const ThreadEvalInfo& there = thread_eval_info;
            ASSERT_NEAR(there.material_score, -here.material_score, 1) << fen;
            // A lead that a check threat may turn can be lost by rounding.
            const bool queens = (PiecesOf(QUEEN, WHITE) | PiecesOf(QUEEN, BLACK)) != 0;
            ASSERT_TRUE(queens || there.both_sides_valid == here.both_sides_valid) << fen;
            for (const Colour colour : {WHITE, BLACK}) {
                const Colour other = ChangeSide(colour);
                const auto alike = [&](auto field) { return (there.*field)[colour] == (here.*field)[other]; };
                const auto turned = [&](auto field) {
                    return (there.*field)[colour] == __builtin_bswap64((here.*field)[other]);
                };
                using Info = ThreadEvalInfo;
                ASSERT_TRUE(alike(&Info::ending) && alike(&Info::cannot_win) && alike(&Info::end_score) &&
                            alike(&Info::shelter_penalty) && alike(&Info::wing_index))
                    << fen;
                ASSERT_TRUE(SeveralQueens() ||
                            (alike(&Info::danger) && alike(&Info::attackers) && alike(&Info::open_score) &&
                             alike(&Info::move_bonus) && turned(&Info::safe_zone_hits)))
                    << fen;
                ASSERT_TRUE(turned(&Info::attacks) && turned(&Info::blocked_pawns) && turned(&Info::passed_pawns) &&
                            turned(&Info::queen_check) && turned(&Info::knight_check))
                    << fen;
            }
        }
    }

    /// The cache is asked in every order; its answers must be those of a fresh evaluation. A derived answer comes of
    /// factors that round the score and side_delta apart.
    static void ExpectCacheTellsTheTruth(unsigned seed, std::size_t positions) {
        constexpr int ROUNDING = 2;
        EvalHashSize = 1;  // so that forgetting a position costs nothing
        ASSERT_TRUE(AllocateEvalHash());
        std::size_t derived = 0;
        for (const std::string& fen : SomePositions(seed, positions)) {
            SetupFen(fen);
            const Colour us = thread_board.SideToMove;
            EngineSide = ChangeSide(EngineSide);
            const std::int32_t fresh[2] = {Fresh(WHITE), Fresh(BLACK)};
            // In check the other side cannot be to move: nobody asks for its score.
            const bool both = !InCheck(us);
            for (const Colour first : {us, ChangeSide(us)}) {
                if (first != us && !both) {
                    continue;
                }
                ClearEvalHash();
                thread_board.SideToMove = first;
                ASSERT_EQ(Evaluate(), fresh[first]) << "first: " << fen;
                const std::int32_t material = thread_eval_info.material_score;
                thread_eval_info = {};
                ASSERT_EQ(Evaluate(), fresh[first]) << "hit: " << fen;
                ASSERT_EQ(thread_eval_info.packed, 0) << "evaluated again instead of read: " << fen;
                ASSERT_EQ(thread_eval_info.material_score, material) << fen;
                if (both) {
                    const Colour second = ChangeSide(first);
                    thread_board.SideToMove = second;
                    derived += ProbeEvaluation(EvaluationKey()) != NO_EVALUATION;
                    ASSERT_NEAR(Evaluate(), fresh[second], ROUNDING) << "derived: " << fen << first;
                    thread_board.SideToMove = first;
                    ASSERT_EQ(Evaluate(), fresh[first]) << "again: " << fen;
                }
            }
        }
        EXPECT_GT(derived, positions / 2);
    }

  private:
    const std::int64_t cache_size_ = EvalHashSize;
};

// With the defaults and with any parameters. Every shift rounds down on either side: hence the bounds.
TEST_F(WholeEvaluation, ColoursAreAlike) {
    ExpectColoursAlike(31, WantedPositions() / 2, 8);
    for (unsigned seed = 0; seed < 4; ++seed) {
        RandomizeParameters(seed);
        ExpectColoursAlike(41 + seed, WantedPositions() / 8, 32);
    }
}

TEST_F(WholeEvaluation, CacheTellsTheTruth) {
    ExpectCacheTellsTheTruth(51, WantedPositions() / 2);
    for (unsigned seed = 0; seed < 4; ++seed) {
        RandomizeParameters(100 + seed);
        ExpectCacheTellsTheTruth(61 + seed, WantedPositions() / 8);
    }
}

/// Up to 64 men of any kind. No king, or many, are among them.
std::string AnyBoard(std::mt19937& random) {
    const std::string letters[] = {"KkPp11111111", "kPpRr1111111111", "KkPpNnBbRrQq1111111111", "PpNnBbRrQqKkPpPp"};
    const std::string& men = letters[random() % 4];
    std::string fen;
    for (int square = 0; square < 64; ++square) {
        fen += men[random() % men.size()];
        fen += square % 8 == 7 && square != 63 ? "/" : "";
    }
    return fen + (random() % 2 == 0 ? " w - - " : " b - - ");
}

// Parameters of any size and boards of any kind: nothing may be read outside a table or overflow, and the same question
// has one answer. For the sanitizers.
TEST_F(WholeEvaluation, AnswersForAnyBoardWithAnyParameters) {
    constexpr std::int32_t EXTREMES[] = {std::numeric_limits<std::int32_t>::min(),
                                         std::numeric_limits<std::int32_t>::max(), -257, 0, 65537};
    std::mt19937 random(77);
    std::vector<std::string> boards = {"",
                                       "8/8/8/8/8/8/8/8 b",
                                       "KKKKKKKK/kkkkkkkk/8/8/8/8/8/8",
                                       "k6K/8/8/8/8/8/8/PPPppppp",
                                       "P6k/n7/8/8/8/8/N7/K6p b",
                                       "qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq/qqqqqqqq"};
    boards.insert(boards.end(), GameStarts.begin(), GameStarts.end());
    for (int round = 0; round < 60; ++round) {
        if (round > 0) {
            const bool all_alike = round % 3 == 0;
            const std::int32_t one = EXTREMES[random() % 5];
            SetParameters(
                [&](const Parameter&, int) { return all_alike ? one : EXTREMES[random() % std::size(EXTREMES)]; });
            EndingWeight = 9;
            EndingWeightNoQueen = 14;
        }
        for (int i = 0; i < 60; ++i) {
            boards.push_back(i % 2 == 0 ? AnyBoard(random) : RandomFewMen(random, 1 + static_cast<unsigned>(i) % 5));
        }
        for (const std::string& fen : boards) {
            testing::internal::CaptureStdout();  // a set that cannot be indexed is complained of
            SetupFen(fen);
            testing::internal::GetCapturedStdout();
            const std::int32_t first = FullResult();
            ASSERT_EQ(FullResult(), first) << fen;
            for (const Colour colour : {WHITE, BLACK}) {
                const ThreadEvalInfo& info = thread_eval_info;
                const int most = info.ending[ChangeSide(colour)] != 0 ? 0 : 127;
                ASSERT_TRUE(info.danger[colour] >= 0 && info.danger[colour] <= most) << fen;
                ASSERT_TRUE(info.shelter_penalty[colour] >= 0 && info.shelter_penalty[colour] < 64) << fen;
            }
        }
        boards.clear();
    }
}

}  // namespace
