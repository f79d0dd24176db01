#include "eval/pawn_hash.h"

#include "eval/evaluation.h"
#include "eval/hash_block.h"

std::int64_t PawnHashSize = 0x40000;

namespace {

HashBlock<PawnHashEntry> Table;

/// The key of no pawns is 0, and so is that of a board's working copy before its first evaluation.
void ForgetWorkingCopy() {
    thread_board.PawnEntry.key = ~Key{0};
}

}  // namespace

bool AllocatePawnHash() {
    ForgetWorkingCopy();
    return Table.Allocate(PawnHashSize);
}

void ClearPawnHash() {
    ForgetWorkingCopy();
    Table.Clear();
}

void FreePawnHash() {
    ForgetWorkingCopy();
    Table.Free();
}

bool LoadPawnEntry() {
    if (PawnHashSize == 0) {
        return false;
    }
    PawnHashEntry& entry = thread_board.PawnEntry;
    if (entry.key == thread_board.PawnKey) [[likely]] {
        return true;
    }
    if (Table.Empty()) {
        return false;
    }
    const PawnHashEntry& slot = Table.SlotOf(thread_board.PawnKey);
    if (slot.key != thread_board.PawnKey) {
        return false;
    }
    entry = slot;
    return true;
}

void StorePawnEntry() {
    if (!Table.Empty()) {
        Table.SlotOf(thread_board.PawnKey) = thread_board.PawnEntry;
    }
}
