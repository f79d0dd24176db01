// The PGN reader.

#include "engine.h"
#include "position/board.h"
#include "tools/pgn_eval.h"

#include <filesystem>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ResetEngine();
    WriteInput("source.pgn", {AsText(data, size)});
    RunToItsEnd([] { PgnEval("source.pgn"); });
    Require(PositionIsConsistent());
    std::filesystem::remove("c:\\work\\my_eval.csv");
    return 0;
}
