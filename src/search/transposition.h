// The transposition table: one global block of 26-byte entries, four consecutive slots to a position.
//
// An entry holds an upper bound, a lower bound and an exact score side by side, each with its own depth, so
// that a position searched with different windows keeps all it has learnt.
//
//   key 64 | info 32 | upper 16 | lower 16 | exact 16 | generation 16 | three depths 8 | flags 8 | tried 8 | spare 8
//
//   info   bits 0..20 best move; 21..22 kind of the last store; 23 side to move; 30 mate threat. 0 is a free slot
//   depths depth + 12, because Quiescence stores down to -12
//   flags  bits 0..4 QFlags; 5 upper valid; 6 lower valid; 7 exact valid
//
// Neighbouring positions' slots overlap; ten spare entries stand behind the last index. An entry ages by
// generation only. Bounds never carry a mate distance: upper is at least -31000, lower at most 31000; exact mate
// scores are stored from the storing node's distance.
#pragma once

#include "movegen/search_records.h"
#include "position/types.h"

#pragma pack(push, 1)
struct TTEntry {
    ::Key Key;
    std::uint32_t Info;
    std::int16_t Upper;
    std::int16_t Lower;
    std::int16_t Exact;
    std::uint16_t Generation;
    std::uint8_t UpperDepth;
    std::uint8_t LowerDepth;
    std::uint8_t ExactDepth;
    std::uint8_t Flags;
    std::uint8_t Tried;
    std::uint8_t Spare;
};
#pragma pack(pop)
static_assert(sizeof(TTEntry) == 26);

/// Kinds of a store; 0 stores no score.
enum BoundKind : int { BOUND_NONE = 0, BOUND_UPPER = 1, BOUND_LOWER = 2, BOUND_EXACT = 3 };

/// Entries wanted; takes effect at AllocateTransposition. 0 gives an empty table that answers nothing. Written by
/// the front end.
extern std::int64_t TranspositionSize;

// What the probes leave for their caller. Every probe writes QFlags and ProbeBest. The three between are the answer of
// TTProbe: a hit of the other forms leaves them as they were, and a miss of any form sets ProbeValid to 0.
extern std::uint8_t QFlags;      // of the entry, 0 on a miss
extern std::int32_t ProbeValid;  // 1: a lower or exact bound at most two plies short of the asked depth
extern std::int32_t ProbeDepth;  // that bound's depth, quarter plies; means nothing with ProbeValid 0
extern std::int32_t ProbeLower;  // that bound's score as stored; exact wins over lower
extern std::int32_t ProbeBest;   // read by Quiescence: a lower or exact bound of sufficient depth, else -MATE_SCORE

/// Allocates and clears TranspositionSize entries in place of the old table; false, and no table, when memory is
/// short.
bool AllocateTransposition();
void FreeTransposition();

/// Empties the table and sets TTGeneration to 0.
void ClearTransposition();

/// What a probe says, beside the fields above.
struct ProbeResult {
    int kind = 0;         // 0 on a miss, else the BoundKind of the test that decided, 1 when none passed
    ::Move Move = 0;      // the entry's move
    bool cutoff = false;  // `score` answers for the node
    std::int32_t score = 0;
};

/// Asks the memory for the slots of the position that a move has just made, which the child's probe will read.
void PrefetchTransposition();

/// Looks the position up for a node of `depth` and window. On a hit the entry's generation is renewed,
/// `mateThreat` is set if the entry says so, `allowNull` cleared if an upper or exact bound lies below beta.
ProbeResult TTProbe(std::int32_t depth, std::int32_t alpha, std::int32_t beta, bool isPV, bool& mateThreat,
                    bool& allowNull);

/// The form for Quiescence.
ProbeResult TTProbeQ(std::int32_t depth, std::int32_t alpha, std::int32_t beta, bool isPV);

/// The probe of root move preparation, without the singular and null-move outputs: it asks for the lowest depth,
/// so that an exact score of any depth answers, and as a node of the PV it takes no bounds.
ProbeResult RootProbe(std::int32_t alpha, std::int32_t beta);

/// Stores a result for the position. `tried` is the number of moves the node has searched, capped at 255; 0 keeps
/// what the entry has. A move of 0 keeps the position's stored move. `score` is clamped to the form of its kind.
/// Depths outside -12..243 are stored as the nearest of them. BOUND_NONE adds the QFlags to an entry that the
/// position has already and renews its generation, and does nothing else.
void TTStore(std::int32_t depth, Move move, std::int32_t score, BoundKind kind, bool mateThreat, std::uint8_t qflags,
             std::int32_t tried);

/// The move of the position's entry, 0 if there is none; renews the entry's generation.
Move HashMoveOf();

/// HashFullCount x 1000 / TranspositionSize; 0 for an empty table.
std::int32_t HashFull();
