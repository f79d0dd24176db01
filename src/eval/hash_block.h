// The memory of a hash table: one block of entries that begin with their key. An empty block, without a single
// entry, is how a table is switched off.
#pragma once

#include "position/types.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

template <typename Entry>
class HashBlock {
    static_assert(std::is_trivially_copyable_v<Entry>);

  public:
    /// Replaces the block by a cleared one; false, and no entries, when memory is short.
    bool Allocate(std::int64_t entries) {
        Free();
        if (entries < 0) {
            return false;
        }
        block_.reset(
            static_cast<Entry*>(std::calloc(static_cast<std::size_t>(entries) + SPARE_ENTRIES, sizeof(Entry))));
        if (block_ == nullptr) {
            return false;
        }
        entries_ = static_cast<std::uint64_t>(entries);
        MarkFirst();
        return true;
    }

    void Clear() {
        if (block_ != nullptr) {
            std::memset(static_cast<void*>(block_.get()), 0, (entries_ + SPARE_ENTRIES) * sizeof(Entry));
            MarkFirst();
        }
    }

    void Free() {
        block_.reset();
        entries_ = 0;
    }

    bool Empty() const { return entries_ == 0; }

    /// The slot of a key, by its low 32 bits. The block must not be empty.
    Entry& SlotOf(Key key) {
        const auto low = static_cast<std::uint32_t>(key);
        if (std::has_single_bit(entries_)) [[likely]] {
            return block_[low & (entries_ - 1)];
        }
        return block_[low % entries_];
    }

  private:
    static constexpr std::size_t SPARE_ENTRIES = 2;

    struct Release {
        void operator()(Entry* block) const { std::free(block); }
    };

    // A position whose key is 0 must not hit the first slot.
    void MarkFirst() { block_[0].key = ~Key{0}; }

    std::unique_ptr<Entry[], Release> block_;
    std::uint64_t entries_ = 0;
};
