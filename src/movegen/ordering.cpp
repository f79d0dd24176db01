#include "movegen/ordering.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <type_traits>

std::int32_t QuietHistory[2][3][4][4096][2];

std::int32_t CaptureTries[CAPTURE_STATS];
std::int32_t CaptureWins[CAPTURE_STATS];

MoveSlots CounterMoves[64][8][2];
MoveSlots FollowUps[64][8][2];
MoveSlots Refutations[64][8][8][2];
MoveSlots Evasions[64][64][2];

static_assert(std::size(GoodCaptureBonus) == 17 && std::size(BadCaptureBonus) == 17);
static_assert(EVADING_EN_PASSANT == EVADING_CAPTURE + NO_VICTIM_SCORE);

namespace {

template <typename Table>
void Zero(Table& table) {
    static_assert(std::is_trivially_copyable_v<Table>);
    std::memset(&table, 0, sizeof table);
}

}  // namespace

void CountCapture(std::int32_t index, bool win) {
    std::int32_t& tries = CaptureTries[index];
    std::int32_t& wins = CaptureWins[index];
    ++tries;
    wins += win;
    if (tries > 256) {
        tries >>= 1;
        wins >>= 1;
    }
}

void ClearQuietHistory() {
    Zero(QuietHistory);
}

void ClearKillers() {
    for (PlyRecord& record : PlyState) {
        std::ranges::fill(record.Killer1, 0);
        std::ranges::fill(record.Killer2, 0);
    }
}

void ClearMoveStats() {
    ClearQuietHistory();
    ClearKillers();
    Zero(CaptureTries);
    Zero(CaptureWins);
    Zero(CounterMoves);
    Zero(FollowUps);
    Zero(Refutations);
    Zero(Evasions);
}
