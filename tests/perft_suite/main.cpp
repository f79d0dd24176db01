// Checks the move generators against files of known counts:
//
//   perft_suite [-l LEAVES] FILE...
//
// Every count of up to LEAVES leaves (50 million if not given) of every line is counted anew. Prints what differs
// and a closing line; exits with 1 if anything differs or a file holds nothing to check.
#include "movegen/search_records.h"
#include "position/fen.h"
#include "support/board_tables.h"
#include "support/perft_lines.h"
#include "tools/perft.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using Leaves = unsigned long long;

struct Totals {
    int lines = 0;
    int counts = 0;
    int mismatches = 0;
    Leaves leaves = 0;
};

void CheckLine(const PerftLine& line, Leaves limit, Totals& totals) {
    totals.lines += 1;
    for (const PerftCount& known : line.counts) {
        if (known.depth < 1) {
            std::printf("unreadable: %s\n", line.fen.c_str());
            totals.mismatches += 1;
            continue;
        }
        if (known.leaves > limit) {
            continue;
        }
        SetupFen(line.fen);
        const std::uint64_t counted = CountMoves(known.depth);
        totals.counts += 1;
        totals.leaves += counted;
        if (counted != known.leaves) {
            std::printf("mismatch: %s depth %d: %llu, known %llu\n", line.fen.c_str(), known.depth,
                        static_cast<Leaves>(counted), static_cast<Leaves>(known.leaves));
            std::fflush(stdout);
            totals.mismatches += 1;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    Leaves limit = 50'000'000;
    int first_file = 1;
    if (argc > 2 && std::strcmp(argv[1], "-l") == 0) {
        limit = std::strtoull(argv[2], nullptr, 10);
        first_file = 3;
    }
    if (first_file >= argc || limit == 0) {
        std::printf("usage: perft_suite [-l LEAVES] FILE...\n");
        return 1;
    }

    FillBoardTables();
    Totals totals;
    const auto start = std::chrono::steady_clock::now();
    for (int i = first_file; i < argc; ++i) {
        const std::vector<PerftLine> lines = ReadPerftFile(argv[i]);
        if (lines.empty()) {
            std::printf("nothing to check in %s\n", argv[i]);
            totals.mismatches += 1;
        }
        for (const PerftLine& line : lines) {
            CheckLine(line, limit, totals);
        }
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%d positions, %d counts, %llu leaves in %.1f s, %d mismatches\n", totals.lines, totals.counts,
                totals.leaves, seconds.count(), totals.mismatches);
    return totals.mismatches == 0 ? 0 : 1;
}
