#include "book/command_line.h"
#include "read_number.h"

const std::string_view USAGE =
    "usage: quorvanth-book make BOOK SOURCE... [OPTION...]   makes the book file BOOK\n"
    "       quorvanth-book dump BOOK [TEXT]                  writes a book as text\n"
    "\n"
    "Sources, any number, which are merged:\n"
    "  -pgn FILE      games: results become plus and minus\n"
    "  -lines FILE    lines of moves, one a line; of a line with tabs the last field\n"
    "  -book FILE     a book\n"
    "  -text FILE     the text of a book, as dump writes it\n"
    "\n"
    "Options:\n"
    "  -plies N       take N half-moves of each game and line\n"
    "  -games N       leave out moves that fewer than N games and lines have (1)\n"
    "  -unusual P     exclude moves that have less than P per cent of the games and lines of the position's most\n"
    "                 frequent move (0)\n"
    "  -exclude FILE  exclude the last move of each line of the file\n"
    "  -vet DEPTH     search every position DEPTH plies deep, and exclude moves that the engine would regret;\n"
    "                 needs the engine's values.txt in the working directory\n"
    "  -margin N      by how many centipawns a vetted move may be worse than the best (50)\n"
    "An excluded move stays in the book and is never played.\n";

namespace {

constexpr int MOST_PLIES = 100'000;
constexpr std::int64_t MOST_GAMES = 1'000'000'000;
constexpr int MOST_DEPTH = 30;
constexpr int MOST_MARGIN = 10'000;

enum class Reading { DONE, UNKNOWN_NAME, BAD_VALUE };

Reading ReadOption(std::string_view name, std::string_view value, BookOrder& order) {
    constexpr std::pair<std::string_view, SourceKind> SOURCES[] = {
        {"-pgn", SourceKind::GAMES},
        {"-lines", SourceKind::LINES},
        {"-book", SourceKind::BOOK},
        {"-text", SourceKind::TEXT},
    };
    for (const auto& [source, kind] : SOURCES) {
        if (name == source) {
            order.sources.push_back({kind, std::string(value)});
            return Reading::DONE;
        }
    }
    bool good = true;
    if (name == "-exclude") {
        order.exclusions.emplace_back(value);
    } else if (name == "-plies") {
        good = ReadNumber<std::size_t>(value, 1, MOST_PLIES, order.plies);
    } else if (name == "-games") {
        good = ReadNumber<std::int64_t>(value, 1, MOST_GAMES, order.games);
    } else if (name == "-unusual") {
        good = ReadNumber(value, 0, 100, order.unusual);
    } else if (name == "-vet") {
        good = ReadNumber(value, 1, MOST_DEPTH, order.vetting_depth);
    } else if (name == "-margin") {
        good = ReadNumber(value, 0, MOST_MARGIN, order.vetting_margin);
    } else {
        return Reading::UNKNOWN_NAME;
    }
    return good ? Reading::DONE : Reading::BAD_VALUE;
}

bool ReadMake(std::span<const std::string_view> arguments, BookOrder& order, std::string& error) {
    if (arguments.empty() || arguments.front().starts_with('-')) {
        error = "make needs the name of the book to write";
        return false;
    }
    order.book = arguments.front();
    for (std::size_t i = 1; i < arguments.size(); i += 2) {
        const std::string name(arguments[i]);
        if (i + 1 == arguments.size()) {
            error = name + " stands at the end, without a value or unknown";
            return false;
        }
        const std::string_view value = arguments[i + 1];
        switch (ReadOption(name, value, order)) {
            case Reading::DONE:
                break;
            case Reading::UNKNOWN_NAME:
                error = name + " is no source and no option";
                return false;
            case Reading::BAD_VALUE:
                error = name + " cannot be ";
                error += value;
                return false;
        }
    }
    if (order.sources.empty()) {
        error = "make needs a source";
        return false;
    }
    return true;
}

}  // namespace

bool ReadCommandLine(std::span<const std::string_view> arguments, CommandLine& line, std::string& error) {
    const std::string_view command = arguments.empty() ? "" : arguments.front();
    if (command == "-h" || command == "-help" || command == "--help") {
        line.command = BookCommand::HELP;
        return true;
    }
    if (command == "make") {
        line.command = BookCommand::MAKE;
        return ReadMake(arguments.subspan(1), line.make, error);
    }
    if (command == "dump") {
        line.command = BookCommand::DUMP;
        if (arguments.size() < 2 || arguments.size() > 3) {
            error = "dump needs a book, and perhaps the name of the text";
            return false;
        }
        line.dump_from = arguments[1];
        line.dump_to = arguments.size() == 3 ? arguments[2] : "";
        return true;
    }
    error = "the first word is make or dump";
    return false;
}
