// The whole evaluation against the answers of data/evaluations.txt, for the defaults and for parameters drawn at random
// that give every term a weight. Whoever changes what the evaluation says on purpose has the file written anew by
// QUORVANTH_WRITE_EVALUATIONS=1, and looks at what has changed.
#include <cstdlib>
#include <fstream>

#include "eval/material_table.h"
#include "support/evaluation_fixture.h"
#include "support/files.h"

namespace {

constexpr int DRAWS = 4;  // the first are the defaults

class KnownAnswers : public EvaluationTest {
  protected:
    void TearDown() override {
        EvaluationTest::TearDown();
        ResetEvaluation();
    }

    static void DrawParameters(unsigned seed) {
        RandomizeParameters(seed);
        std::mt19937 random(seed);
        if (seed == DRAWS - 1) {  // products of any sign, because every shift rounds down
            SetParameters([&](const Parameter& parameter, int entry) {
                return random() % 3 == 0 ? -parameter.values[entry] : parameter.values[entry];
            });
        }
        std::vector<std::int32_t> imbalance(IMBALANCE_SETS);
        std::vector<std::int32_t> army(ARMY_PAIRS);
        for (std::vector<std::int32_t>* statistics : {&imbalance, &army}) {
            std::ranges::generate(*statistics, [&] { return static_cast<std::int32_t>(random() % 121) - 60; });
        }
        BuildMaterialTable({imbalance.data(), army.data(), std::vector<std::int32_t>(ARMY_PAIRS, 256).data()});
        AggressivityRate = 80 + static_cast<std::int32_t>(seed) * 20;
        CowardiceRate = 160 - static_cast<std::int32_t>(seed) * 20;
    }
};

TEST_F(KnownAnswers, OfTheWholeEvaluation) {
    const std::string path = QUORVANTH_TEST_DATA "/evaluations.txt";
    std::istringstream file(ReadAll(path));
    std::vector<std::string> known;
    std::vector<std::string> found;
    for (std::string line; std::getline(file, line);) {
        known.push_back(line);
        found.push_back(line.substr(0, line.find(';')));
    }
    ASSERT_GT(known.size(), 500u);
    for (unsigned draw = 0; draw < DRAWS; ++draw) {
        if (draw > 0) {
            DrawParameters(draw);
        }
        for (std::size_t i = 0; i < found.size(); ++i) {
            EngineSide = static_cast<Colour>(i & 1);
            const std::int32_t result = FullResultOf(found[i].substr(0, found[i].find(';')));
            found[i].append(";").append(std::to_string(thread_eval_info.material_score));
            found[i].append(" ").append(std::to_string(result));
        }
    }
    if (std::getenv("QUORVANTH_WRITE_EVALUATIONS") != nullptr) {
        std::ofstream out(path);
        std::ranges::for_each(found, [&](const std::string& line) { out << line << '\n'; });
    }
    for (std::size_t i = 0; i < known.size(); ++i) {
        EXPECT_EQ(found[i], known[i]);
    }
}

}  // namespace
