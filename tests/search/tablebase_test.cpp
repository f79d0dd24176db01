// What the drivers and the search ask of the tablebases.
#include "search/think.h"
#include "support/engine_fixture.h"
#include "support/files.h"
#include "support/tablebases.h"

#include <optional>
#include <vector>

namespace {

const std::string DATA = QUORVANTH_TEST_DATA "/syzygy";

/// Tables are copied to a folder of their own.
class Tablebases : public EngineTest {
  protected:
    void TearDown() override {
        FreeTablebases();
        TablebasePieces = MultiPV = 0;
        EngineTest::TearDown();
    }

    void Use(const std::vector<std::string>& files) {
        folder_.emplace();
        for (const std::string& file : files) {
            std::filesystem::copy_file(DATA + "/" + file, folder_->Path(file));
        }
        ListTables(folder_->Path());
        TablebasePieces = LargestTable;
    }

    static void Deepen(const char* fen, int depth) {
        CleanTables();
        Setup(fen);
        Printed([depth] { IterativeDeepening(depth, false); });
    }

  private:
    std::optional<TestFolder> folder_;
};

struct RootCase {
    std::vector<std::string> files;
    const char* fen;
    std::int32_t inTablebase;
    std::int32_t noProbe;
    std::int32_t moves;
    std::uint64_t hits;
};

TEST_F(Tablebases, ChooseTheRootMoves) {
    const char* const won = "R6K/8/8/8/8/1k6/8/8 w - -";
    const RootCase cases[] = {
        {{}, won, 0, 1, 16, 0},
        {{"KRvK.rtbw", "KRvK.rtbz"}, won, 1, 1, 13, 13},
        {{"KRvK.rtbw"}, won, 1, 1, 13, 13},
        // A draw has no distance to be asked for.
        {{"KNvK.rtbw"}, "8/8/8/8/8/1k6/8/K2N4 w - -", 1, 1, 5, 5},
        // Without a win the search probes on, and does not count the moves as chosen.
        {{"KRvK.rtbw"}, "7K/8/8/8/8/1k6/8/R7 b - -", 0, 0, 5, 5},
        // The filter by distances fails here when it has moves behind it.
        {{"KRvKB.rtbw", "KRvK.rtbw", "KBvK.rtbw"}, "4k3/8/8/7R/8/8/8/3bK3 w - -", 1, 1, 3, 3},
        {{"KRvK.rtbw", "KRvK.rtbz"}, "8/8/8/8/8/1k6/8/4K2R w K -", 0, 0, 15, 0},
        {{"KRvK.rtbw", "KRvK.rtbz"}, "R6K/8/8/8/8/1k6/7p/8 w - -", 0, 0, 16, 0},
    };
    for (const std::int32_t lines : {1, 3}) {
        for (const RootCase& test : cases) {
            SCOPED_TRACE(std::string(test.fen) + " of " + std::to_string(test.files.size()) + " files");
            Use(test.files);
            MultiPV = lines;
            Deepen(test.fen, 0);
            EXPECT_EQ(RootInTablebase, test.inTablebase);
            EXPECT_EQ(NoTablebaseProbe, test.noProbe);
            EXPECT_EQ(RootMoveCount, test.moves);
            EXPECT_EQ(TbHits, test.hits);
            EXPECT_EQ(Ply, 0);
        }
    }
}

TEST_F(Tablebases, AnswerInTheSearch) {
    Use({"KQvK.rtbw"});
    Deepen("3q4/8/8/8/1k6/8/8/3Q3K w - -", 3);
    EXPECT_EQ(TextOf(MoveList[0].Move), "d1d8");
    EXPECT_EQ(RootScores[0], TABLEBASE_WIN - 1);
    EXPECT_GT(TbHits, 0U);

    // From a root whose moves the tables have chosen by distance the search finds its own way.
    Use({"KQvK.rtbw", "KQvK.rtbz"});
    Deepen("8/8/8/8/1k6/8/8/3Q3K w - -", 6);
    EXPECT_EQ(TbHits, static_cast<std::uint64_t>(RootMoveCount));
    EXPECT_LT(RootScores[0], MATE_BOUND);
}

}  // namespace
