#include <cstdio>
#include <vector>

#include "match/command_line.h"
#include "match/match.h"

namespace {

constexpr int EXIT_USAGE = 2;

void Print(std::FILE* out, std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), out);
}

}  // namespace

int main(int count, char** values) {
    const std::vector<std::string_view> arguments(values + (count > 0 ? 1 : 0), values + count);
    if (arguments.empty()) {
        Print(stderr, USAGE);
        return EXIT_USAGE;
    }
    if (arguments[0] == "-h" || arguments[0] == "-help" || arguments[0] == "--help") {
        Print(stdout, USAGE);
        return 0;
    }
    MatchSettings settings;
    std::string error;
    if (!ReadCommandLine(arguments, settings, error)) {
        std::fprintf(stderr, "quorvanth-match: %s\n(quorvanth-match -help tells the command line)\n", error.c_str());
        return EXIT_USAGE;
    }
    return PlayMatch(settings);
}
