// What the position learning file does to a search: only at high nodes of the engine's own side.
#include "book/learning.h"
#include "support/book_maker.h"
#include "support/search_fixture.h"

namespace {

constexpr const char* MIDDLE_GAME = "r1bq1rk1/pp3ppp/2n1pn2/3p4/3P4/2N1PN2/PP3PPP/R1BQ1RK1 b - - ";
constexpr const char* FIFTEEN_EACH = "1b1q2k1/5ppp/1n6/8/8/1N4P1/5P1P/1B1Q2K1 w - - ";  // by PieceWeight
constexpr const char* FOURTEEN_BLACK = "3q1rk1/5ppp/8/8/8/1N4P1/5P1P/1B1Q2K1 w - - ";
constexpr const char* FOURTEEN_WHITE = "1b1q2k1/5ppp/1n6/8/8/6P1/5P1P/3Q1RK1 w - - ";

class LearntScore : public SearchTest {
  protected:
    void TearDown() override {
        CloseLearningFile();
        SearchTest::TearDown();
    }

    /// Stands in the file as the only record.
    void Learn(std::int32_t depth, std::int32_t score) const {
        std::filesystem::remove(file.Path());
        OpenLearningFile(file.Path());
        const Key key = thread_board.PositionKey;
        LearnCandidates[0] = {
            static_cast<std::uint32_t>(key), static_cast<std::uint32_t>(key >> 16), depth, 0, score, 0, ""};
        LearnCandidateCount = 1;
        CommitLearning();
    }

    FileOnDisk file;
};

TEST_F(LearntScore, CountsUnderItsConditions) {
    // A score that no search gives these positions.
    constexpr std::int32_t LEARNT = -7777;
    struct Case {
        const char* what;
        bool counts;
        const char* fen = MIDDLE_GAME;
        std::int32_t depth = 25;
        std::int32_t learnt_depth = 25;
        bool switched_on = true;
        bool own_side = true;
        std::int32_t dropped = 0;
        std::int32_t fifty = 0;
    };
    const Case cases[] = {
        {.what = "just enough", .counts = true},
        {.what = "too low a node", .counts = false, .depth = 24},
        {.what = "learnt less deep", .counts = false, .learnt_depth = 24},
        {.what = "switched off", .counts = false, .switched_on = false},
        {.what = "the opponent's node", .counts = false, .own_side = false},
        {.what = "half-move 119", .counts = true, .dropped = 118},  // one stands on the stack
        {.what = "half-move 120", .counts = false, .dropped = 119},
        {.what = "fifty-move counter 69", .counts = true, .fifty = 69},
        {.what = "fifty-move counter 70", .counts = false, .fifty = 70},
        {.what = "enough pieces", .counts = true, .fen = FIFTEEN_EACH},
        {.what = "too few black ones", .counts = false, .fen = FOURTEEN_BLACK},
        {.what = "too few white ones", .counts = false, .fen = FOURTEEN_WHITE},
    };
    for (const Case& each : cases) {
        Stand(each.fen);
        Learn(each.learnt_depth, LEARNT);
        UseLearningData = each.switched_on ? 1 : 0;
        if (!each.own_side) {
            EngineSide = ChangeSide(EngineSide);
        }
        DroppedPlies = each.dropped;
        thread_board.FiftyCounter = each.fifty;
        const std::int32_t score = Search(-INFINITE_SCORE, INFINITE_SCORE, each.depth, 1, 0);
        EXPECT_EQ(score == LEARNT, each.counts) << each.what << " " << score;
    }
}

}  // namespace
