#include "tools/perft.h"

#include "movegen/exchange.h"
#include "movegen/generators.h"
#include "movegen/search_records.h"
#include "platform/clock.h"
#include "position/board.h"

#include <algorithm>
#include <cstdio>

namespace {

bool CapturesKing(std::int32_t first) {
    return std::any_of(MoveList + first, MoveList + MoveCount,
                       [](const MoveEntry& entry) { return MoveCaptured(entry.Move) == KING; });
}

/// Illegal moves are found one level down, by a capture of the king, and at the last level by SquareAttacked.
std::uint64_t CountFrom(int depth) {
    const std::int32_t first = MoveCount;
    if (first > MOVE_LIST_SIZE - MAX_MOVES) {
        return 0;
    }
    const Colour us = thread_board.SideToMove;
    const Colour them = ChangeSide(us);
    GenerateCaptures(thread_board.ColourPieces[them]);
    GeneratePromotions();
    if (CapturesKing(first)) {
        MoveCount = first;
        return 0;
    }
    GenerateQuiets(1);

    const std::int32_t last = MoveCount;
    std::uint64_t count = 0;
    for (std::int32_t i = first; i < last; ++i) {
        const Move move = MoveList[i].Move;
        // The generator leaves the king's own square to its caller.
        if (IsCastling(move) && SquareAttacked(them, thread_board.KingSquare[us])) {
            continue;
        }
        MakeMove(move, 1);
        if (depth > 1) {
            count += CountFrom(depth - 1);
        } else if (!SquareAttacked(them, thread_board.KingSquare[us])) {
            ++count;
        }
        UnmakeMove();
    }
    MoveCount = first;
    return count;
}

/// The generators move the king from KingSquare: it must be there, and be the only one.
bool HasOneKing(Colour colour) {
    return thread_board.Pieces[KING][colour] == Bit(thread_board.KingSquare[colour]);
}

/// Waits until the clock has just moved on, so that the timing starts at a tick.
std::int32_t NextTick() {
    const std::int32_t now = ClockCentiseconds();
    std::int32_t tick = now;
    while (tick == now) {
        tick = ClockCentiseconds();
    }
    return tick;
}

}  // namespace

std::uint64_t CountMoves(int depth) {
    if (depth < 1 || !HasOneKing(WHITE) || !HasOneKing(BLACK)) {
        return 0;
    }
    MakeRoomInHistory();
    // The undo records bound the depth; no count that needs more would ever end.
    return CountFrom(std::min(depth, HISTORY_RECORDS - GamePly));
}

void Perft(int depth) {
    MoveCount = 0;
    const std::int32_t start = NextTick();
    const std::uint64_t total = CountMoves(depth);
    const double seconds = (ClockCentiseconds() - start) / 100.0;
    std::printf("total moves = %llu time = %.2f\n", static_cast<unsigned long long>(total), seconds);
    std::fflush(stdout);
}
