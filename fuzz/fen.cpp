// Positions as text, whatever it says: the board stays consistent, what is written reads back as the same position,
// and whoever looks at the position gets an answer.

#include "position/fen.h"
#include "engine.h"
#include "eval/evaluation.h"
#include "movegen/legal_moves.h"
#include "movegen/search_records.h"
#include "position/board.h"
#include "tools/perft.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ResetEngine();
    SetupFen(AsText(data, size));
    Require(PositionIsConsistent());
    const std::string written = WriteFen(0);

    std::int32_t score = 0;
    EvaluateFull(score);
    if (PositionIsPlayable()) {
        GenerateLegalMoves(0);
        const auto count = static_cast<std::uint64_t>(MoveCount);
        MoveCount = 0;
        Require(CountMoves(1) == count);
    } else {
        CountMoves(1);
    }
    Require(PositionIsConsistent());

    SetupFen(written);
    Require(WriteFen(0) == written);
    return 0;
}
