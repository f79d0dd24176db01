// Announcements, the score history, the resign rule and the move's own line.
#include "frontend/delivery.h"

#include "book/learning.h"
#include "movegen/score_history.h"

#include <string>
#include <vector>

#include "support/engine_fixture.h"

namespace {

class Delivery : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        InitScoreHistory();
        PonderMove = 0;
        NewRequested = 0;
        BookMovePlayed = 0;
    }

    /// The engine plays `move` with `score` out of `choices` moves.
    static std::string Deliver(const char* move, std::int32_t score = 0, int choices = 20) {
        MoveList[0].Move = MoveFromText(move);
        RootScores[0] = score;
        MoveCount = choices;
        return Printed([] { EXPECT_TRUE(DeliverMove()); });
    }

    /// A game in which the engine's own moves score as told; what it says at the last of them.
    static std::string PlayGame(const std::vector<std::int32_t>& scores, int forcedMove = -1) {
        const char* own[] = {"g1f3", "f3g1"};
        const char* replies[] = {"g8f6", "f6g8"};
        std::string said;
        for (std::size_t i = 0; i < scores.size(); ++i) {
            said = Deliver(own[i % 2], scores[i], static_cast<int>(i) == forcedMove ? 1 : 20);
            Play(replies[i % 2]);
        }
        return said;
    }
};

TEST_F(Delivery, DrawsByMaterial) {
    const std::pair<const char*, bool> cases[] = {
        {"7k/8/8/8/8/8/8/K7 w - -", true},    {"7k/8/8/8/8/8/8/KB6 w - -", true},   {"6nk/8/8/8/8/8/8/K7 w - -", true},
        {"7k/8/8/8/8/8/8/KNP5 w - -", false}, {"7k/8/8/8/8/8/8/KNN5 w - -", false}, {"7k/p7/8/8/8/8/8/K7 w - -", false},
        {"6bk/8/8/8/8/8/8/KB6 w - -", false}, {"7k/8/8/8/8/8/8/KR6 w - -", false},
    };
    for (const auto& [fen, drawn] : cases) {
        Setup(fen);
        EXPECT_EQ(Printed(AnnounceDraws), drawn ? "1/2-1/2 {Draw by insufficient material}\n" : "") << fen;
    }
    Setup(cases[0].first);
    UciMode = 1;
    EXPECT_EQ(Printed(AnnounceDraws), "");
}

TEST_F(Delivery, DrawsByHistory) {
    for (int time = 1; time <= 2; ++time) {
        EXPECT_EQ(Printed(AnnounceDraws), "");
        for (const char* move : {"g1f3", "g8f6", "f3g1", "f6g8"}) {
            Play(move);
        }
    }
    EXPECT_EQ(Printed(AnnounceDraws), "1/2-1/2 {Draw by repetition}\n");
    Play("e2e4");
    GameHistory[GamePly - 1].fifty = 99;
    EXPECT_EQ(Printed(AnnounceDraws), "");
    GameHistory[GamePly - 1].fifty = 100;  // it still fires when the last move was a pawn's
    EXPECT_EQ(Printed(AnnounceDraws), "1/2-1/2 {Draw by the 50-moves rule}\n");
}

TEST_F(Delivery, Resigns) {
    struct Case {
        std::vector<std::int32_t> scores;
        bool resigns;
        int times = 3;
        int forced = -1;
    };
    const std::vector<std::int32_t> twelve(12, -900);
    const Case cases[] = {
        {{-801, -801, -801}, true},
        {{-800, -800, -800}, false},
        {{-801, -801, -800}, false},
        {{-801, -801}, false},
        {{0, -801, -801}, false},
        {{-801, -801, 0}, true, 3, 2},  // a forced move repeats the score before it
        {{-801, 5, -900}, false, 3, 2},
        {{500}, true, 0},
        {twelve, true, 10},
        {twelve, false, 11},  // more than is remembered
    };
    for (const Case& each : cases) {
        SetupStartPosition();  // another game starts afresh
        ResignTimes = each.times;
        const std::string said = PlayGame(each.scores, each.forced);
        const std::string move = each.scores.size() % 2 == 1 ? "move g1f3\n" : "move f3g1\n";
        EXPECT_EQ(said, (each.resigns ? "resign\n" : "") + move) << &each - cases;
    }
    ResignTimes = 3;
    ResignValue = -2147483647 - 1;
    SetupStartPosition();
    EXPECT_EQ(PlayGame({-900}), "move g1f3\n");
}

TEST_F(Delivery, UciMoveWithAReply) {
    UciMode = 1;
    PonderMove = BuildMove(52, 36, PAWN);  // e7e5
    EXPECT_EQ(Deliver("e2e4", -5000), "bestmove e2e4 ponder e7e5\n");
    EXPECT_EQ(TextOf(PendingBestMove), "e2e4");
    SetupStartPosition();
    PonderMove = BuildMove(52, 28, PAWN);  // no such move
    EXPECT_EQ(Deliver("e2e4"), "bestmove e2e4\n");
    SetupStartPosition();
    UciPonder = 1;
    EXPECT_EQ(Deliver("d2d4"), "");
    EXPECT_EQ(TextOf(PendingBestMove), "d2d4");
    EXPECT_EQ(GamePly, 0);
    UciPonder = 0;
    PonderMove = 0;
    MoveList[0].Move = 0;
    EXPECT_EQ(Printed(DeliverMove), "bestmove 0000\n");
    EXPECT_EQ(GamePly, 0);
}

TEST_F(Delivery, PositionLearningFollowsEveryMove) {
    for (const std::int32_t uci : {0, 1}) {
        for (const std::int32_t learning : {0, 1}) {
            SetupStartPosition();
            UciMode = uci;
            UseLearning = learning;
            LearnCandidateCount = 0;
            Iteration = 7;
            Deliver("e2e4", 30);
            Play("e7e5");
            Deliver("g1f3", -20);
            EXPECT_EQ(LearnCandidateCount, learning) << uci;
        }
    }
    LearnCandidateCount = 0;
}

TEST_F(Delivery, AGameOfAnyLengthGoesOn) {
    const char* moves[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int i = 0; i < 2000; ++i) {
        Deliver(moves[i % 4], -900);
        ASSERT_LE(GamePly, HISTORY_RECORDS - HISTORY_SEARCH_ROOM);
    }
    EXPECT_EQ(GamePly + DroppedPlies, 2000);
    EXPECT_TRUE(PositionIsConsistent());
}

}  // namespace
