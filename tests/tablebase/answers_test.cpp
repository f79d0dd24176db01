// The probes against the answers of an independent prober, en passant taken into account.
#include "support/tablebase_answers.h"
#include "support/tablebases.h"
#include "tablebase/probe.h"

#include <gtest/gtest.h>

namespace {

void Compare(const std::vector<TablebaseAnswer>& answers) {
    int wrong = 0;
    for (const TablebaseAnswer& answer : answers) {
        PlaceForProbe(answer.fen);
        const ProbeState before;
        std::int32_t wdlSuccess = 0;
        std::int32_t dtzSuccess = 0;
        const std::int32_t wdl = ProbeWdl(wdlSuccess);
        const std::int32_t dtz = ProbeDtz(dtzSuccess);
        const bool right = wdlSuccess > 0 && dtzSuccess > 0 && wdl == answer.wdl && dtz == answer.dtz;
        if ((!right || !(before == ProbeState())) && ++wrong <= 10) {
            ADD_FAILURE() << answer.material << " " << answer.fen << ": " << wdl << " " << dtz << ", not " << answer.wdl
                          << " " << answer.dtz;
        }
    }
    EXPECT_EQ(wrong, 0) << "of " << answers.size();
}

TEST(Answers, OfTheTablesAtHand) {
    ListTables(QUORVANTH_TEST_DATA "/syzygy");
    const auto answers = TablebaseAnswers("", QUORVANTH_TEST_DATA "/syzygy/answers.csv");
    EXPECT_EQ(answers.size(), 320u);
    Compare(answers);
}

TEST(Answers, OfAllTables) {
    if (!ListSharedTables()) {
        GTEST_SKIP() << "no tables at hand";
    }
    const auto answers = TablebaseAnswers();
    EXPECT_EQ(answers.size(), 92500u);
    Compare(answers);
}

}  // namespace
