#include "match/memory_log.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "match/uci_engine.h"

namespace {

std::string MegabytesText(std::int64_t bytes) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f MB", static_cast<double>(bytes) / (1 << 20));
    return text.data();
}

}  // namespace

void MemoryLog::Add(std::size_t worker, std::size_t engine, int phase, std::int64_t bytes) {
    if (bytes <= 0) {
        return;
    }
    Entry& entry = entries_[{engine, phase}];
    entry.workers.try_emplace(worker, Span{bytes, bytes}).first->second.last = bytes;
    entry.largest = std::max(entry.largest, bytes);
}

std::string MemoryLog::Text() const {
    std::string text;
    for (const auto& [key, entry] : entries_) {
        const EngineSettings& engine = match_.engines[key.first];
        std::int64_t first = 0;
        std::int64_t last = 0;
        for (const auto& [worker, span] : entry.workers) {
            first = std::max(first, span.first);
            last = std::max(last, span.last);
        }
        text += "Memory of " + engine.name;
        if (const std::string varied = VariedText(engine, key.second); !varied.empty()) {
            text += " with " + varied;
        }
        text += ": first game " + MegabytesText(first) + ", largest " + MegabytesText(entry.largest) + ", last " +
                MegabytesText(last) + "\n";
    }
    return text;
}
