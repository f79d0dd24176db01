// The fixed-depth benchmark: every position of positions.h from a cold state to the same depth, on one thread. Takes
// no arguments. The node count is the same on every machine and in every run, and is the build's signature.

#include "frontend/game.h"
#include "frontend/startup.h"
#include "movegen/search_records.h"
#include "platform/clock.h"
#include "position/settings.h"
#include "positions.h"
#include "search/clock.h"
#include "search/front_end.h"
#include "search/think.h"

#include <cinttypes>
#include <cstdio>

namespace {

constexpr int BENCHMARK_DEPTH = 12;

std::uint64_t SearchToDepth(const char* fen) {
    CleanTables();
    SetupPosition(fen);
    SetUnlimitedBudget();
    SearchStart = ClockCentiseconds();
    IterativeDeepening(BENCHMARK_DEPTH, false);
    return Nodes;
}

}  // namespace

int main() {
    StartEngine();
    PostThinking = 0;

    std::uint64_t nodes = 0;
    const std::int32_t start = ClockCentiseconds();
    for (const char* fen : BENCHMARK_POSITIONS) {
        const std::uint64_t counted = SearchToDepth(fen);
        std::printf("%12" PRIu64 "  %s\n", counted, fen);
        nodes += counted;
    }
    const std::int32_t centiseconds = ClockCentiseconds() - start;

    std::printf("Nodes       : %" PRIu64 "\n", nodes);
    std::printf("Time        : %.2f s\n", static_cast<double>(centiseconds) / 100.0);
    std::printf("Nodes/second: %" PRIu64 "\n",
                centiseconds > 0 ? nodes * 100 / static_cast<std::uint64_t>(centiseconds) : nodes);
    return 0;
}
