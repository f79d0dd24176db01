// quorvanth-book: makes the openings books that the engine plays from, and shows what is in them.

#include <cstdio>
#include <vector>

#include "book/command_line.h"

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
    CommandLine line;
    std::string error;
    if (!ReadCommandLine(arguments, line, error)) {
        std::fprintf(stderr, "quorvanth-book: %s\n(quorvanth-book -help tells the command line)\n", error.c_str());
        return EXIT_USAGE;
    }
    switch (line.command) {
        case BookCommand::HELP:
            Print(stdout, USAGE);
            return 0;
        case BookCommand::MAKE:
            return MakeBook(line.make) ? 0 : 1;
        case BookCommand::DUMP:
            return DumpBook(line.dump_from, line.dump_to) ? 0 : 1;
    }
    return EXIT_USAGE;
}
