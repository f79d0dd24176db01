// The layout of the learning file and its writing.
//
// All numbers are little-endian and unsigned, 32 bits wide:
//
//        0  23 bytes           LEARNING_MAGIC, no terminator
//       23  65536 x 4 bytes    file offset of each bucket's first record, 0 for none
//   262167  24 bytes a record  depth, score, move, key1, key2, offset of the bucket's next record or 0
//
// A position's bucket is the low 16 bits of key1. Records stand in the order in which they were added, so that along a
// chain the offsets grow. The file has no version; it is right for the Zobrist sequence of position/zobrist.cpp only.
#pragma once

#include "position/types.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

inline constexpr std::string_view LEARNING_MAGIC = "Quorvanth learning file";
inline constexpr std::uint32_t LEARNING_BUCKETS = 65536;
inline constexpr std::uint32_t LEARNING_HEADS = 23;
inline constexpr std::uint32_t LEARNING_RECORDS = 262167;
static_assert(LEARNING_MAGIC.size() == LEARNING_HEADS);
static_assert(LEARNING_RECORDS == LEARNING_HEADS + 4 * LEARNING_BUCKETS);

/// Offsets in a record.
inline constexpr std::size_t LEARNING_DEPTH = 0;
inline constexpr std::size_t LEARNING_SCORE = 4;
inline constexpr std::size_t LEARNING_MOVE = 8;
inline constexpr std::size_t LEARNING_KEY1 = 12;
inline constexpr std::size_t LEARNING_KEY2 = 16;
inline constexpr std::size_t LEARNING_NEXT = 20;
inline constexpr std::size_t LEARNING_RECORD_SIZE = 24;

struct LearningRecord {
    std::int32_t depth;
    std::int32_t score;
    Move move;
    std::uint32_t key1;
    std::uint32_t key2;
};

enum LearningState {
    LEARNING_FOUND,    // offset is that of the record
    LEARNING_ABSENT,   // offset is that of the link that a new record hangs on: a bucket head or a `next`
    LEARNING_UNUSABLE  // no file, or a damaged chain: nothing is known and nothing may be written
};

struct LearningPlace {
    LearningState state;
    std::uint32_t offset;
    LearningRecord record;  // only where found
};

/// Where the position with these keys stands, or would stand.
LearningPlace FindLearningRecord(std::uint32_t key1, std::uint32_t key2);

/// Appends `record` and hangs it on the chain at `place`, which must be absent. A file that has reached the end of
/// what an offset can tell, or that cannot be written, keeps its chains as they are.
void AddLearningRecord(const LearningPlace& place, const LearningRecord& record);

/// Overwrites the record at `place`, which must be found; its link stays.
void RefreshLearningRecord(const LearningPlace& place, const LearningRecord& record);
