// The learning file: opening, chains, appending.
//
// Nothing here believes the file. A chain is followed only as far as it looks like one that this program has written:
// each offset at a record's place behind the one before, the whole record inside the file, its key in the bucket, its
// score one that a search can give. Whatever else is found counts as damage, and a bucket with damage is never written
// to. So a link that has lost its record stays harmless when a record of another bucket comes to stand there later.
#include "book/learning_file.h"

#include "book/learning.h"
#include "movegen/search_records.h"
#include "platform/bytes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace {

// Keys spread evenly: a file as long as offsets can tell has chains of about 2,730 records. A longer one than this is
// no work of ours, and walking it would hold up the search.
constexpr int CHAIN_LIMIT = 65536;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File learning_file;

using RecordBytes = std::array<std::uint8_t, LEARNING_RECORD_SIZE>;

bool ReadAt(std::uint32_t offset, std::span<std::uint8_t> bytes) {
    return std::fseek(learning_file.get(), static_cast<long>(offset), SEEK_SET) == 0 &&
           std::fread(bytes.data(), 1, bytes.size(), learning_file.get()) == bytes.size();
}

bool WriteAt(std::uint32_t offset, std::span<const std::uint8_t> bytes) {
    return std::fseek(learning_file.get(), static_cast<long>(offset), SEEK_SET) == 0 &&
           std::fwrite(bytes.data(), 1, bytes.size(), learning_file.get()) == bytes.size() &&
           std::fflush(learning_file.get()) == 0;
}

/// The length of the file, -1 where it has none.
long FileLength(std::FILE* file) {
    return std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1;
}

/// How far the end stands from the last record's end: 0, or the length of a record that was cut off.
long CutRecordLength(long length) {
    return (length - static_cast<long>(LEARNING_RECORDS)) % static_cast<long>(LEARNING_RECORD_SIZE);
}

LearningRecord Decode(const RecordBytes& bytes) {
    return {static_cast<std::int32_t>(ReadLittle32(bytes.data() + LEARNING_DEPTH)),
            static_cast<std::int32_t>(ReadLittle32(bytes.data() + LEARNING_SCORE)),
            ReadLittle32(bytes.data() + LEARNING_MOVE), ReadLittle32(bytes.data() + LEARNING_KEY1),
            ReadLittle32(bytes.data() + LEARNING_KEY2)};
}

/// With a link of 0: a new record ends its chain.
RecordBytes Encode(const LearningRecord& record) {
    RecordBytes bytes{};
    WriteLittle32(bytes.data() + LEARNING_DEPTH, static_cast<std::uint32_t>(record.depth));
    WriteLittle32(bytes.data() + LEARNING_SCORE, static_cast<std::uint32_t>(record.score));
    WriteLittle32(bytes.data() + LEARNING_MOVE, record.move);
    WriteLittle32(bytes.data() + LEARNING_KEY1, record.key1);
    WriteLittle32(bytes.data() + LEARNING_KEY2, record.key2);
    return bytes;
}

constexpr std::uint32_t BucketOf(std::uint32_t key1) {
    return key1 % LEARNING_BUCKETS;
}

/// A score beyond a mate's has no meaning to the search and could outgrow its arithmetic.
bool IsWhole(const LearningRecord& record, std::uint32_t bucket) {
    return BucketOf(record.key1) == bucket && record.score >= -MATE_SCORE && record.score <= MATE_SCORE;
}

/// Writes what `file` lacks to be one without records, if it holds the beginning of one and no more: it is new, or a
/// process has ended while making it.
void FinishEmptyFile(std::FILE* file) {
    const long length = FileLength(file);
    if (length < 0 || length >= static_cast<long>(LEARNING_RECORDS)) {
        return;
    }
    std::vector<std::uint8_t> empty(LEARNING_RECORDS, 0);
    std::ranges::copy(LEARNING_MAGIC, empty.begin());
    const auto there = static_cast<std::size_t>(length);
    std::vector<std::uint8_t> bytes(there);
    if (std::fseek(file, 0, SEEK_SET) == 0 && std::fread(bytes.data(), 1, there, file) == there &&
        std::ranges::equal(bytes, std::span(empty).first(there)) && std::fseek(file, length, SEEK_SET) == 0) {
        std::fwrite(empty.data() + there, 1, empty.size() - there, file);
        std::fflush(file);
    }
}

// The length is asked first: a pipe has none, and reading one could wait for ever.
bool IsLearningFile(std::FILE* file) {
    std::array<char, LEARNING_MAGIC.size()> magic{};
    return FileLength(file) >= static_cast<long>(LEARNING_RECORDS) && std::fseek(file, 0, SEEK_SET) == 0 &&
           std::fread(magic.data(), 1, magic.size(), file) == magic.size() &&
           std::string_view(magic.data(), magic.size()) == LEARNING_MAGIC;
}

void Report(const std::string& name, const char* what) {
    std::printf("Learning file \"%s\" %s\n", name.c_str(), what);
    std::fflush(stdout);
}

}  // namespace

void OpenLearningFile(const std::string& name) {
    CloseLearningFile();
    File file(std::fopen(name.c_str(), "r+b"));
    if (file == nullptr && errno == ENOENT) {
        file.reset(std::fopen(name.c_str(), "w+bx"));  // x: never over a file that another process has just made
    }
    if (file == nullptr) {
        Report(name, "cannot be opened; it is not used");
        return;
    }
    FinishEmptyFile(file.get());
    if (!IsLearningFile(file.get())) {
        Report(name, "is of another kind or cut short; it is not used");
        return;
    }
    if (CutRecordLength(FileLength(file.get())) != 0) {
        Report(name, "ends within a record; that record is not used");
    }
    // A lookup reads a few bytes here and there: a buffer would read pages around each of them.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    learning_file = std::move(file);
}

void CloseLearningFile() {
    learning_file.reset();
}

LearningPlace FindLearningRecord(std::uint32_t key1, std::uint32_t key2) {
    constexpr LearningPlace UNUSABLE = {LEARNING_UNUSABLE, 0, {}};
    const std::uint32_t bucket = BucketOf(key1);
    std::uint32_t link = LEARNING_HEADS + 4 * bucket;
    std::array<std::uint8_t, 4> head;
    if (learning_file == nullptr || !ReadAt(link, head)) {
        return UNUSABLE;
    }
    std::uint32_t offset = ReadLittle32(head.data());
    std::uint32_t lowest = LEARNING_RECORDS;
    for (int step = 0; step < CHAIN_LIMIT; ++step) {
        if (offset == 0) {
            return {LEARNING_ABSENT, link, {}};
        }
        RecordBytes bytes;
        if (offset < lowest || (offset - LEARNING_RECORDS) % LEARNING_RECORD_SIZE != 0 || !ReadAt(offset, bytes)) {
            return UNUSABLE;
        }
        const LearningRecord record = Decode(bytes);
        if (!IsWhole(record, bucket)) {
            return UNUSABLE;
        }
        if (record.key1 == key1 && record.key2 == key2) {
            return {LEARNING_FOUND, offset, record};
        }
        link = offset + LEARNING_NEXT;
        lowest = offset + 1;
        offset = ReadLittle32(bytes.data() + LEARNING_NEXT);
    }
    return UNUSABLE;
}

// The record stands in the file before anything points to it: a process that dies in between leaves a record that no
// chain holds, and every chain whole. What a cut-off record left at the end is filled up to a record's length, so that
// the new one stands at a record's place; nothing that was in the file changes.
void AddLearningRecord(const LearningPlace& place, const LearningRecord& record) {
    const long end = FileLength(learning_file.get());
    if (end < static_cast<long>(LEARNING_RECORDS)) {
        return;
    }
    const long cut = CutRecordLength(end);
    const long fill = cut != 0 ? static_cast<long>(LEARNING_RECORD_SIZE) - cut : 0;
    const long offset = end + fill;
    if (offset > static_cast<long>(std::numeric_limits<std::uint32_t>::max() - LEARNING_RECORD_SIZE)) {
        return;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(fill), 0);
    const RecordBytes encoded = Encode(record);
    bytes.insert(bytes.end(), encoded.begin(), encoded.end());
    std::array<std::uint8_t, 4> link;
    WriteLittle32(link.data(), static_cast<std::uint32_t>(offset));
    if (WriteAt(static_cast<std::uint32_t>(end), bytes)) {
        WriteAt(place.offset, link);
    }
}

void RefreshLearningRecord(const LearningPlace& place, const LearningRecord& record) {
    const RecordBytes bytes = Encode(record);
    WriteAt(place.offset, std::span(bytes).first<LEARNING_NEXT>());
}

LearntPosition LearnLookup(Key key) {
    const LearningPlace place =
        FindLearningRecord(static_cast<std::uint32_t>(key), static_cast<std::uint32_t>(key >> 16));
    if (place.state != LEARNING_FOUND) {
        return {};
    }
    return {true, place.record.depth, place.record.score, place.offset};
}
