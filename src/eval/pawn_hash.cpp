#include "eval/evaluation.h"
#include "eval/hash_block.h"

std::int64_t PawnHashSize = 0x40000;

namespace {

HashBlock<PawnHashEntry> Table;

}  // namespace

bool AllocatePawnHash() {
    return Table.Allocate(PawnHashSize);
}

void ClearPawnHash() {
    Table.Clear();
}

void FreePawnHash() {
    Table.Free();
}
