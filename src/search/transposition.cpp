#include "search/transposition.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "position/board.h"

std::int64_t TranspositionSize = 0x80000;

std::uint8_t QFlags;
std::int32_t ProbeValid;
std::int32_t ProbeDepth;
std::int32_t ProbeLower;
std::int32_t ProbeBest;

namespace {

constexpr int SLOTS = 4;
constexpr std::uint64_t SPARE_ENTRIES = 10;  // the last home index reads three of them
constexpr std::uint64_t MASKED_SIZE = 0x80000;

constexpr std::int32_t DEPTH_OFFSET = 12;
constexpr std::int32_t DEPTH_MAX = 255;

constexpr std::uint32_t INFO_MOVE = 0x1fffff;
constexpr int INFO_KIND_SHIFT = 21;
constexpr int INFO_SIDE_SHIFT = 23;
constexpr std::uint32_t INFO_MATE_THREAT = std::uint32_t{1} << 30;

constexpr std::uint8_t FLAG_QFLAGS = 31;
constexpr std::uint8_t FLAG_UPPER = 32;
constexpr std::uint8_t FLAG_LOWER = 64;
constexpr std::uint8_t FLAG_EXACT = 128;

/// An entry that has been tried or holds anything above the lowest depth is worth this many moves more.
constexpr std::int32_t CONTENT_COST = 128;

struct FreeBlock {
    void operator()(TTEntry* block) const { std::free(block); }
};
std::unique_ptr<TTEntry[], FreeBlock> Table;

/// Indexed entries of Table; TranspositionSize is only the wish until it has been allocated.
std::uint64_t Entries;

std::uint64_t HomeIndex(Key key) {
    const Key hash = key ^ (static_cast<Key>(thread_board.SideToMove) * 4);
    if (Entries == MASKED_SIZE) {
        return hash & (MASKED_SIZE - 1);
    }
    const auto low = static_cast<std::uint32_t>(hash);
    return Entries > std::numeric_limits<std::uint32_t>::max() ? low : low % static_cast<std::uint32_t>(Entries);
}

bool Matches(const TTEntry& entry, Key key) {
    return entry.Key == key &&
           ((entry.Info >> INFO_SIDE_SHIFT) & 1) == static_cast<std::uint32_t>(thread_board.SideToMove);
}

/// The position's entry, its generation renewed; null when it is not in the table.
TTEntry* Find() {
    if (Entries == 0) {
        return nullptr;
    }
    const Key key = SearchKey();
    TTEntry* const home = &Table[HomeIndex(key)];
    for (TTEntry* entry = home; entry != home + SLOTS && entry->Info != 0; ++entry) {
        if (Matches(*entry, key)) {
            entry->Generation = TTGeneration;
            return entry;
        }
    }
    return nullptr;
}

Move MoveOf(const TTEntry& entry) {
    return entry.Info & INFO_MOVE;
}

/// An exact score as the node at Ply sees it: mates count from the root.
std::int32_t ExactScore(const TTEntry& entry) {
    const std::int32_t score = entry.Exact;
    return score > MATE_BOUND ? score - Ply : score < -MATE_BOUND ? score + Ply : score;
}

/// The cut test of one kind against an entry; fills score and cutoff when it decides. `depth` with offset.
bool TestCut(const TTEntry& entry, BoundKind kind, std::int32_t depth, std::int32_t alpha, std::int32_t beta, bool isPV,
             ProbeResult& result) {
    switch (kind) {
        case BOUND_EXACT:
            if ((entry.Flags & FLAG_EXACT) == 0 || entry.ExactDepth < depth) {
                return false;
            }
            result.score = ExactScore(entry);
            ProbeBest = result.score;
            break;
        case BOUND_LOWER:
            if (isPV || (entry.Flags & FLAG_LOWER) == 0 || entry.LowerDepth < depth) {
                return false;
            }
            ProbeBest = entry.Lower;
            if (entry.Lower < beta) {
                return false;
            }
            result.score = entry.Lower;
            break;
        default:
            if (isPV || (entry.Flags & FLAG_UPPER) == 0 || entry.UpperDepth < depth || entry.Upper > alpha) {
                return false;
            }
            result.score = entry.Upper;
            break;
    }
    result.kind = kind;
    result.cutoff = true;
    return true;
}

/// Order of the cut tests by the kind of the last store.
constexpr BoundKind TestOrder[4][3] = {
    {BOUND_UPPER, BOUND_EXACT, BOUND_LOWER},  // kind 0 never stands in an entry
    {BOUND_UPPER, BOUND_EXACT, BOUND_LOWER},
    {BOUND_LOWER, BOUND_EXACT, BOUND_UPPER},
    {BOUND_EXACT, BOUND_LOWER, BOUND_UPPER},
};

/// The part of a probe that all forms share: QFlags, ProbeBest, move and cut tests. `depth` with offset.
ProbeResult Answer(const TTEntry& entry, std::int32_t depth, std::int32_t alpha, std::int32_t beta, bool isPV) {
    QFlags = entry.Flags & FLAG_QFLAGS;
    ProbeBest = -MATE_SCORE;
    ProbeResult result{BOUND_UPPER, MoveOf(entry), false, 0};
    for (const BoundKind kind : TestOrder[(entry.Info >> INFO_KIND_SHIFT) & 3]) {
        if (TestCut(entry, kind, depth, alpha, beta, isPV, result)) {
            break;
        }
    }
    return result;
}

ProbeResult Miss() {
    QFlags = 0;
    ProbeValid = 0;
    ProbeBest = -MATE_SCORE;
    return {};
}

/// What the singular test wants to know: a bound from below that is at most two plies too shallow. Scores as the
/// entry holds them.
void LeaveSingularFields(const TTEntry& entry, std::int32_t depth) {
    ProbeValid = 0;
    if ((entry.Flags & FLAG_LOWER) != 0 && depth <= entry.LowerDepth + 8) {
        ProbeValid = 1;
        ProbeDepth = entry.LowerDepth - DEPTH_OFFSET;
        ProbeLower = entry.Lower;
    }
    if ((entry.Flags & FLAG_EXACT) != 0 && depth <= entry.ExactDepth + 8) {
        ProbeValid = 1;
        ProbeDepth = entry.ExactDepth - DEPTH_OFFSET;
        ProbeLower = entry.Exact;
    }
}

/// Price of overwriting an entry of another position, lowest first.
std::int32_t ReplacementCost(const TTEntry& entry) {
    const bool bare = MoveOf(entry) == 0 && (entry.UpperDepth | entry.LowerDepth | entry.ExactDepth) == 0;
    return bare ? entry.Tried : entry.Tried + CONTENT_COST;
}

struct StoreSlot {
    TTEntry* entry;
    bool same;  // it holds this position already
};

/// The slot that a store goes to: a free one or the position's own, whichever comes first, else one of an old
/// generation before a current one, the cheapest of equals, the earliest of ties.
StoreSlot ChooseSlot(Key key) {
    TTEntry* const home = &Table[HomeIndex(key)];
    TTEntry* candidate = home;
    bool candidateCurrent = true;
    std::int32_t candidateCost = std::numeric_limits<std::int32_t>::max();
    for (TTEntry* entry = home; entry != home + SLOTS; ++entry) {
        if (entry->Info == 0) {
            return {entry, false};
        }
        if (Matches(*entry, key)) {
            return {entry, true};
        }
        const bool current = entry->Generation == TTGeneration;
        const std::int32_t cost = ReplacementCost(*entry);
        if ((candidateCurrent && !current) || (candidateCurrent == current && cost < candidateCost)) {
            candidate = entry;
            candidateCurrent = current;
            candidateCost = cost;
        }
    }
    return {candidate, false};
}

/// The score of a store in the form its kind is kept in, inside 16 bits.
std::int16_t StoredScore(std::int32_t score, BoundKind kind) {
    if (kind == BOUND_UPPER) {
        score = std::max(score, -MATE_BOUND);
    } else if (kind == BOUND_LOWER) {
        score = std::min(score, MATE_BOUND);
    } else if (score > MATE_BOUND) {
        score += Ply;
    } else if (score < -MATE_BOUND) {
        score -= Ply;
    }
    return static_cast<std::int16_t>(std::clamp<std::int32_t>(score, std::numeric_limits<std::int16_t>::min(),
                                                              std::numeric_limits<std::int16_t>::max()));
}

/// Writes score and depth of one kind, unless what stands there is worth more; false if so.
bool WriteBound(TTEntry& entry, BoundKind kind, std::int16_t score, std::uint8_t depth) {
    switch (kind) {
        case BOUND_UPPER:
            if ((entry.Flags & FLAG_UPPER) != 0 &&
                (entry.UpperDepth > depth || (entry.UpperDepth == depth && score >= entry.Upper))) {
                return false;
            }
            entry.Upper = score;
            entry.UpperDepth = depth;
            entry.Flags |= FLAG_UPPER;
            return true;
        case BOUND_LOWER:
            if ((entry.Flags & FLAG_LOWER) != 0 &&
                (entry.LowerDepth > depth || (entry.LowerDepth == depth && score <= entry.Lower))) {
                return false;
            }
            entry.Lower = score;
            entry.LowerDepth = depth;
            entry.Flags |= FLAG_LOWER;
            return true;
        default:
            if ((entry.Flags & FLAG_EXACT) != 0 && entry.ExactDepth > depth) {
                return false;
            }
            entry.Exact = score;
            entry.ExactDepth = depth;
            entry.Flags |= FLAG_EXACT;
            return true;
    }
}

}  // namespace

bool AllocateTransposition() {
    FreeTransposition();
    const std::int64_t wanted = std::max<std::int64_t>(TranspositionSize, 0);
    const auto entries = static_cast<std::uint64_t>(wanted);
    if (entries > std::numeric_limits<std::size_t>::max() / sizeof(TTEntry) - SPARE_ENTRIES) {
        return false;
    }
    // calloc leaves the zeroing of a large block to the system, page by page.
    Table.reset(static_cast<TTEntry*>(std::calloc(entries + SPARE_ENTRIES, sizeof(TTEntry))));
    if (!Table) {
        return false;
    }
    Entries = entries;
    Table[0].Key = ~Key{0};
    TTGeneration = 0;
    return true;
}

void FreeTransposition() {
    Table.reset();
    Entries = 0;
}

void ClearTransposition() {
    if (Table) {
        std::memset(Table.get(), 0, (Entries + SPARE_ENTRIES) * sizeof(TTEntry));
        // An all-zero position must not hit entry 0.
        Table[0].Key = ~Key{0};
    }
    TTGeneration = 0;
}

void PrefetchTransposition() {
    if (Entries != 0) {
        // The four slots lie on two or three cache lines; the third is rarely reached.
        const TTEntry* const home = &Table[HomeIndex(SearchKey())];
        __builtin_prefetch(home);
        __builtin_prefetch(home + SLOTS - 1);
    }
}

ProbeResult TTProbe(std::int32_t depth, std::int32_t alpha, std::int32_t beta, bool isPV, bool& mateThreat,
                    bool& allowNull) {
    const TTEntry* const entry = Find();
    if (entry == nullptr) {
        return Miss();
    }
    if ((entry->Info & INFO_MATE_THREAT) != 0) {
        mateThreat = true;
    }
    // Any bound below beta, however shallow, speaks against the null move.
    if (((entry->Flags & FLAG_UPPER) != 0 && entry->Upper < beta) ||
        ((entry->Flags & FLAG_EXACT) != 0 && entry->Exact < beta)) {
        allowNull = false;
    }
    LeaveSingularFields(*entry, depth + DEPTH_OFFSET);
    return Answer(*entry, depth + DEPTH_OFFSET, alpha, beta, isPV);
}

ProbeResult TTProbeQ(std::int32_t depth, std::int32_t alpha, std::int32_t beta, bool isPV) {
    const TTEntry* const entry = Find();
    return entry == nullptr ? Miss() : Answer(*entry, depth + DEPTH_OFFSET, alpha, beta, isPV);
}

ProbeResult RootProbe(std::int32_t alpha, std::int32_t beta) {
    // The lowest depth that is stored: an exact score of any depth is a fair first guess for the root. As a node
    // of the principal variation the root takes no bounds.
    const TTEntry* const entry = Find();
    return entry == nullptr ? Miss() : Answer(*entry, 0, alpha, beta, true);
}

void TTStore(std::int32_t depth, Move move, std::int32_t score, BoundKind kind, bool mateThreat, std::uint8_t qflags,
             std::int32_t tried) {
    if (Entries == 0) {
        return;
    }
    const Key key = SearchKey();
    const StoreSlot slot = ChooseSlot(key);
    TTEntry& entry = *slot.entry;
    if (slot.same) {
        entry.Generation = TTGeneration;
        entry.Flags |= qflags & FLAG_QFLAGS;
        if (move == 0) {
            move = MoveOf(entry);
        }
    }
    if (kind == BOUND_NONE) {
        return;  // a position without an entry gets none for its QFlags alone
    }

    const auto storedDepth = static_cast<std::uint8_t>(std::clamp(depth + DEPTH_OFFSET, 0, DEPTH_MAX));
    const auto storedTried = static_cast<std::uint8_t>(std::clamp(tried, 0, 255));
    if (!slot.same) {
        if (entry.Info != 0 && entry.Generation == TTGeneration) {
            if (storedDepth < entry.UpperDepth || storedDepth < entry.LowerDepth || storedDepth < entry.ExactDepth) {
                return;
            }
        } else {
            ++HashFullCount;
        }
        entry = TTEntry{};
        entry.Key = key;
        entry.Generation = TTGeneration;
        entry.Flags = qflags & FLAG_QFLAGS;
    }
    if (storedTried != 0) {
        entry.Tried = storedTried;
    }
    if (WriteBound(entry, kind, StoredScore(score, kind), storedDepth)) {
        entry.Info = (move & INFO_MOVE) | (static_cast<std::uint32_t>(kind) << INFO_KIND_SHIFT) |
                     (static_cast<std::uint32_t>(thread_board.SideToMove) << INFO_SIDE_SHIFT) |
                     (mateThreat ? INFO_MATE_THREAT : 0);
    }
}

Move HashMoveOf() {
    const TTEntry* const entry = Find();
    return entry == nullptr ? 0 : MoveOf(*entry);
}

std::int32_t HashFull() {
    return Entries == 0 ? 0 : static_cast<std::int32_t>(HashFullCount * 1000 / static_cast<std::int64_t>(Entries));
}
