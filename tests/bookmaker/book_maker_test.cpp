#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <map>
#include <random>

#include "book/book.h"
#include "book/book_format.h"
#include "book/dump.h"
#include "book/image.h"
#include "book/make.h"
#include "book/sources.h"
#include "book/vetting.h"
#include "games/rules.h"
#include "games/san.h"
#include "platform/bytes.h"
#include "position/board.h"
#include "position/fen.h"
#include "support/files.h"

namespace {

constexpr std::size_t ALL = std::numeric_limits<std::size_t>::max();

// The vetting test needs the whole engine, and it can be brought to life once.
class Engine : public testing::Environment {
  public:
    void SetUp() override {
        const std::filesystem::path here = std::filesystem::current_path();
        std::filesystem::current_path(QUORVANTH_DATA);
        std::string error;
        ASSERT_TRUE(StartVetting(error)) << error;
        std::filesystem::current_path(here);
    }
};

testing::Environment* const engine = testing::AddGlobalTestEnvironment(new Engine);

BookContents Undumped(std::string_view text) {
    BookContents book;
    std::string error;
    EXPECT_TRUE(AddBookDump(text, book, error)) << error;
    return book;
}

/// Board and side to move: what a book knows of a position.
std::string PlacementAndSide() {
    const std::string fen = WriteFen(0);
    return fen.substr(0, fen.find(' ', fen.find(' ') + 1));
}

struct RandomGames {
    std::string pgn;
    // By placement and side, then by the move's squares: games, plus, minus.
    std::map<std::string, std::map<std::pair<int, int>, std::array<int, 3>>> tally;
};

/// Games with few legal moves, so that positions recur, all kinds of promotion among them.
RandomGames PlayRandomGames(int games, std::size_t plies) {
    constexpr const char* RESULTS[] = {"1-0", "0-1", "1/2-1/2", "*"};
    constexpr const char* STARTS[] = {"4k3/1P6/8/8/8/8/6p1/R3K2R w KQ - 0 1", "8/P6k/8/8/8/8/p6K/8 b - - 0 1",
                                      "4k3/8/8/2pP4/8/8/8/4K3 w - c6 0 1"};
    RandomGames all;
    std::mt19937 random(3);
    for (int game = 0; game < games; ++game) {
        const int result = static_cast<int>(random() % 4);
        const std::string start = STARTS[random() % 3];
        all.pgn += "[FEN \"" + start + "\"]\n\n";
        BeginGame(start);
        bool said = true;
        for (std::size_t ply = 0; ply < plies + 4 && GameEnding() == Ending::NONE; ++ply) {
            const Move move = GameMoves()[random() % GameMoves().size()];
            said &= MovePromotion(move) == 0 || MovePromotion(move) == QUEEN;
            if (said && ply < plies) {
                const bool white = thread_board.SideToMove == WHITE;
                std::array<int, 3>& entry = all.tally[PlacementAndSide()][{MoveFrom(move), MoveTo(move)}];
                ++entry[0];
                entry[1] += result == 2 ? 1 : result < 2 && (result == 0) == white ? 2 : 0;
                entry[2] += result == 2 ? 1 : result < 2 && (result == 0) != white ? 2 : 0;
            }
            all.pgn += MoveToSan(move) + " ";
            PlayGameMove(move);
        }
        all.pgn += std::string(RESULTS[result]) + "\n\n";
    }
    return all;
}

TEST(BookMaker, CountsWhatGamesCameTo) {
    constexpr std::size_t PLIES = 6;
    const RandomGames games = PlayRandomGames(600, PLIES);
    BookContents book;
    const SourceCount count = AddGames("random", games.pgn, PLIES, book);
    EXPECT_EQ(count.games, 600);
    EXPECT_EQ(count.unreadable, 0);
    ASSERT_EQ(book.size(), games.tally.size());
    for (const auto& [placement, moves] : games.tally) {
        SetupFen(placement + " - -");
        BookPosition& position = book.at(CurrentBookKeys());
        ASSERT_EQ(position.moves.size(), moves.size()) << placement;
        for (const auto& [squares, tally] : moves) {
            const BookMove* const move = FindMove(position, squares.first, squares.second);
            ASSERT_NE(move, nullptr) << placement;
            EXPECT_EQ((std::array<std::int64_t, 3>{move->seen, move->plus, move->minus}),
                      (std::array<std::int64_t, 3>{tally[0], tally[1], tally[2]}))
                << placement;
        }
    }

    // Nothing is lost on the way through bytes and text, and the file's table is sorted.
    SortMoves(book);
    const std::string image = BookImage(book);
    BookContents again;
    std::string error;
    ASSERT_TRUE(AddBookImage(image, again, error)) << error;
    const std::string dump = BookDump(again);
    EXPECT_NE(dump.find("keys "), std::string::npos);
    EXPECT_EQ(BookImage(Undumped(dump)), image);
    EXPECT_EQ(BookDump(Undumped(dump)), dump);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(image.data());
    const auto keys = [bytes](std::uint32_t node) {
        const std::uint8_t* const record = bytes + (node + 3) * std::size_t{12};
        return std::pair(static_cast<std::int32_t>(ReadLittle32(record)),
                         static_cast<std::int32_t>(ReadLittle32(record + 4)));
    };
    ASSERT_EQ(ReadLittle32(bytes + 32), book.size());
    for (std::uint32_t node = 1; node < book.size(); ++node) {
        ASSERT_LT(keys(node - 1), keys(node));
    }

    // A file that is cut off anywhere is refused, and any other damage does no harm.
    for (std::size_t size = 0; size < image.size(); size += size < 200 ? 1 : 97) {
        BookContents cut;
        ASSERT_FALSE(AddBookImage(image.substr(0, size), cut, error)) << size;
    }
    std::mt19937 random(5);
    for (int trial = 0; trial < 300; ++trial) {
        std::string damaged = image;
        for (int i = 0; i < 8; ++i) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        BookContents any;
        if (AddBookImage(damaged, any, error)) {
            EXPECT_FALSE(BookDump(any).empty());
        }
    }
}

constexpr std::string_view GAMES =
    "1. e4 e5 2. Nf3 1-0\n1. e4 c5 0-1\n1. e4 e5 2. Nf3 Nc6 1/2-1/2\n"
    "1. d4 Ke7 *\n[FEN \"nonsense\"]\n1. e4 *\n1. d4 d5 2. c4 *\n";
constexpr std::string_view LINES =
    "eco\tname\tpgn\n# a comment\n\nC20\tOpen game\t1. e4 e5\r\n"
    "1. d4 d5 2. c4 *\n1. Nf3 d5 2. d4 Nf6\n1. d4 Nf6 2. Nf3 d5 1-0\nd2d4 g8f6\n1. e4 e9\n1. e4 * 1. d4 *\n";

TEST(BookMaker, MakesMergesThinsAndExcludes) {
    const TestFolder folder;
    folder.Write("games.pgn", GAMES);
    folder.Write("lines.tsv", LINES);
    folder.Write("exclusions.txt", "1. e4 c5\n1. a3 a6\n1. d4 Nf6 2. Nf3\n");
    const std::string book = folder.Path("book.qvn");
    BookOrder order;
    order.book = book;
    order.sources = {{SourceKind::GAMES, folder.Path("games.pgn")}, {SourceKind::LINES, folder.Path("lines.tsv")}};
    order.plies = 3;
    order.exclusions = {folder.Path("exclusions.txt")};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ASSERT_TRUE(MakeBook(order));
    ASSERT_TRUE(DumpBook(book, folder.Path("text")));
    const std::string account = testing::internal::GetCapturedStdout();
    const std::string complaints = testing::internal::GetCapturedStderr();
    EXPECT_EQ(folder.Read("text"),
              "# 8 positions\n\n"
              "after\ne2e4 3 3\nd2d4 ?\ng1f3 ?\n\n"
              "after 1. e4\ne7e5 1 3\nc7c5 -\n\n"
              "after 1. d4\nd7d5 ?\ng8f6 ?\n\n"
              "after 1. Nf3\nd7d5 ?\n\n"
              "after 1. e4 e5\ng1f3 3 1\n\n"
              "after 1. d4 d5\nc2c4 ?\n\n"
              "after 1. d4 Nf6\ng1f3 -\n\n"
              "after 1. Nf3 d5\nd2d4 ?\n\n");
    EXPECT_NE(account.find("games.pgn: 4 games, 2 could not be read\n"), std::string::npos) << account;
    EXPECT_NE(account.find("lines.tsv: 5 lines, 2 could not be read\n"), std::string::npos) << account;
    EXPECT_NE(account.find("1 of them are not in the book"), std::string::npos) << account;
    for (const char* place :
         {"games.pgn:4: ", "games.pgn:5: ", "lines.tsv:9: passed over: no legal", "lines.tsv:10: "}) {
        EXPECT_NE(complaints.find(place), std::string::npos) << complaints;
    }

    // A book merged with itself has twice the points; what is rare goes, what is unusual stays and is not played.
    BookContents twice;
    std::string error;
    ASSERT_TRUE(AddBookImage(ReadAll(book), twice, error));
    ASSERT_TRUE(AddBookImage(ReadAll(book), twice, error));
    EXPECT_NE(BookDump(twice).find("after 1. e4\ne7e5 2 6\nc7c5 -\n"), std::string::npos) << BookDump(twice);
    BookContents thin;
    testing::internal::CaptureStderr();
    AddLines("lines", LINES, ALL, thin);
    testing::internal::GetCapturedStderr();
    BookContents unusual = thin;
    DropRareMoves(thin, 2);
    EXPECT_EQ(BookDump(thin), "# 2 positions\n\nafter\nd2d4 ?\n\nafter 1. d4\ng8f6 ?\n\n");
    EXPECT_EQ(ExcludeUnusualMoves(unusual, 34), 2);
    EXPECT_EQ(BookDump(unusual).find("# 9 positions\n\nafter\ne2e4 -\nd2d4 ?\ng1f3 -\n"), 0u) << BookDump(unusual);
}

TEST(BookMaker, PointsKeepTheirRatioInAByte) {
    const std::string image =
        BookImage(Undumped("after\ne4 508 254\nd2d4 3 254\nNf3 255 255\nc4 0 9000\ng3 - \nb3 0 0"));
    BookContents book;
    std::string error;
    ASSERT_TRUE(AddBookImage(image, book, error)) << error;
    EXPECT_EQ(BookDump(book),
              "# 1 positions\n\nafter\ne2e4 254 127\nd2d4 3 254\ng1f3 254 254\nc2c4 0 254\ng2g3 -\nb2b3 ?\n\n");
}

TEST(BookMaker, BadTextIsRefusedWithItsLine) {
    struct Case {
        const char* text;
        const char* message;
    };
    for (const Case& each : {
             Case{"e2e4 ?", "line 1: a move before any position"},
             Case{"# dump\nafter 1. e4 e5 2. Ke3\n", "line 2: no legal move"},
             Case{"after\ne2e4 1", "line 2: behind a move"},
             Case{"after\ne2e4 1 -2", "line 2: behind a move"},
             Case{"after\ne2e4 ? 2", "line 2: behind a move"},
             Case{"after\ne2e4 99999999999999999999 2", "line 2: behind a move"},
             Case{"fen 8/8/8/8/8/8/8/8 w - -", "line 1: "},
             Case{"fen 4k3/1P6/8/8/8/8/8/4K3 w - -\nb8=N ?", "line 2: no legal move of a book"},
             Case{"keys 01234567 89abcdeg", "line 1: a position is named"},
             Case{"keys 01234567 89abcdef\nNf3 ?", "line 2: this is no move"},
             Case{"keys 01234567 89abcdef\nafter 1. e5\ne2e4 ?", "line 2: "},
         }) {
        BookContents book;
        std::string error;
        EXPECT_FALSE(AddBookDump(each.text, book, error)) << each.text;
        EXPECT_EQ(error.find(each.message), 0u) << each.text << ": " << error;
    }
    EXPECT_EQ(BookDump(Undumped("fen 4k3/1P6/8/8/8/8/8/4K3 w - -\nb8=Q 1 0\nb7b8 1 0\n")).find("keys"), 15u);
}

// A queen that can be taken, and a mate that only the next move of the book shows.
TEST(BookMaker, VettingExcludesWhatTheEngineWouldRegret) {
    BookContents book;
    AddLines("lines",
             "1. f3 e5 2. g4 Qh4#\n1. f3 e5 2. Nc3\n1. e4 e5 2. Qh5 Nf6 3. Qxf7+\n1. e4 e5 2. Qh5 Nf6 3. Qxe5+", ALL,
             book);
    const VettingCount count = VetMoves(book, 4, 150);
    EXPECT_GT(count.positions, 10);
    const std::string dump = BookDump(book);
    EXPECT_NE(dump.find("after 1. f3 e5\ng2g4 -\nb1c3 ?\n"), std::string::npos) << dump;
    EXPECT_NE(dump.find("after 1. e4 e5 2. Qh5 Nf6\nh5f7 -\nh5e5 ?\n"), std::string::npos) << dump;
    EXPECT_NE(dump.find("after 1. f3 e5 2. g4\nd8h4 ?\n"), std::string::npos) << dump;
}

// The book that the engine ships with: whole, with sound choices for both sides, and read by the engine.
TEST(ShippedBook, ServesBothSides) {
    const std::string path = std::string(QUORVANTH_DATA) + "/Book.qvn";
    const std::string image = ReadAll(path);
    BookContents book;
    std::string error;
    ASSERT_TRUE(AddBookImage(image, book, error)) << error;
    EXPECT_EQ(BookImage(Undumped(BookDump(book))), image);

    EXPECT_EQ(OutputOf([&] { OpenBook(path); }), std::to_string(book.size()) + " nodes in openings book\n");
    std::mt19937 random(9);
    SeedBookChoice(7);
    int longest = 0;
    for (int game = 0; game < 200; ++game) {
        // The book plays one side, anything that it knows the other.
        const Colour side = game % 2 == 0 ? WHITE : BLACK;
        BeginGame(START_FEN);
        int plies = 0;
        for (auto position = book.find(CurrentBookKeys()); position != book.end();
             position = book.find(CurrentBookKeys()), ++plies) {
            const BookMove& any = position->second.moves[random() % position->second.moves.size()];
            const Move own = ChooseBookMove();
            const auto played = std::ranges::find_if(GameMoves(), [&](Move move) {
                return thread_board.SideToMove == side ? move == own
                                                       : MoveFrom(move) == any.from && MoveTo(move) == any.to;
            });
            ASSERT_TRUE(played != GameMoves().end() || own == 0 || thread_board.SideToMove != side);
            if (played == GameMoves().end()) {
                break;
            }
            PlayGameMove(*played);
        }
        longest = std::max(longest, plies);
        EXPECT_GE(plies, 1);
    }
    EXPECT_GT(longest, 10);
    CloseBook();
}

}  // namespace
