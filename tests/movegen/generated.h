// What a generator appends, and moves by their texts.
#pragma once

#include "movegen/search_records.h"
#include "position/move_text.h"

#include <string>
#include <string_view>
#include <vector>

/// The entries that `generate` appends, with an empty list before and after.
template <typename Generator>
std::vector<MoveEntry> Generated(Generator generate) {
    MoveCount = 0;
    generate();
    const std::vector<MoveEntry> entries(MoveList, MoveList + MoveCount);
    MoveCount = 0;
    return entries;
}

inline std::string TextOf(Move move) {
    char buffer[MOVE_BUFFER];
    return MoveToText(buffer, move);
}

/// The texts in list order, separated by blanks.
inline std::string TextsOf(const std::vector<MoveEntry>& entries) {
    std::string texts;
    for (const MoveEntry& entry : entries) {
        if (!texts.empty()) {
            texts += ' ';
        }
        texts += TextOf(entry.Move);
    }
    return texts;
}
