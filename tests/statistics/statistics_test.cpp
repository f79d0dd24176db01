#include "eval/material_table.h"
#include "eval/move_stats.h"
#include "eval/parameters.h"
#include "games/rules.h"
#include "movegen/ordering.h"
#include "position/board.h"
#include "statistics/material_fit.h"
#include "statistics/survey.h"
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

namespace {

class Statistics : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        FileValues values;
        ASSERT_EQ(ReadNamedValues(ReadAll(std::filesystem::path(QUORVANTH_DATA) / "values.params"), values), "");
        PrepareSurvey(values);
        // The table scales a lead with what statistics add to it: here everything counts in full.
        for (auto& row : MaterialScale) {
            std::ranges::fill(row, 64);
        }
    }

    void AddGames(int count, const std::string& fen, const std::string& moves, const std::string& result) {
        for (int i = 0; i < count; ++i) {
            pgn += "[FEN \"" + fen + "\"]\n\n" + moves + " " + result + "\n\n";
        }
    }

    /// `wins` and 100 - `wins` losses for the side that White is in the first position and Black in the second. Only
    /// kings move.
    void AddBothColours(int wins, const std::string& fen, const std::string& turned, const std::string& moves) {
        AddGames(wins / 2, fen, moves, "1-0");
        AddGames(50 - wins / 2, fen, moves, "0-1");
        AddGames(wins / 2, turned, moves, "0-1");
        AddGames(50 - wins / 2, turned, moves, "1-0");
    }

    MaterialFit Fit(const MaterialFitSettings& settings) {
        survey = {};
        SurveyGames("games", pgn, CountedMoves::SCORED, survey);
        return FitMaterial(survey.material.Situations(), settings, statistics);
    }

    std::string pgn;
    Survey survey;
    EvaluationStatistics statistics;
};

constexpr char KINGS[] = "1. Kh1 Kh8 2. Kg1 Kg8";
constexpr char BISHOP_6[] = "1nr3k1/1n3ppp/ppp5/8/8/PPP5/5PPP/1NRB2K1 w - - 0 1";
constexpr char BISHOP_6_BLACK[] = "1nrb2k1/5ppp/ppp5/8/8/PPP5/1N3PPP/1NR3K1 w - - 0 1";
constexpr char BISHOP_5[] = "1nr3k1/1n3ppp/1pp5/8/8/1PP5/5PPP/1NRB2K1 w - - 0 1";
constexpr char BISHOP_5_BLACK[] = "1nrb2k1/5ppp/1pp5/8/8/1PP5/1N3PPP/1NR3K1 w - - 0 1";
constexpr char PAWN_UP[] = "2r3k1/5ppp/1pp5/8/8/PPP5/5PPP/2R3K1 w - - 0 1";
constexpr char PAWN_UP_BLACK[] = "2r3k1/5ppp/ppp5/8/8/1PP5/5PPP/2R3K1 w - - 0 1";
constexpr char QUEEN_UP[] = "2r3k1/5ppp/1pp5/8/8/1PP5/5PPP/2Q3K1 w - - 0 1";

/// What the table and the plain material say for White.
int TableLead(const char* fen) {
    BeginGame(fen);
    return thread_board.Material[WHITE] - thread_board.Material[BLACK] - CurrentMaterial()->score;
}

TEST_F(Statistics, MaterialTableTakesTheResultsOver) {
    AddBothColours(60, BISHOP_6, BISHOP_6_BLACK, KINGS);
    AddBothColours(80, BISHOP_5, BISHOP_5_BLACK, KINGS);
    AddBothColours(76, PAWN_UP, PAWN_UP_BLACK, KINGS);
    AddGames(100, QUEEN_UP, "1. Kh1 Kh8 2. Kg1", "0-1");            // too short to last
    AddGames(29, QUEEN_UP, std::string(KINGS) + " 3. Kh1", "0-1");  // too few
    AddGames(100, BISHOP_6, KINGS, "*");
    const int queen_lead = (Fit({.least = 1000}), TableLead(QUEEN_UP));

    // Without a prior each pair of armies comes to the share of its games, from either side.
    const MaterialFit exact = Fit({.prior = 0, .bound = 1000});
    const struct {
        const char* fen;
        const char* turned;
        double share;
    } pairs[] = {{BISHOP_6, BISHOP_6_BLACK, 0.6}, {BISHOP_5, BISHOP_5_BLACK, 0.8}, {PAWN_UP, PAWN_UP_BLACK, 0.76}};
    for (const auto& pair : pairs) {
        const int lead = TableLead(pair.fen);
        EXPECT_NEAR(1 / (1 + std::exp(-lead / exact.scale)), pair.share, 0.01) << pair.fen;
        EXPECT_EQ(TableLead(pair.turned), -lead) << pair.fen;
    }
    EXPECT_EQ(TableLead(QUEEN_UP), queen_lead);
    ASSERT_EQ(exact.sets.size(), 1u);
    EXPECT_EQ(exact.sets[0].name, "RBN/RNN");
    EXPECT_NEAR(exact.sets[0].games, 200, 0.001);
    EXPECT_NEAR(exact.sets[0].share, 0.7, 0.001);
    EXPECT_EQ(survey.material.Situations().size(), 329u);

    // A prior draws both steps towards 0, the bound cuts.
    const MaterialFit drawn = Fit({.prior = 200});
    EXPECT_GT(drawn.sets[0].centipawns, exact.sets[0].centipawns / 4);
    EXPECT_LT(drawn.sets[0].centipawns, exact.sets[0].centipawns * 3 / 4);
    const MaterialFit bounded = Fit({.prior = 0, .bound = 5});
    EXPECT_FALSE(bounded.armies.empty());
    for (const MaterialFinding& finding : bounded.armies) {
        EXPECT_LE(std::abs(finding.centipawns), 5);
    }
}

/// However long a situation lasts, and whatever pawns go, a game counts once for a set.
TEST_F(Statistics, AGameCountsOnceForASet) {
    AddGames(1, BISHOP_6, std::string(KINGS) + " 3. Kh1 Kh8 4. Kg1 Kg8 5. b4 b5 6. a4 bxa4 7. Kh1 Kh8 8. Kg1 Kg8",
             "1-0");
    SurveyGames("games", pgn, CountedMoves::SCORED, survey);
    ASSERT_EQ(survey.material.Situations().size(), 2u);
    for (const SituationResult& result : survey.material.Situations()) {
        EXPECT_EQ(result.set_share, 0.5F);
        EXPECT_EQ(result.points, 1.0F);
    }
}

/// Where the searches foretold the results there is nothing left to say; the scores are White's.
TEST_F(Statistics, SearchScoresExplainResults) {
    AddGames(60, BISHOP_6, "1. Kh1 {+0.40/8} Kh8 {+0.60/8} 2. Kg1 {+0.50/8} Kg8", "1-0");
    AddGames(40, BISHOP_6, "1. Kh1 {+0.40/8} Kh8 {+0.60/8} 2. Kg1 {+0.50/8} Kg8", "0-1");
    AddGames(60, BISHOP_6_BLACK, "1. Kh1 {-0.40/8} Kh8 {-0.60/8} 2. Kg1 {-0.50/8} Kg8", "0-1");
    AddGames(40, BISHOP_6_BLACK, "1. Kh1 {-0.40/8} Kh8 {-0.60/8} 2. Kg1 {-0.50/8} Kg8", "1-0");
    AddGames(100, BISHOP_6, KINGS, "0-1");  // not scored
    const MaterialFit fit = Fit({.against = MeasuredAgainst::SEARCH});
    EXPECT_NEAR(fit.scale, 50 / std::log(1.5), 0.5);
    EXPECT_TRUE(fit.sets.empty() && fit.armies.empty());
}

TEST_F(Statistics, QuietMovesAreCountedWhereTheyWerePossible) {
    AddGames(1, "4k3/8/8/8/8/8/4P3/4K3 w - - 0 1", "1. e4 {+0.10/3} Kd7", "1-0");
    AddGames(1, "4k3/4p3/8/8/8/8/8/4K3 b - - 0 1", "1... e5 {-0.10/3} 2. Kd2 {win adjudicated}", "0-1");
    AddGames(1, "4k3/8/8/3p4/4P3/8/8/4K3 w - - 0 1", "1. exd5 {+M12/3}", "*");
    AddGames(1, std::string(START_FEN), "1. e4 {0.00/5}", "*");
    AddGames(1, std::string(START_FEN), "1. e5 {0.00/5}", "*");
    testing::internal::CaptureStderr();
    SurveyGames("games", pgn, CountedMoves::SCORED, survey);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "games:19: passed over: no legal move, or several, by the name e5\n");
    EXPECT_EQ(survey.games, 4);
    EXPECT_EQ(survey.unreadable, 1);
    EXPECT_EQ(survey.moves.Decisions(), 4);

    const auto pair_of = [](const std::vector<std::int64_t>& values, int ending, int code, int from, int to) {
        const auto piece = static_cast<int>(std::ranges::find(MoveCountPiece, code) - MoveCountPiece);
        const auto place = static_cast<std::size_t>(2 * (((ending * 6 + piece) * 64 + from) * 64 + to));
        return std::pair(values[place], values[place + 1]);
    };
    using Pair = std::pair<std::int64_t, std::int64_t>;
    const std::vector<std::int64_t> all = survey.moves.Values(1);
    EXPECT_EQ(pair_of(all, 1, PAWN, 12, 28), Pair(2, 2));  // e2e4
    EXPECT_EQ(pair_of(all, 1, PAWN, 12, 20), Pair(0, 2));
    EXPECT_EQ(pair_of(all, 1, PAWN, 28, 36), Pair(0, 1));
    EXPECT_EQ(pair_of(all, 1, PAWN, 28, 35), Pair(0, 0)) << "a capture";
    EXPECT_EQ(pair_of(all, 1, KING, 4, 3), Pair(0, 3));
    EXPECT_EQ(pair_of(all, 0, PAWN, 12, 28), Pair(1, 1));
    EXPECT_EQ(pair_of(all, 0, KNIGHT, 6, 21), Pair(0, 1));
    // Seen: twice 4 king and 2 pawn moves, once 5 and 1, and 20 of the start position.
    EXPECT_EQ(std::accumulate(all.begin(), all.end(), std::int64_t{0}), 3 + 2 * 6 + 6 + 20);

    BuildMoveStats(survey.moves.Values(2));
    for (const Colour colour : {WHITE, BLACK}) {
        const int turn = colour == WHITE ? 0 : 56;
        const auto& frequency = MoveFrequency[1][HistoryClass[PAWN]];
        EXPECT_EQ(frequency[(12 ^ turn) | ((28 ^ turn) << 6)][colour], 1000);
        EXPECT_EQ(MoveFrequency[0][HistoryClass[PAWN]][(12 ^ turn) | ((28 ^ turn) << 6)][colour], 0) << "seen once";
    }
}

}  // namespace
