#include "eval/evaluation_cache.h"

#include "eval/hash_block.h"
#include "position/zobrist.h"

#include <algorithm>
#include <limits>

std::int64_t EvalHashSize = 0x80000;

namespace {

using Limits = std::numeric_limits<std::int16_t>;

HashBlock<EvalHashEntry> Table;

std::int16_t Storable(std::int64_t result) {
    return static_cast<std::int16_t>(result > NO_EVALUATION && result <= Limits::max() ? result : NO_EVALUATION);
}

}  // namespace

Key EvaluationKey() {
    return thread_board.PositionKey ^ CastleKeys[thread_board.CastlingFlags];
}

void PrefetchEvaluation() {
    if (!Table.Empty()) {
        __builtin_prefetch(&Table.SlotOf(EvaluationKey()));
    }
}

std::int32_t ProbeEvaluation(Key key) {
    if (Table.Empty()) {
        return NO_EVALUATION;
    }
    const EvalHashEntry& slot = Table.SlotOf(key);
    if (slot.key != key) {
        return NO_EVALUATION;
    }
    thread_eval_info.attacks[WHITE] = slot.attacks[WHITE];
    thread_eval_info.attacks[BLACK] = slot.attacks[BLACK];
    thread_eval_info.material_score = slot.material;
    return slot.result[thread_board.SideToMove];
}

void StoreEvaluation(Key key, std::int32_t result) {
    if (Table.Empty()) {
        return;
    }
    EvalHashEntry& slot = Table.SlotOf(key);
    slot.result[thread_board.SideToMove] = Storable(result);
    if (slot.key == key) {
        return;
    }
    slot.key = key;
    slot.attacks[WHITE] = thread_eval_info.attacks[WHITE];
    slot.attacks[BLACK] = thread_eval_info.attacks[BLACK];
    slot.material = static_cast<std::int16_t>(
        std::clamp<std::int32_t>(thread_eval_info.material_score, Limits::min(), Limits::max()));
    slot.result[ChangeSide(thread_board.SideToMove)] =
        thread_eval_info.both_sides_valid == 1 ? Storable(std::int64_t{thread_eval_info.side_delta} - result)
                                               : static_cast<std::int16_t>(NO_EVALUATION);
}

bool AllocateEvalHash() {
    return Table.Allocate(EvalHashSize);
}

void ClearEvalHash() {
    Table.Clear();
}

void FreeEvalHash() {
    Table.Free();
}
