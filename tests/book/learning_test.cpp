// The position learning file, byte for byte, and what makes a candidate.
#include "book/learning.h"

#include "movegen/score_history.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "position/move_text.h"
#include "position/settings.h"
#include "support/board_tables.h"
#include "support/book_maker.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <random>

namespace {

constexpr std::size_t EMPTY_SIZE = 262167;

Key KeyOf(std::uint32_t bucket, std::uint32_t rest) {
    return Key{rest} << 16 | bucket;
}

void Put(std::string& bytes, std::size_t offset, std::size_t value) {
    WriteLittle32(reinterpret_cast<std::uint8_t*>(&bytes[offset]), static_cast<std::uint32_t>(value));
}

/// The file told a second time: every record known by its key, every chain by its last link.
struct Model {
    std::string bytes = "Quorvanth learning file" + std::string(std::size_t{4} * 65536, '\0');
    std::map<Key, std::size_t> records;
    std::map<std::uint32_t, std::size_t> links;

    void Write(const LearnCandidate& from) {
        const std::uint32_t bucket = from.key1 & 0xffff;
        const auto [place, added] = records.try_emplace(KeyOf(bucket, from.key2), bytes.size());
        if (added) {
            Put(bytes, links.try_emplace(bucket, 23 + 4 * bucket).first->second, bytes.size());
            links[bucket] = bytes.size() + 20;
            bytes.append(24, '\0');
        }
        const std::int32_t fields[] = {from.depth, from.new_score, static_cast<std::int32_t>(from.move),
                                       static_cast<std::int32_t>(from.key1), static_cast<std::int32_t>(from.key2)};
        for (std::size_t i = 0; i < 5; ++i) {
            Put(bytes, place->second + 4 * i, static_cast<std::uint32_t>(fields[i]));
        }
    }
};

class Learning : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        FillBoardTables();
        FillPieceSquaresAtRandom();
    }
    void SetUp() override {
        LogLearningIntoFile = 0;
        NewGame();
    }
    void TearDown() override { CloseLearningFile(); }

    static void NewGame() {
        InitScoreHistory();
        PlaceStartPosition();
        BookMovePlayed = LearnCandidateCount = 0;
        Iteration = 7;
    }
    std::string Open() const {
        return OutputOf([&] { OpenLearningFile(file.Path()); });
    }
    std::string Open(const std::string& bytes) const {
        file.Write(bytes);
        return Open();
    }
    static void Reply(const char* move) { MakeMove(MoveFromText(move), 1); }
    static void Play(const char* move, std::int32_t score, std::int32_t book = 0) {
        RootScores[0] = score;
        BookMovePlayed = book;
        Reply(move);
        RecordPlayedMove(false);
        LearnAfterMove();
    }
    static void Commit(Key key, std::int32_t depth, std::int32_t score, Move move = 1) {
        LearnCandidates[0] = {
            static_cast<std::uint32_t>(key), static_cast<std::uint32_t>(key >> 16), depth, 0, score, move, ""};
        LearnCandidateCount = 1;
        CommitLearning();
        EXPECT_EQ(LearnCandidateCount, 0);
    }

    FileOnDisk file;
};

TEST_F(Learning, ChainsByteForByte) {
    EXPECT_EQ(Open(), "");
    Model model;
    EXPECT_EQ(file.Read(), model.bytes);
    std::mt19937 random(7);
    for (int i = 0; i < 600; ++i) {
        // Four long chains, the outermost buckets among them, and keys that differ in one half only.
        const std::uint32_t buckets[] = {0, 1, 0x8000, 0xffff};
        const Key key = KeyOf(buckets[random() % 4], static_cast<std::uint32_t>(random() % 64 << random() % 2 * 20));
        const auto score = static_cast<std::int32_t>(random() % 65401) - 32700;
        Commit(key, static_cast<std::int32_t>(random() % 4000), score, random() & 0x1fffff);
        model.Write(LearnCandidates[0]);
        if (i % 100 == 50) {
            Open();  // what was written stands in the file
        }
    }
    ASSERT_EQ(file.Read(), model.bytes);
    for (const auto& [key, offset] : model.records) {
        const LearntPosition learnt = LearnLookup(key | Key{random()} << 48);  // the upper bits are not stored
        const auto* record = reinterpret_cast<const std::uint8_t*>(&model.bytes[offset]);
        ASSERT_TRUE(learnt.found && learnt.offset == offset &&
                    static_cast<std::uint32_t>(learnt.depth) == ReadLittle32(record) &&
                    static_cast<std::uint32_t>(learnt.score) == ReadLittle32(record + 4));
    }
    EXPECT_FALSE(LearnLookup(KeyOf(0, 0x70000000)).found);
    EXPECT_FALSE(LearnLookup(KeyOf(5, 1)).found);
}

TEST_F(Learning, DamageStaysWhereItIs) {
    constexpr std::uint32_t FIRST = EMPTY_SIZE, SECOND = FIRST + 24, THIRD = SECOND + 24, HEAD = 23 + 4 * 3;
    Open();
    for (const std::uint32_t rest : {1, 2, 3}) {
        Commit(KeyOf(3, rest), 30, -50);
    }
    const std::string good = file.Read();
    struct Case {
        const char* what;
        std::uint32_t offset;
        std::uint32_t value;
        std::uint32_t whole;  // records of the chain before the damage
    };
    const Case cases[] = {
        {"into itself", SECOND + 20, SECOND, 2},
        {"backward", THIRD + 20, FIRST, 3},
        {"to the end", THIRD + 20, THIRD + 24, 3},
        {"far beyond the end", HEAD, 0xffffffff, 0},
        {"into the heads", HEAD, 23, 0},
        {"between records", FIRST + 20, THIRD + 4, 1},
        {"a record of another bucket", SECOND + 12, 4, 1},
        {"a score that no search gives", SECOND + 4, 0x80000000, 1},
        {"a score beyond a mate", SECOND + 4, 32701, 1},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        std::string bad = good;
        Put(bad, each.offset, each.value);
        EXPECT_EQ(Open(bad), "");
        for (const std::uint32_t rest : {1, 2, 3}) {
            EXPECT_EQ(LearnLookup(KeyOf(3, rest)).found, rest <= each.whole);
        }
        Commit(KeyOf(3, 77), 30, -50);
        EXPECT_EQ(file.Read(), bad);
        // Another bucket's record may come to stand where the link points, and stays out of reach for this one.
        Commit(KeyOf(9, 1), 30, -60);
        Commit(KeyOf(3, 77), 30, -50);
        EXPECT_EQ(file.Read().size(), bad.size() + 24);
        EXPECT_TRUE(LearnLookup(KeyOf(9, 1)).found);
    }
    // Cut within the third record: what is left keeps its bytes, and the next record stands at a record's place.
    for (std::size_t cut = 1; cut < 24; ++cut) {
        EXPECT_NE(Open(good.substr(0, good.size() - cut)).find("\" ends within a record;"), std::string::npos);
        EXPECT_FALSE(LearnLookup(KeyOf(3, 3)).found);
        Commit(KeyOf(9, 1), 26, 40);
        EXPECT_EQ(file.Read().substr(EMPTY_SIZE, 72 - cut), good.substr(EMPTY_SIZE, 72 - cut));
        EXPECT_EQ(LearnLookup(KeyOf(9, 1)).offset, good.size());
        EXPECT_TRUE(LearnLookup(KeyOf(3, 2)).found);
        EXPECT_EQ(Open(), "");
    }
    std::string other = good;
    other[22] = 'E';
    for (const std::string& each : {good.substr(0, EMPTY_SIZE - 1), other, other.substr(0, 23)}) {
        EXPECT_NE(Open(each).find("\" is of another kind or cut short;"), std::string::npos);
        Commit(KeyOf(9, 1), 26, 40);
        EXPECT_FALSE(LearnLookup(KeyOf(3, 1)).found);
        EXPECT_EQ(file.Read(), each);
    }
    // Its making was broken off.
    const std::string empty = Model().bytes;
    for (const std::size_t length : {std::size_t{0}, std::size_t{22}, std::size_t{4096}, EMPTY_SIZE - 1}) {
        EXPECT_EQ(Open(empty.substr(0, length)), "");
        EXPECT_EQ(file.Read(), empty);
    }
    Open(good);
    std::filesystem::resize_file(file.Path(), 100);  // it grows shorter while it is open
    Commit(KeyOf(9, 1), 26, 40);
    EXPECT_EQ(file.Read().size(), 100U);
}

using Moves = std::array<const char*, 3>;

/// White's first move, a reply, and White's second move, which makes the candidate or not. The values are those of a
/// fall that is just enough.
struct Script {
    const char* fen = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - ";
    Moves moves = {"e2e4", "e7e5", "g1f3"};
    std::int32_t before = -179;
    std::int32_t now = -220;
    int iteration = 7;
    std::array<std::int32_t, 2> book = {0, 0};
    int dropped = 0;
    std::int32_t fifty = 0;
    std::int32_t known_depth = 0;
    std::function<void(int)> meddle = [](int) {};  // after the given number of moves
};

TEST_F(Learning, WhatMakesACandidate) {
    const Moves rook = {"a1a2", "a8a7", "a2a3"};
    const char* pieces = "r1bqk2r/8/8/8/8/8/8/R1BQK2R w - - ";
    const char* pushed = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b KQkq e3 ";
    const char* pushed_without_rights = "rnbqkbnr/pppppppp/8/8/4P3/8/PPPP1PPP/RNBQKBNR b - e3 ";
    const auto forget_key = [](int after) {
        return [after](int moves) { PlayedKeys[PLAYED_MOVES - 1] *= moves != after; };
    };
    const auto change_side = [](int moves) { thread_board.SideToMove = moves < 3 ? WHITE : thread_board.SideToMove; };
    const auto tell_as_fen = [](const char* fen, Key wrong) {
        return [fen, wrong](int moves) {
            if (moves == 1) {
                SetupFen(fen);
                GameHistory[0].key ^= wrong;
            }
        };
    };
    struct Case {
        const char* what;
        bool made;
        Script script;
    };
    const Case cases[] = {
        {"just enough", true, {}},
        {"no fall", false, {.now = -219}},
        {"bad before", false, {.before = -180, .now = -300}},
        {"good after", true, {.before = 900, .now = 519}},
        {"won after", false, {.before = 900, .now = 520}},
        {"shallow", false, {.iteration = 6}},
        {"book move before", false, {.book = {1, 0}}},
        {"book move now", false, {.book = {0, 1}}},
        {"first move of another game", false, {.meddle = forget_key(1)}},
        {"second move not on the board", false, {.meddle = forget_key(3)}},
        {"side to move changed", false, {.moves = {"e2e4", "d2d3", "g1f3"}, .meddle = change_side}},
        {"long game", true, {.dropped = 99}},
        {"too long a game", false, {.dropped = 100}},
        {"fifty moves near", true, {.fen = pieces, .moves = rook, .fifty = 69}},
        {"fifty moves nearer", false, {.fen = pieces, .moves = rook, .fifty = 70}},
        {"19 against 14", true, {.fen = "r2qk3/8/8/8/8/8/8/R2QK2R w - - ", .moves = rook}},
        {"14 against 13", false, {.fen = "r3k1nr/8/8/8/8/8/8/R2QK3 w - - ", .moves = rook}},
        {"13 against 14", false, {.fen = "r2qk3/8/8/8/8/8/8/R3K1NR w - - ", .moves = rook}},
        {"known as deep", false, {.known_depth = 30}},
        {"known less deep", true, {.known_depth = 29}},
        {"push of a FEN", false, {.meddle = tell_as_fen(pushed, 1)}},
        {"push of a FEN with other rights", false, {.meddle = tell_as_fen(pushed_without_rights, 0)}},
        {"push of a FEN with a record that fits", true, {.meddle = tell_as_fen(pushed, 0)}},
    };
    for (const auto& [what, made, script] : cases) {
        SCOPED_TRACE(what);
        Open(Model().bytes);
        NewGame();
        SetupFen(script.fen);
        DroppedPlies = script.dropped;
        thread_board.FiftyCounter = script.fifty;
        Iteration = script.iteration;
        const Key key = thread_board.PositionKey;
        const Move first = MoveFromText(script.moves[0]);
        const std::string text = WriteFen(first);
        if (script.known_depth != 0) {
            Commit(key, script.known_depth, 5);
        }
        Play(script.moves[0], script.before, script.book[0]);
        script.meddle(1);
        Reply(script.moves[1]);
        script.meddle(2);
        RootScores[0] = script.now;
        BookMovePlayed = script.book[1];
        Reply(script.moves[2]);
        RecordPlayedMove(false);
        script.meddle(3);
        const ThreadBoard board = thread_board;
        const std::vector<HistoryRecord> records(GameHistory, GameHistory + GamePly);
        LearnAfterMove();

        EXPECT_EQ(std::memcmp(&board, &thread_board, sizeof board), 0);
        ASSERT_EQ(static_cast<std::size_t>(GamePly), records.size());
        EXPECT_EQ(std::memcmp(records.data(), GameHistory, records.size() * sizeof(HistoryRecord)), 0);
        ASSERT_EQ(LearnCandidateCount, made ? 1 : 0);
        const LearnCandidate& candidate = LearnCandidates[0];
        EXPECT_TRUE(!made || (candidate.key1 == static_cast<std::uint32_t>(key) &&
                              candidate.key2 == static_cast<std::uint32_t>(key >> 16) &&
                              candidate.depth == 4 * script.iteration + 2 && candidate.old_score == script.before &&
                              candidate.new_score == script.now && candidate.move == first && candidate.text == text));
    }
}

/// Falls in one game, which is lost in the end; a game that recovers; the first position again, deeper.
TEST_F(Learning, AScriptedMatch) {
    struct Turn {
        const char* move;
        const char* reply;
        std::int32_t score;
        std::int32_t book;
        int candidates;  // after the move
    };
    const Turn turns[] = {
        {"e2e4", "e7e5", 30, 0, 0},   {"f1c4", "g8f6", -20, 0, 1},  {"d2d3", "f8c5", -100, 0, 2},
        {"b1c3", "d7d6", -150, 0, 3}, {"g1h3", "c8g4", -200, 0, 3},  // a fourth is refused
        {"f2f3", "g4h5", -400, 0, 3}, {"a2a3", "b8c6", -401, 0, 0},  // lost only below -400
        {nullptr, nullptr, 8, 0, 0},                                 // a new game, at this Iteration
        {"e2e4", "e7e5", 50, 0, 0},   {"g1f3", "b8c6", -9, 0, 1},   {"f1b5", "a7a6", -10, 0, 1},
        {"b5a4", "g8f6", -9, 0, 1},   {"e1g1", "f8e7", -9, 0, 1},   {"f1e1", "b7b5", -9, 0, 0},  // it recovers
        {"a4b3", "d7d6", -50, 0, 1},  {"c2c3", "e8g8", -300, 1, 0},                              // the book knows it
        {nullptr, nullptr, 8, 0, 0},  {"e2e4", "c7c5", 60, 0, 0},   {"g1f3", "d7d6", -15, 0, 1},
        {nullptr, nullptr, 6, 0, 1},  {"d2d4", "d7d5", -500, 0, 0},  // nor does a new game forget it
    };
    const auto home = std::filesystem::current_path();
    std::filesystem::current_path(std::filesystem::path(file.Path()).parent_path());
    LogLearningIntoFile = 1;
    Open();
    Model model;
    for (const Turn& turn : turns) {
        if (turn.move == nullptr) {
            const std::int32_t waiting = LearnCandidateCount;
            NewGame();
            LearnCandidateCount = waiting;
            Iteration = turn.score;
            continue;
        }
        for (int i = 0; turn.score < -400 && i < LearnCandidateCount; ++i) {
            model.Write(LearnCandidates[i]);
        }
        Play(turn.move, turn.score, turn.book);
        EXPECT_EQ(LearnCandidateCount, turn.candidates) << turn.move;
        EXPECT_EQ(file.Read(), model.bytes) << turn.move;
        Reply(turn.reply);
    }
    EXPECT_EQ(model.bytes.size(), EMPTY_SIZE + 72);
    std::ifstream log("learn.log");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(log), {}),
              "0\tAdd: Depth = 30\tOldEvaluation = 30\tEvaluaton = -20\t"
              "FEN = rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - e2e4\n"
              "1\tAdd: Depth = 30\tOldEvaluation = -20\tEvaluaton = -100\t"
              "FEN = rnbqkbnr/pppp1ppp/8/4p3/4P3/8/PPPP1PPP/RNBQKBNR w KQkq - f1c4\n"
              "2\tAdd: Depth = 30\tOldEvaluation = -100\tEvaluaton = -150\t"
              "FEN = rnbqkb1r/pppp1ppp/5n2/4p3/2B1P3/8/PPPP1PPP/RNBQK1NR w KQkq - d2d3\n"
              "3\tRefresh: Depth = 34\tOldEvaluation = 60\tEvaluaton = -15\t"
              "FEN = rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - e2e4\n");
    std::filesystem::current_path(home);
}

}  // namespace
