// The position learning file: opened, asked, and taught.
//
// An input with an odd first byte is a learning file behind that byte. Any other has, behind the first byte, the heads
// of the buckets of the positions asked about, then the records of a file that is otherwise whole. The keys of the
// first records are told as differences from those positions' keys, which no fuzzer would guess.

#include "book/learning.h"
#include "book/learning_file.h"
#include "engine.h"
#include "platform/bytes.h"
#include "position/board.h"
#include "position/fen.h"

#include <algorithm>
#include <string>

namespace {

void ChangeKey(std::string& file, std::size_t place, Key difference) {
    auto* const bytes = reinterpret_cast<std::uint8_t*>(file.data() + place);
    WriteLittle32(bytes, ReadLittle32(bytes) ^ static_cast<std::uint32_t>(difference));
}

std::string LearningFileOf(std::string_view input) {
    std::string file(LEARNING_MAGIC);
    file.resize(LEARNING_RECORDS);
    for (const std::string_view fen : positions) {
        SetupFen(fen);
        const std::size_t head = LEARNING_HEADS + 4 * (thread_board.PositionKey % LEARNING_BUCKETS);
        input.copy(file.data() + head, 4);
        input.remove_prefix(std::min<std::size_t>(4, input.size()));
    }
    file.append(input);
    std::size_t record = LEARNING_RECORDS;
    for (const std::string_view fen : positions) {
        if (record + LEARNING_RECORD_SIZE > file.size()) {
            break;
        }
        SetupFen(fen);
        ChangeKey(file, record + LEARNING_KEY1, thread_board.PositionKey);
        ChangeKey(file, record + LEARNING_KEY2, thread_board.PositionKey >> 16);
        record += LEARNING_RECORD_SIZE;
    }
    return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    ResetEngine();
    const std::string_view input = AsText(data + 1, size - 1);
    WriteInput("Learn.qv1", {(data[0] & 1) != 0 ? std::string(input) : LearningFileOf(input)});
    OpenLearningFile("Learn.qv1");
    for (const std::string_view fen : positions) {
        SetupFen(fen);
        const Key key = thread_board.PositionKey;
        const LearntPosition before = LearnLookup(key);
        LearnCandidates[0] = {.key1 = static_cast<std::uint32_t>(key),
                              .key2 = static_cast<std::uint32_t>(key >> 16),
                              .depth = 30,
                              .old_score = 0,
                              .new_score = -50,
                              .move = 0,
                              .text = {}};
        LearnCandidateCount = 1;
        CommitLearning();
        const LearntPosition after = LearnLookup(key);
        Require(!before.found || (after.found && after.depth == 30 && after.score == -50));
    }
    return 0;
}
