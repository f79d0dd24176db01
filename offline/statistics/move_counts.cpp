#include "statistics/move_counts.h"

#include <array>
#include <iterator>

#include "eval/evaluation.h"
#include "eval/move_stats.h"
#include "eval/parameters.h"
#include "position/board.h"

namespace {

/// The place of each PieceCode in the order of the file.
constexpr std::array<std::size_t, 8> PiecePlaces = [] {
    std::array<std::size_t, 8> places{};
    for (std::size_t i = 0; i < std::size(MoveCountPiece); ++i) {
        places[static_cast<std::size_t>(MoveCountPiece[i])] = i;
    }
    return places;
}();

/// Of the pair: times played, times seen.
std::size_t PlaceOf(Move move, Colour mover, std::int32_t ending) {
    const int turn = mover == WHITE ? 0 : 56;
    const auto from = static_cast<std::size_t>(MoveFrom(move) ^ turn);
    const auto to = static_cast<std::size_t>(MoveTo(move) ^ turn);
    const std::size_t piece = PiecePlaces[static_cast<std::size_t>(MovePiece(move))];
    return 2 * (((static_cast<std::size_t>(ending) * std::size(MoveCountPiece) + piece) * 64 + from) * 64 + to);
}

}  // namespace

MoveCounts::MoveCounts() : values_(MOVE_COUNT_VALUES) {}

void MoveCounts::Count(Move played, const std::vector<Move>& legal) {
    const Colour mover = thread_board.SideToMove;
    const std::int32_t ending = EndingByFormula(mover);
    for (const Move move : legal) {
        if (IsQuiet(move)) {
            const std::size_t place = PlaceOf(move, mover, ending);
            values_[place] += move == played;
            ++values_[place + 1];
        }
    }
    ++decisions_;
}

std::vector<std::int64_t> MoveCounts::Values(std::int64_t least) const {
    std::vector<std::int64_t> values = values_;
    for (std::size_t place = 0; place < values.size(); place += 2) {
        if (values[place + 1] < least) {
            values[place] = 0;
            values[place + 1] = 0;
        }
    }
    return values;
}
