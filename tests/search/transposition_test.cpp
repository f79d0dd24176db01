#include "search/transposition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <vector>

#include "position/board.h"

namespace {

constexpr Move MOVE_A = BuildMove(12, 28, PAWN);
constexpr Move MOVE_B = BuildMove(6, 21, KNIGHT);

class Transposition : public testing::Test {
  protected:
    void SetUp() override {
        ClearHistory();
        ClearBoard();
        thread_board.CastlingFlags = 0;
        Resize(1024);
        Stand(100);
    }
    void TearDown() override {
        FreeTransposition();
        TranspositionSize = 0x80000;
        Ply = 0;
        ClearBoard();
    }

    static void Resize(std::int64_t entries) {
        TranspositionSize = entries;
        ASSERT_TRUE(AllocateTransposition());
        HashFullCount = 0;
        TTGeneration = 1;
        Ply = 0;
    }
    static void Stand(Key key, Colour side = WHITE) {
        thread_board.PositionKey = key;
        thread_board.SideToMove = side;
    }
    static ProbeResult Probe(std::int32_t depth, std::int32_t alpha, std::int32_t beta, bool isPV = false) {
        mateThreat = false;
        allowNull = true;
        return TTProbe(depth, alpha, beta, isPV, mateThreat, allowNull);
    }
    static void Store(std::int32_t depth, Move move, std::int32_t score, BoundKind kind, std::int32_t tried = 1) {
        TTStore(depth, move, score, kind, false, 0, tried);
    }
    static bool Holds(Key key) {
        Stand(key);
        return Probe(0, -1, 1).kind != 0;
    }

    static inline bool mateThreat = false, allowNull = true;
};

TEST_F(Transposition, EachKindKeepsItsOwnDepthAndScore) {
    Store(10, MOVE_A, -50, BOUND_UPPER);
    Store(6, MOVE_B, -60, BOUND_LOWER);
    ProbeResult result = Probe(8, -40, -39);  // the upper bound is deep enough, the lower one is not
    EXPECT_TRUE(result.cutoff);
    EXPECT_EQ(result.kind, BOUND_UPPER);
    EXPECT_EQ(result.score, -50);
    EXPECT_EQ(result.Move, MOVE_B);
    EXPECT_FALSE(allowNull);  // below beta

    result = Probe(8, -100, -99);  // the lower bound would fit, but is too shallow
    EXPECT_FALSE(result.cutoff);
    EXPECT_EQ(result.kind, 1);
    EXPECT_TRUE(allowNull);
    EXPECT_EQ(ProbeValid, 1);  // yet good enough for the singular test
    EXPECT_EQ(ProbeDepth, 6);
    EXPECT_EQ(ProbeLower, -60);

    result = Probe(6, -100, -99);
    EXPECT_EQ(result.kind, BOUND_LOWER);
    EXPECT_EQ(result.score, -60);
    EXPECT_FALSE(Probe(6, -100, -99, true).cutoff);  // no bounds at a node of the principal variation

    Probe(15, 0, 1);
    EXPECT_EQ(ProbeValid, 0);
    Store(7, 0, 33, BOUND_EXACT);
    Probe(15, 0, 1);
    EXPECT_EQ(ProbeValid, 1);
    EXPECT_EQ(ProbeLower, 33);
    result = Probe(7, -1000, 1000, true);
    EXPECT_EQ(result.kind, BOUND_EXACT);
    EXPECT_EQ(result.score, 33);
    EXPECT_EQ(result.Move, MOVE_B);  // a store without a move keeps the old one

    Stand(100, BLACK);
    EXPECT_EQ(Probe(-12, 0, 1).kind, 0);
}

TEST_F(Transposition, BoundsOfTheSameKindGiveWayToDeeperOrBetter) {
    struct Step {
        BoundKind kind;
        std::int32_t depth, score;
        bool written;
    };
    const Step steps[] = {
        {BOUND_UPPER, 8, 20, true},  {BOUND_UPPER, 8, 20, false}, {BOUND_UPPER, 8, 19, true},
        {BOUND_UPPER, 7, 0, false},  {BOUND_UPPER, 9, 90, true},  {BOUND_LOWER, 8, 20, true},
        {BOUND_LOWER, 8, 19, false}, {BOUND_LOWER, 8, 21, true},  {BOUND_LOWER, 4, 99, false},
        {BOUND_EXACT, 8, 5, true},   {BOUND_EXACT, 8, 4, true},   {BOUND_EXACT, 7, 9, false},
    };
    Move move = 1;
    for (const Step& step : steps) {
        SCOPED_TRACE(testing::Message() << "kind " << step.kind << " score " << step.score);
        Store(step.depth, ++move, step.score, step.kind);
        EXPECT_EQ(HashMoveOf() == move, step.written);  // move and score are written together
    }
}

TEST_F(Transposition, NoBoundCarriesAMate) {
    Store(8, MOVE_A, -32000, BOUND_UPPER);
    EXPECT_EQ(Probe(8, 0, 1).score, -31000);
    EXPECT_FALSE(Probe(8, -31001, -31000).cutoff);
    Stand(200);
    Store(8, MOVE_A, 32000, BOUND_LOWER);
    EXPECT_EQ(Probe(8, 0, 1).score, 31000);
    EXPECT_FALSE(Probe(8, 31000, 31001).cutoff);
}

TEST_F(Transposition, ExactMatesCountFromTheReadingNode) {
    for (const int sign : {1, -1}) {
        Stand(sign == 1 ? 300 : 301);
        Ply = 5;
        Store(8, MOVE_A, sign * (MATE_SCORE - 10), BOUND_EXACT);
        Ply = 9;
        EXPECT_EQ(Probe(8, 0, 1).score, sign * (MATE_SCORE - 14));
        EXPECT_EQ(ProbeLower, sign * (MATE_SCORE - 5));  // as stored
        Ply = 0;
        const ProbeResult root = RootProbe(-MATE_SCORE, MATE_SCORE);
        EXPECT_TRUE(root.cutoff);
        EXPECT_EQ(root.score, sign * (MATE_SCORE - 5));
    }
    Stand(302);
    Ply = 5;
    Store(8, MOVE_A, 31000, BOUND_EXACT);
    Ply = 9;
    EXPECT_EQ(Probe(8, 0, 1).score, 31000);
}

TEST_F(Transposition, RootTakesTheMoveAlwaysAndTheScoreOfAnyExactEntry) {
    EXPECT_EQ(RootProbe(-MATE_SCORE, MATE_SCORE).kind, 0);
    Store(40, MOVE_A, 50, BOUND_LOWER);
    ProbeResult root = RootProbe(-MATE_SCORE, MATE_SCORE);
    EXPECT_EQ(root.Move, MOVE_A);
    EXPECT_FALSE(root.cutoff);
    Store(-12, MOVE_B, 70, BOUND_EXACT);
    root = RootProbe(-MATE_SCORE, MATE_SCORE);
    EXPECT_TRUE(root.cutoff);
    EXPECT_EQ(root.score, 70);
}

TEST_F(Transposition, SmallFactsOfAnEntry) {
    TTStore(4, MOVE_A, 0, BOUND_LOWER, true, 1, 1);
    Probe(8, 10, 11);
    EXPECT_TRUE(mateThreat);
    EXPECT_EQ(QFlags, 1);
    TTStore(4, 0, 0, BOUND_NONE, false, 2, 0);           // adds its flags only
    TTStore(0, MOVE_B, 5, BOUND_LOWER, false, 0xf8, 0);  // refused, and nothing spills into the valid bits
    Probe(4, -1, 0);
    EXPECT_TRUE(mateThreat);
    EXPECT_EQ(QFlags & 3, 3);
    EXPECT_EQ(HashMoveOf(), MOVE_A);
    EXPECT_FALSE(Probe(-12, 10, 11).cutoff);  // neither upper nor exact became valid

    Stand(101);
    TTStore(4, MOVE_A, 0, BOUND_NONE, false, 2, 0);
    EXPECT_FALSE(Holds(101));
    EXPECT_EQ(QFlags, 0);

    // ProbeBest is the lower bound of sufficient depth, whether it cuts or not.
    Stand(100);
    Store(4, MOVE_A, 30, BOUND_LOWER);
    EXPECT_FALSE(TTProbeQ(0, 50, 51, false).cutoff);
    EXPECT_EQ(ProbeBest, 30);
    TTProbeQ(5, 50, 51, false);
    EXPECT_EQ(ProbeBest, -MATE_SCORE);
    TTProbeQ(0, 50, 51, true);
    EXPECT_EQ(ProbeBest, -MATE_SCORE);
}

TEST_F(Transposition, ReplacementOrder) {
    // Keys 8, 1032, 2056, 3080 and 4104 share their four slots in a table of 1024.
    const auto fill = [](std::array<int, 4> tried, std::array<std::uint16_t, 4> generation) {
        Resize(1024);
        for (std::size_t i = 0; i < 4; ++i) {
            TTGeneration = generation[i];
            Stand(8 + 1024 * i);
            Store(20, MOVE_A, 0, BOUND_LOWER, tried[i]);
        }
        TTGeneration = 5;
        HashFullCount = 0;
        Stand(4104);
    };
    const auto victim = [] {
        for (std::size_t i = 0; i < 4; ++i) {
            if (!Holds(8 + 1024 * i)) {
                return static_cast<int>(i);
            }
        }
        return -1;
    };

    fill({3, 1, 9, 1}, {5, 5, 4, 5});
    Store(-12, MOVE_A, 0, BOUND_LOWER);
    EXPECT_EQ(victim(), 2);  // the only old one, whatever its cost and depth
    EXPECT_EQ(HashFullCount, 1);

    fill({3, 2, 9, 2}, {4, 3, 4, 2});
    Store(-12, MOVE_A, 0, BOUND_LOWER);
    EXPECT_EQ(victim(), 1);  // fewest tried, the earlier of ties

    fill({3, 1, 9, 1}, {5, 5, 5, 5});
    Store(19, MOVE_A, 0, BOUND_LOWER);
    EXPECT_EQ(victim(), -1);  // all of this search and deeper
    EXPECT_FALSE(Holds(4104));
    Stand(4104);
    Store(20, MOVE_A, 0, BOUND_LOWER);
    EXPECT_EQ(victim(), 1);
    EXPECT_EQ(HashFullCount, 0);

    // An entry without a move at the lowest depth is cheap even with more moves tried.
    Resize(1024);
    for (std::size_t i = 0; i < 4; ++i) {
        Stand(8 + 1024 * i);
        Store(-12, i == 2 ? 0 : MOVE_A, 0, BOUND_LOWER, i == 2 ? 100 : 1);
    }
    TTGeneration = 2;
    Stand(4104);
    Store(-12, MOVE_A, 0, BOUND_LOWER);
    EXPECT_EQ(victim(), 2);

    // A hit renews the generation and so protects the entry.
    fill({1, 2, 3, 4}, {4, 4, 4, 4});
    EXPECT_TRUE(Holds(8));
    Stand(4104);
    Store(-12, MOVE_A, 0, BOUND_LOWER);
    EXPECT_EQ(victim(), 1);
}

TEST_F(Transposition, OddSizesAndBadNumbers) {
    Resize(0);
    Store(8, MOVE_A, 1, BOUND_EXACT);
    EXPECT_EQ(Probe(-12, 0, 1).kind, 0);
    EXPECT_EQ(HashMoveOf(), 0u);
    EXPECT_EQ(HashFull(), 0);

    // Entries 0 of a clean table must not answer the position with key 0.
    Resize(1);
    EXPECT_FALSE(Holds(0));
    Store(8, MOVE_A, 1, BOUND_EXACT);
    EXPECT_TRUE(Holds(0));
    ClearTransposition();
    EXPECT_EQ(TTGeneration, 0);
    EXPECT_FALSE(Holds(0));

    // Values that no search gives stay inside their fields.
    Stand(0);
    Store(100000, MOVE_A, 1000000, BOUND_EXACT, 100000);
    EXPECT_TRUE(Probe(243, 0, 1).cutoff);
    Stand(1);
    Store(-100, ~Move{0}, -1000000, BOUND_EXACT, -5);
    EXPECT_EQ(Probe(-12, 0, 1).Move, 0x1fffffu);
    EXPECT_EQ(Probe(-12, 0, 1).score, -32768);

    TranspositionSize = std::int64_t{1} << 62;
    EXPECT_FALSE(AllocateTransposition());
    Store(8, MOVE_A, 1, BOUND_EXACT);
    EXPECT_EQ(Probe(-12, 0, 1).kind, 0);
}

/// The table once more, written for clarity: a list of slots, a bound per kind or none.
class Model {
  public:
    struct Bound {
        int score, depth;
    };
    struct Slot {
        Key key = 0;
        int side = 0, kind = 0, generation = 0, tried = 0, qflags = 0;
        Move move = 0;
        bool mate = false;
        std::optional<Bound> bound[4];  // by kind

        int Deepest() const {
            int deepest = 0;
            for (const auto& one : bound) {
                deepest = std::max(deepest, one ? one->depth : 0);
            }
            return deepest;
        }
        int Cost() const { return tried + (move == 0 && Deepest() == 0 ? 0 : 128); }
        int Fresh() const { return generation == TTGeneration; }
    };

    explicit Model(std::size_t entries) : size(entries), slots(entries + 10) {}

    Slot* Lookup() {
        for (Slot* slot : Bucket()) {
            if (slot->kind == 0) {
                return nullptr;
            }
            if (slot->key == SearchKey() && slot->side == thread_board.SideToMove) {
                slot->generation = TTGeneration;
                return slot;
            }
        }
        return nullptr;
    }

    void Store(int depth, Move move, int score, int kind, bool mate, int qflags, int tried) {
        const int d = std::min(depth + 12, 255);
        Slot* target = nullptr;
        bool same = false;
        for (Slot* slot : Bucket()) {
            same = slot->kind != 0 && slot->key == SearchKey() && slot->side == thread_board.SideToMove;
            if (slot->kind == 0 || same) {
                target = slot;
                break;
            }
            if (target == nullptr ||
                std::pair(slot->Fresh(), slot->Cost()) < std::pair(target->Fresh(), target->Cost())) {
                target = slot;
            }
        }
        if (!same) {
            if (target->kind != 0 && target->Fresh()) {
                if (d < target->Deepest()) {
                    return;
                }
            } else {
                ++newSlots;
            }
            *target = Slot{};
        }
        target->generation = TTGeneration;
        target->qflags |= qflags;
        target->tried = tried != 0 ? tried : target->tried;
        if (kind == BOUND_UPPER) {
            score = std::max(score, -31000);
        } else if (kind == BOUND_LOWER) {
            score = std::min(score, 31000);
        } else {
            score += score > 31000 ? Ply : score < -31000 ? -Ply : 0;
        }
        if (const auto& old = target->bound[kind]) {
            if (old->depth > d || (old->depth == d && kind == BOUND_UPPER && score >= old->score) ||
                (old->depth == d && kind == BOUND_LOWER && score <= old->score)) {
                return;
            }
        }
        target->bound[kind] = Bound{score, d};
        target->key = SearchKey();
        target->side = thread_board.SideToMove;
        target->kind = kind;
        target->move = move != 0 ? move : target->move;
        target->mate = mate;
    }

    /// The cut at a node, with the kind that decided; `best` as ProbeBest.
    static std::pair<int, int> Cut(const Slot& slot, int d, int alpha, int beta, bool isPV, int& best) {
        static constexpr int orders[4][3] = {{}, {1, 3, 2}, {2, 3, 1}, {3, 2, 1}};
        best = -32700;
        for (const int kind : orders[slot.kind]) {
            const auto& bound = slot.bound[kind];
            if (!bound || bound->depth < d || (isPV && kind != 3)) {
                continue;
            }
            int score = bound->score;
            if (kind == 3 && std::abs(score) > 31000) {
                score += score > 0 ? -Ply : Ply;
            }
            if (kind != 1) {
                best = score;
            }
            if (kind == 3 || (kind == 2 && score >= beta) || (kind == 1 && score <= alpha)) {
                return {kind, score};
            }
        }
        return {0, 0};
    }

    int newSlots = 0;

  private:
    std::vector<Slot*> Bucket() {
        const std::uint64_t h = SearchKey() ^ (thread_board.SideToMove == BLACK ? 4u : 0u);
        const std::size_t index = size == 0x80000 ? h & 0x7FFFF : (h & 0xFFFFFFFF) % size;
        return {&slots[index], &slots[index + 1], &slots[index + 2], &slots[index + 3]};
    }
    std::size_t size;
    std::vector<Slot> slots;
};

TEST_F(Transposition, AgreesWithThePlainModel) {
    std::mt19937 random(20161222);
    const auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
    for (const int size : {1, 2, 3, 7, 50, 0x80000}) {
        SCOPED_TRACE(size);
        Resize(size);
        Model model(static_cast<std::size_t>(size));
        std::vector<Key> keys;
        for (int i = 0; i < 40 + size % 100; ++i) {
            // Equal low words, or equal masked bits at the default size, with different high ones.
            keys.push_back((Key{random()} << 32) | (random() & 0xFFF8001F));
        }
        for (int step = 0; step < 30000; ++step) {
            Stand(keys[static_cast<std::size_t>(pick(0, static_cast<int>(keys.size()) - 1))],
                  pick(0, 1) ? WHITE : BLACK);
            Ply = pick(0, 20);
            const int depth = pick(0, 3) == 0 ? -12 : pick(-12, 260);
            const int score = pick(0, 4) != 0 ? pick(-60, 60) : pick(0, 1) ? pick(30990, 32600) : pick(-32600, -30990);
            if (pick(0, 400) == 0) {
                ++TTGeneration;
            }
            if (pick(0, 1)) {
                const Move move = pick(0, 2) == 0 ? 0 : static_cast<Move>(pick(1, 0x1fffff));
                const auto kind = static_cast<BoundKind>(pick(1, 3));
                const bool mate = pick(0, 3) == 0;
                const auto qflags = static_cast<std::uint8_t>(pick(0, 3));
                const int tried = pick(0, 1) ? 0 : pick(1, 255);
                TTStore(depth, move, score, kind, mate, qflags, tried);
                model.Store(depth, move, score, kind, mate, qflags, tried);
                ASSERT_EQ(HashFullCount, model.newSlots);
                continue;
            }
            const bool isPV = pick(0, 2) == 0;
            const bool quiescence = pick(0, 1) != 0;
            const ProbeResult result =
                quiescence ? TTProbeQ(depth, score, score + 1, isPV) : Probe(depth, score, score + 1, isPV);
            const Model::Slot* const slot = model.Lookup();
            if (slot == nullptr) {
                ASSERT_EQ(result.kind, 0);
                ASSERT_EQ(QFlags, 0);
                continue;
            }
            int best = 0;
            const auto [kind, cut] = Model::Cut(*slot, depth + 12, score, score + 1, isPV, best);
            ASSERT_EQ(result.kind, kind == 0 ? 1 : kind);
            ASSERT_EQ(result.cutoff, kind != 0);
            ASSERT_EQ(result.score, cut);
            ASSERT_EQ(result.Move, slot->move);
            ASSERT_EQ(QFlags, slot->qflags);
            ASSERT_EQ(ProbeBest, best);
            if (!quiescence) {
                const auto below = [&](int k) { return slot->bound[k] && slot->bound[k]->score < score + 1; };
                ASSERT_EQ(allowNull, !below(BOUND_UPPER) && !below(BOUND_EXACT));
                ASSERT_EQ(mateThreat, slot->mate);
                const auto near = [&](int k) { return slot->bound[k] && depth + 12 <= slot->bound[k]->depth + 8; };
                ASSERT_EQ(ProbeValid, near(BOUND_LOWER) || near(BOUND_EXACT));
                if (ProbeValid) {
                    const auto& bound = slot->bound[near(BOUND_EXACT) ? BOUND_EXACT : BOUND_LOWER];
                    ASSERT_EQ(ProbeDepth, bound->depth - 12);
                    ASSERT_EQ(ProbeLower, bound->score);
                }
            }
        }
    }
}

}  // namespace
