#include "search/transposition.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <vector>

#include "position/board.h"

namespace {

constexpr Move MOVE_A = BuildMove(12, 28, PAWN);

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
    static void Store(std::int32_t depth, Move move, std::int32_t score, std::int32_t tried = 1) {
        TTStore(depth, move, score, BOUND_EXACT, false, 0, tried);
    }
    static bool Holds(Key key) {
        Stand(key);
        return Probe(0, -1, 1).kind != 0;
    }

    static inline bool mateThreat = false, allowNull = true;
};

TEST_F(Transposition, OddSizesAndBadNumbers) {
    Resize(0);
    Store(8, MOVE_A, 1);
    EXPECT_EQ(Probe(-12, 0, 1).kind, 0);
    EXPECT_EQ(HashMoveOf(), 0u);
    EXPECT_EQ(HashFull(), 0);

    // Entries 0 of a clean table must not answer the position with key 0.
    Resize(1);
    EXPECT_FALSE(Holds(0));
    Store(8, MOVE_A, 1);
    EXPECT_TRUE(Holds(0));
    ClearTransposition();
    EXPECT_EQ(TTGeneration, 0);
    EXPECT_FALSE(Holds(0));

    // Values that no search gives stay inside their fields.
    Stand(0);
    Store(100000, MOVE_A, 1000000, 100000);
    EXPECT_TRUE(Probe(243, 0, 1).cutoff);
    Stand(1);
    Store(-100, ~Move{0}, -1000000, -5);
    EXPECT_EQ(Probe(-12, 0, 1).Move, 0x1fffffu);
    EXPECT_EQ(Probe(-12, 0, 1).score, -32768);

    TranspositionSize = std::int64_t{1} << 62;
    EXPECT_FALSE(AllocateTransposition());
    Store(8, MOVE_A, 1);
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
        if (kind == BOUND_NONE) {
            if (same) {
                target->generation = TTGeneration;
                target->qflags |= qflags;
            }
            return;
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
            const int depth = pick(0, 3) == 0 ? -12 : pick(0, 1) ? pick(-2, 2) : pick(-12, 260);  // many ties
            const int score = pick(0, 4) != 0 ? pick(-8, 8) : pick(0, 1) ? pick(30990, 32600) : pick(-32600, -30990);
            if (pick(0, 400) == 0) {
                ++TTGeneration;
            }
            if (pick(0, 1)) {
                const Move move = pick(0, 2) == 0 ? 0 : static_cast<Move>(pick(1, 0x1fffff));
                const auto kind = static_cast<BoundKind>(pick(0, 3));
                const bool mate = pick(0, 3) == 0;
                const auto qflags = static_cast<std::uint8_t>(pick(0, 3));
                const int tried = pick(0, 1) ? 0 : pick(1, 255);
                TTStore(depth, move, score, kind, mate, qflags, tried);
                model.Store(depth, move, score, kind, mate, qflags, tried);
                ASSERT_EQ(HashFullCount, model.newSlots);
                continue;
            }
            enum { FULL, QUIESCENCE, ROOT } const probe{pick(0, 2) == 0 ? ROOT : pick(0, 1) ? QUIESCENCE : FULL};
            const bool isPV = probe == ROOT || pick(0, 2) == 0;
            const ProbeResult result = probe == ROOT         ? RootProbe(score, score + 1)
                                       : probe == QUIESCENCE ? TTProbeQ(depth, score, score + 1, isPV)
                                                             : Probe(depth, score, score + 1, isPV);
            const Model::Slot* const slot = model.Lookup();
            ASSERT_EQ(HashMoveOf(), slot == nullptr ? 0 : slot->move);
            if (slot == nullptr) {
                ASSERT_EQ(result.kind, 0);
                ASSERT_EQ(QFlags, 0);
                ASSERT_TRUE(probe != FULL || ProbeValid == 0);
                continue;
            }
            int best = 0;
            const auto [kind, cut] = Model::Cut(*slot, probe == ROOT ? 0 : depth + 12, score, score + 1, isPV, best);
            ASSERT_EQ(result.kind, kind == 0 ? 1 : kind);
            ASSERT_EQ(result.cutoff, kind != 0);
            ASSERT_EQ(result.score, cut);
            ASSERT_EQ(result.Move, slot->move);
            ASSERT_EQ(QFlags, slot->qflags);
            ASSERT_EQ(ProbeBest, best);
            if (probe == FULL) {
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
