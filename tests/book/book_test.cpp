// The book: opening, lookup, choice, listing and learning, on files made here.
#include "book/book.h"

#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "position/fen.h"
#include "position/move_text.h"
#include "position/settings.h"
#include "support/board_tables.h"
#include "support/book_maker.h"
#include "support/random_positions.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstring>
#include <map>
#include <random>
#include <set>

namespace {

constexpr const char* START = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ";
constexpr const char* NO_MOVES = "No moves from current pos in book\n";

class Book : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        FillBoardTables();
        FillPieceSquaresAtRandom();
    }
    void SetUp() override {
        AssignDefaults();
        AssignStyleDefaults();
        BookLearnDone = 0;
        MoveCount = 0;
        SeedBookChoice(1);
        SetupFen(START);
    }
    void TearDown() override { CloseBook(); }

    std::string Open(const std::string& bytes) {
        CloseBook();
        file.Write(bytes);
        return OutputOf([&] { OpenBook(file.Path()); });
    }
    /// The moves of the first 1,000 games from the position on the board.
    static std::map<std::string, int> Choices() {
        std::map<std::string, int> counts;
        char text[MOVE_BUFFER];
        for (int i = 0; i < 1000; ++i) {
            ++counts[MoveToText(text, PromotedToQueen(ChooseBookMove()))];
        }
        return counts;
    }
    static void Play(const char* move) { MakeMove(MoveFromText(move), 1); }
    /// Plays the entry's move and a reply: the engine's second move.
    static void PlayAgainst(const BookEntry& entry) {
        MakeMove(BuildMove(entry.from, entry.to, static_cast<int>(thread_board.Board[entry.from])), 1);
        Play("a7a6");
    }

    FileOnDisk file;
};

TEST_F(Book, OpensWhatIsABookAndSaysWhatIsNot) {
    const auto book = [](std::uint32_t version) { return BookMaker().Bytes(version); };
    const std::string error = "Error opening \"" + file.Path() + "\"!\n";
    EXPECT_EQ(OutputOf([&] { OpenBook(file.Path()); }), error);
    for (std::size_t length = 0; length < BOOK_HEADER_SIZE; ++length) {
        EXPECT_EQ(Open(book(1).substr(0, length)), "Invalid book format\n");
        EXPECT_FALSE(BookLoaded);
    }
    struct Case {
        std::string bytes, text;
        bool opens;
    };
    const Case cases[] = {
        {book(1).replace(23, 1, "K"), "Invalid book format\n", false},
        {book(2), "Book version 2 not supported\n", false},
        {book(0xffffffff), "Book version -1 not supported\n", false},
        {book(1), "0 nodes in openings book\n", true},
        {book(1).replace(35, 1, "\xff"), "-16777216 nodes in openings book\n", true},
        {book(1).replace(32, 4, "\xff\xff\xff\x7f"), "2147483647 nodes in openings book\n", true},
        {book(0), "NG: Book learning not supported for book version 0\n0 nodes in openings book\n", true},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(UseBookLearning + UseBookWeights, 2);
        EXPECT_EQ(Open(each.bytes), each.text);
        EXPECT_EQ(BookLoaded, each.opens);
        EXPECT_FALSE(FindBookNode());
    }
    EXPECT_EQ(UseBookLearning + UseBookWeights, 0);
    UseBookLearning = 1;
    EXPECT_FALSE(BookLearningPending());
    Open(book(1));
    EXPECT_TRUE(BookLearningPending());
    std::filesystem::remove(file.Path());
    ASSERT_EQ(mkfifo(file.Path().c_str(), 0600), 0);
    EXPECT_EQ(OutputOf([&] { OpenBook(file.Path()); }), error);  // and does not wait for a writer
    EXPECT_FALSE(BookLoaded || BookLearningPending());
}

TEST_F(Book, FindsThousandsOfPositionsAndNoOthers) {
    EXPECT_EQ(CurrentBookKeys().key1, 393164448U) << "with other tables all books are lost";
    EXPECT_EQ(CurrentBookKeys().key2, 1899222487U);
    std::map<std::string, bool> listed;  // by placement and side to move
    BookMaker maker;
    for (const std::string& fen : RandomPositions(7, 12, 60)) {
        const auto [place, fresh] = listed.emplace(fen.substr(0, fen.find(' ') + 2), listed.size() % 4 != 0);
        SetupFen(fen);
        if (fresh && place->second) {
            maker.Add(ListOf("a1b2 3 1"));
        }
    }
    ASSERT_GT(listed.size(), 3000U);
    Open(maker.Bytes());
    for (const auto& [placement, inBook] : listed) {
        SetupFen(placement + " - -");  // castling rights do not matter
        ASSERT_EQ(OutputOf(ListBookMoves),
                  inBook ? "1 moves from current pos in book:\na1b2 75% (not less than 2 game(s))\n" : NO_MOVES);
    }
}

TEST_F(Book, ChoosesByTheRulesWithEqualChances) {
    struct Case {
        const char* fen;
        const char* list;
        int mode, weights, variety;
        std::set<std::string> moves;
        std::uint32_t version = 1;
    };
    const char* all = "a9hP 200 0 c2c4 62 38 g1f3 0 0 e1e2 9 0 e2e4 70 30 a2a3 255 255 d2d4 64 36";
    const char* promotion = "4k3/P7/8/8/8/8/8/4K3 w - - ";
    const char* castling = "4k3/8/8/8/8/8/8/4K2R w K - ";
    const char* en_passant = "4k3/8/8/3pP3/8/8/8/4K3 w - d6 ";
    const Case cases[] = {
        {START, all, KILL, 1, 10, {"e2e4", "d2d4"}},
        {START, all, KILL, 1, 0, {"e2e4"}},
        {START, all, KILL, 1, -5, {"e2e4"}},
        {START, all, KILL, 1, 100, {"e2e4", "d2d4", "c2c4", "g1f3"}},
        {START, all, KILL, 0, 0, {"e2e4", "d2d4", "c2c4", "g1f3"}},
        {START, "d2d4 0 0 e2e4 49 51", KILL, 1, 0, {"d2d4"}},  // unknown counts as half
        {START, "d2d4 0 2 e2e4 0 9", KILL, 1, 0, {"d2d4", "e2e4"}},
        {START, all, DISCOVER, 1, 0, {"g1f3"}},
        {START, "d2d4 1 2 e2e4 0 0", DISCOVER, 1, 0, {"e2e4"}},
        {START, "c2c4 62 38 d2d4 70 30 e2e4 70 30", DISCOVER, 0, 0, {"d2d4"}},
        {START, "d2d4 70 30 e2e4 0 99", DISCOVER, 1, 0, {"e2e4"}},
        {START, "a2a3 255 255 e1e2 0 0 a9e4 0 0 e7e5 0 0 e3e4 0 0", KILL, 1, 100, {"0000"}},
        {START, "", DISCOVER, 1, 100, {"0000"}},
        {START, "e2e4 254 0 a2a3 255 0 e1e2 200 0 d2d4 0 0", DISCOVER, 1, 0, {"e2e4", "d2d4"}, 0},
        {promotion, "a7a8 0 0", KILL, 1, 0, {"a7a8q"}},
        {castling, "e1g1 0 0 e1c1 0 0", KILL, 0, 0, {"e1g1"}},
        {en_passant, "e5d6 0 0 e5f6 0 0", KILL, 0, 0, {"e5d6"}},
    };
    for (const Case& each : cases) {
        SetupFen(each.fen);
        Open(BookMaker(ListOf(each.list)).Bytes(each.version));
        BookLearningMode = each.mode;
        UseBookWeights = each.weights;
        VarietyOfPlay = each.variety;
        const std::map<std::string, int> counts = Choices();
        ASSERT_EQ(counts.size(), each.moves.size()) << each.list;
        for (const auto& [move, count] : counts) {
            EXPECT_TRUE(each.moves.contains(move)) << each.list << ": " << move;
            EXPECT_NEAR(count, 1000 / static_cast<int>(counts.size()), 60)
                << each.list << ": " << move;  // four standard deviations
        }
        EXPECT_EQ(MoveCount, 0);
    }
}

TEST_F(Book, ListsEveryEntryAsItStands) {
    const BookMaker maker(ListOf("e2e4 3 1 g1f3 0 0 a2a3 255 255 a9hP 0 1"));
    Open(maker.Bytes());
    EXPECT_EQ(OutputOf(ListBookMoves),
              "4 moves from current pos in book:\ne2e4 75% (not less than 2 game(s))\ng1f3 ?\na2a3 -\n"
              "a9hP 0% (not less than 0 game(s))\n");
    Open(maker.Bytes(0));
    EXPECT_EQ(OutputOf(ListBookMoves), "4 moves from current pos in book:\ne2e4 3\ng1f3 0\na2a3 255\na9hP 0\n");
}

TEST_F(Book, NoDamagedFileHarms) {
    BookMaker maker(ListOf("e2e4 3 1 g1f3 0 0 d2d4 254 9"));
    for (const char* move : {"e2e4", "e7e5", "g1f3", "b8c6"}) {
        Play(move);
        maker.Add(ListOf("f1b5 200 253 g1f3 254 1 e7e5 1 0"));
    }
    std::mt19937 random(11);
    const auto use = [&](const std::string& bytes) {
        Open(bytes);
        VarietyOfPlay = static_cast<std::int32_t>(random());
        BookLearningMode = static_cast<std::int32_t>(random() % 2);
        const Move move = ChooseBookMove();
        EXPECT_TRUE(move == 0 || IsLegalMove(move));
        OutputOf(ListBookMoves);
        BookLearn(static_cast<BookResult>(random() % 3));
        EXPECT_EQ(file.Read().size(), bytes.size());
        EXPECT_TRUE(PositionIsConsistent());
    };
    for (const std::uint32_t version : {0U, 1U}) {
        const std::string whole = maker.Bytes(version);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            use(whole.substr(0, length));
        }
        for (int round = 0; round < 500; ++round) {
            std::string bytes = whole;
            for (int change = 0; change < 4; ++change) {
                const std::size_t body = bytes.size() - BOOK_RESERVED_OFFSET;
                bytes[BOOK_RESERVED_OFFSET + random() % body] = static_cast<char>(random());
            }
            use(bytes);
        }
    }
}

/// The statistics of a list after a result, told as the rules have it. True when they were scaled.
bool Teach(BookList& list, const BookEntry& played, int result) {
    const auto excluded = [](const BookEntry& each) { return each.plus == 255 && each.minus == 255; };
    const auto updated = std::ranges::find_if(list, [&](const BookEntry& each) {
        return each.from == played.from && each.to == played.to && !excluded(each);
    });
    if (updated == list.end()) {
        return false;
    }
    updated->plus += result == BOOK_WIN ? 2 : result == BOOK_DRAW ? 1 : 0;
    updated->minus += result == BOOK_LOSS ? 2 : result == BOOK_DRAW ? 1 : 0;
    if (std::max(updated->plus, updated->minus) < 255) {
        return false;
    }
    for (BookEntry& each : list) {
        const bool scaled = &each == &*updated || !excluded(each);
        each = scaled ? BookEntry{each.from, each.to, each.plus * 2 / 3, each.minus * 2 / 3} : each;
    }
    return true;
}

TEST_F(Book, LearnsSequencesOfResults) {
    BookList list = ListOf("e2e4 0 0 g1f3 255 255 d2d4 255 0 d2d4 100 50 c2c4 1 1 g1f3 253 2");
    Play("b1c3");
    Play("b8c6");
    Open(BookMaker(list).Bytes());
    std::mt19937 random(3);
    int rescales = 0;
    for (int round = 0; round < 2000; ++round) {
        const BookEntry played = list[random() % list.size()];
        const int result = static_cast<int>(random() % 4) % 3;
        rescales += Teach(list, played, result);
        PlayAgainst(played);
        BookLearn(static_cast<BookResult>(result));
        ASSERT_EQ(GamePly, 4);
        UnmakeMove();
        UnmakeMove();
        ASSERT_EQ(file.Read(), BookMaker(list).Bytes()) << round;
    }
    EXPECT_GT(rescales, 5);
}

TEST_F(Book, TeachesTheEnginesMovesButTheFirst) {
    struct Case {
        const char* fen;
        std::vector<const char*> moves;
        std::vector<int> taught;  // half-moves
        int side_changed = -1;    // half-move before which a command has changed the side to move
    };
    const char* special = "r3k3/P6p/8/8/6p1/8/5P2/R3K2R w KQ - ";
    const char* pushed = "4k3/8/8/8/3Pp3/8/8/4K3 b - d3 ";  // the push is no move of the game
    const Case cases[] = {
        {START, {}, {}},
        {START, {"e2e4"}, {}},
        {START, {"e2e4", "e7e5"}, {}},
        {START, {"e2e4", "e7e5", "g1f3"}, {1}},
        {START, {"e2e4", "e7e5", "g1f3", "b8c6", "f1b5", "a7a6"}, {2, 4}},
        {special, {"f2f4", "g4f3", "e1g1", "f3f2", "f1f2", "e8e7", "a1b1", "a8b8", "a7b8q", "e7e6"}, {2, 4, 6, 8}},
        {pushed, {"e4d3", "e1d1", "e8d8", "d1c1"}, {0, 2}},
        {START, {"g1f3", "g8f6", "b1c3", "f3e5", "b8c6", "e5c6", "d7c6"}, {3, 5}, 3},
    };
    for (const Case& each : cases) {
        std::string books[2];  // before and after
        for (const bool learnt : {false, true}) {
            BookMaker maker;
            SetupFen(each.fen);
            for (int ply = 0; ply < static_cast<int>(each.moves.size()); ++ply) {
                if (ply == each.side_changed) {
                    thread_board.SideToMove = ChangeSide(thread_board.SideToMove);
                }
                const std::string move(each.moves[static_cast<std::size_t>(ply)]);
                const bool taught = learnt && std::ranges::find(each.taught, ply) != each.taught.end();
                maker.Add(ListOf(move.substr(0, 4) + (taught ? " 2 0" : " 0 0")));
                Play(move.c_str());
            }
            books[learnt ? 1 : 0] = maker.Bytes();
        }
        Open(books[0]);
        const ThreadBoard board = thread_board;
        const std::vector<HistoryRecord> records(GameHistory, GameHistory + HISTORY_RECORDS);
        const int plies = GamePly;
        BookLearn(BOOK_WIN);
        EXPECT_EQ(file.Read(), books[1]) << each.fen << plies;
        EXPECT_EQ(GamePly, plies);
        EXPECT_EQ(std::memcmp(&board, &thread_board, sizeof board), 0);
        EXPECT_EQ(std::memcmp(records.data(), GameHistory, sizeof GameHistory), 0);
        EXPECT_FALSE(BookLearningPending());
        BookLearnDone = 0;
    }
}

// The size limit of a file ends the process at an exact byte of the update.
TEST_F(Book, AnUpdateCutAtAnyByteLeavesOneEntryInDoubt) {
    const BookList list = ListOf("a2a3 9 3 c2c4 0 0 d2d4 250 255 e2e4 255 255 g1f3 30 254");
    Play("b1c3");
    Play("b8c6");
    const std::string old = BookMaker(list).Bytes();
    for (const auto& [played, changed] : {std::pair(0, 1), std::pair(4, 3)}) {
        BookList learnt = list;
        Teach(learnt, list[static_cast<std::size_t>(played)], BOOK_LOSS);
        const std::string done = BookMaker(learnt).Bytes();
        PlayAgainst(list[static_cast<std::size_t>(played)]);
        std::set<std::string> outcomes;
        for (std::size_t limit = 0; limit <= old.size(); ++limit) {
            Open(old);
            const pid_t child = fork();
            if (child == 0) {
                const rlimit none{0, 0};
                const rlimit size{limit, limit};
                setrlimit(RLIMIT_CORE, &none);
                setrlimit(RLIMIT_FSIZE, &size);
                BookLearn(BOOK_LOSS);
                _exit(0);
            }
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            const std::string left = file.Read();
            ASSERT_EQ(left.size(), old.size());
            EXPECT_TRUE(WIFSIGNALED(status) || left == done) << limit;
            int doubtful = 0;
            for (std::size_t at = 1; at < left.size(); at += BOOK_ENTRY_SIZE) {  // in step with the entries
                const std::string entry = left.substr(at, BOOK_ENTRY_SIZE);
                doubtful += entry != old.substr(at, BOOK_ENTRY_SIZE) && entry != done.substr(at, BOOK_ENTRY_SIZE);
            }
            EXPECT_LE(doubtful, 1) << limit;
            EXPECT_EQ(Open(left), "1 nodes in openings book\n");
            outcomes.insert(left);
        }
        EXPECT_GT(outcomes.size(), static_cast<std::size_t>(changed));
        EXPECT_TRUE(outcomes.contains(old) && outcomes.contains(done));
        UnmakeMove();
        UnmakeMove();
    }
}

TEST_F(Book, AReadOnlyBookIsPlayedFrom) {
    file.Write(BookMaker(ListOf("e2e4 0 0")).Bytes());
    std::filesystem::permissions(file.Path(), std::filesystem::perms{0444});
    const uid_t user = geteuid();
    ASSERT_TRUE(user != 0 || seteuid(65534) == 0);  // nothing is read-only for root
    const std::string said = OutputOf([&] { OpenBook(file.Path()); });
    ASSERT_EQ(seteuid(user), 0);
    EXPECT_EQ(said, "NG: Book learning not supported for a read-only book\n1 nodes in openings book\n");
    EXPECT_EQ(Choices()["e2e4"], 1000);
    EXPECT_FALSE(BookLearningPending());
}

}  // namespace
