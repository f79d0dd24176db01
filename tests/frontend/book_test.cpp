// The book in play: what asks it for a move, and what teaches it a game.
#include "book/book.h"

#include "frontend/interpreter.h"
#include "search/think.h"
#include "support/book_maker.h"
#include "support/engine_fixture.h"

namespace {

class BookInPlay : public EngineTest {
  protected:
    void TearDown() override {
        CloseBook();
        MoveCount = 0;
        EngineTest::TearDown();
    }
    void Open(const BookMaker& maker) {
        file.Write(maker.Bytes());
        Printed([&] { OpenBook(file.Path()); });
    }
    /// Plays the beginning of a game whose moves are all in the book, the one that is taught with plus and minus.
    static BookMaker PlayGame(int plus, int minus) {
        SetupStartPosition();
        BookMaker maker;
        for (const std::string move : {"g1f3", "g8f6", "b1c3", "b8c6"}) {
            BookList list = ListOf(move + " 0 0");
            if (move == "b1c3") {
                list[0].plus = plus;
                list[0].minus = minus;
            }
            maker.Add(list);
            Play(move);
        }
        return maker;
    }
    static void Command(const char* line) {
        CommandLine.Assign(line);
        Printed(Interpret);
    }
    /// The engine's move at the end of a search.
    static void Deliver(std::int32_t score, std::int32_t from_book = 0) {
        MoveList[0].Move = MoveFromText("c3b1");
        RootScores[0] = score;
        BookMovePlayed = from_book;
        MoveCount = 2;
        Printed(DeliverMove);
    }

    FileOnDisk file;
};

TEST_F(BookInPlay, EveryTriggerTeachesOnce) {
    struct Case {
        const char* what;
        void (*trigger)();
        int plus, minus;
    };
    const Case cases[] = {
        {"beyond the bound", [] { Deliver(401); }, 2, 0},
        {"at the bound", [] { Deliver(400); }, 0, 0},
        {"lost", [] { Deliver(-401); }, 0, 2},
        {"a book move", [] { Deliver(-401, 1); }, 0, 0},
        {"any score", [] { BookLearningBound = -1, Deliver(0); }, 2, 0},
        {"switched off", [] { UseBookLearning = 0, Deliver(401); }, 0, 0},
        {"mate", [] { Printed([] { AnnounceNoMoves(true); }); }, 1, 1},
        {"stalemate", [] { UciMode = 1, AnnounceNoMoves(false); }, 1, 1},
        {"fifty moves", [] { GameHistory[GamePly - 1].fifty = 100, Printed(AnnounceDraws); }, 1, 1},
        {"in search of a hint",
         [] { Deliver(0), HintSearch = 1, Printed([] { AnnounceNoMoves(false); }), HintSearch = 0; }, 1, 1},
        {"reset at a level score", [] { Deliver(0), Command("reset"); }, 1, 1},
        {"reset at another score", [] { Deliver(1), Command("reset"); }, 0, 0},
        {"another game", [] { Deliver(1), Command("ucinewgame"); }, 1, 1},
        {"the engine to move", [] { Command("ucinewgame"); }, 0, 0},
        {"the side changed", [] { Command("black"), Command("ucinewgame"); }, 0, 0},
        {"after learning", [] { Deliver(401), AnnounceNoMoves(false), Command("ucinewgame"); }, 2, 0},
    };
    for (const Case& each : cases) {
        UciMode = 0;
        AssignStyleDefaults();
        Open(PlayGame(0, 0));
        EngineSide = WHITE;
        each.trigger();
        EXPECT_TRUE(PositionIsConsistent());
        const std::string left = file.Read();
        UciMode = 0;
        EXPECT_EQ(left, PlayGame(each.plus, each.minus).Bytes()) << each.what;
    }
}

TEST_F(BookInPlay, IsAskedOnlyWhereItMayAnswer) {
    struct Case {
        const char* what;
        void (*prepare)();
        bool book;
    };
    const Case cases[] = {
        {"as it is", [] {}, true},
        {"own book off", [] { OwnBook = 0; }, false},
        {"moves to search", [] { SearchMoves[SearchMoveCount++] = MoveFromText("a7a8q"); }, false},
        {"without end", [] { TimeLeft = INFINITE_TIME; }, false},
        {"several lines", [] { MultiPV = 2; }, false},
        {"closed", [] { CloseBook(); }, false},
        {"no such position", [] { Play("e1d1"); }, false},
    };
    const char* fen = "8/P6k/8/8/8/8/8/4K3 w - -";
    for (const Case& each : cases) {
        AssignDefaults();
        TimeLeft = NO_CLOCK;
        SearchMoveCount = 0;
        Setup(fen);
        Open(BookMaker(ListOf("a7a8 0 0 a2a3 9 0")));
        each.prepare();
        Printed([] { IterativeDeepening(1, true); });
        EXPECT_EQ(BookMovePlayed != 0, each.book) << each.what;
        if (each.book) {
            EXPECT_EQ(TextOf(MoveList[0].Move), "a7a8q");
            EXPECT_EQ(MoveCount, 2);
            EXPECT_EQ(RootScores[0], 0);
        }
        Setup(fen);
        Printed([] { IterativeDeepening(1, false); });
        EXPECT_EQ(BookMovePlayed, 0);
    }
}

TEST_F(BookInPlay, AMoveOfTheBookWaitsForThePonderHit) {
    Open(BookMaker(ListOf("d2d4 0 0")));
    UciMode = 1;
    UciPonder = 1;
    Type("isready\nponderhit\n");
    EXPECT_EQ(Printed(Think), "readyok\nbestmove d2d4\n");
    EXPECT_EQ(GamePly, 1);
}

}  // namespace
