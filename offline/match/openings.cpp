#include "match/openings.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <random>
#include <utility>

#include "games/pgn.h"
#include "games/rules.h"

namespace {

constexpr std::string_view WHITE_SPACE = " \t\r\n\v\f";

/// An opening is there to be played: the rules must leave the side to move a choice.
bool EndsPlayable(std::string& error) {
    if (GameEnding() == Ending::NONE) {
        return true;
    }
    error = "the game is over before it begins";
    return false;
}

bool IsPgnName(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::ranges::transform(ending, ending.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return ending == ".pgn";
}

}  // namespace

std::vector<Opening> ReadEpdOpenings(std::string_view text, std::string& error) {
    std::vector<Opening> openings;
    for (int number = 1; !text.empty(); ++number) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        line.remove_prefix(std::min(line.find_first_not_of(WHITE_SPACE), line.size()));
        line = line.substr(0, line.find_last_not_of(WHITE_SPACE) + 1);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        Opening opening{TidyFen(line, error), {}};
        if (!opening.fen.empty()) {
            BeginGame(opening.fen);
        }
        if (opening.fen.empty() || !EndsPlayable(error)) {
            error.insert(0, "line " + std::to_string(number) + ": ");
            return {};
        }
        openings.push_back(std::move(opening));
    }
    if (openings.empty()) {
        error = "there is no position in it";
    }
    return openings;
}

std::vector<Opening> ReadPgnOpenings(std::string_view text, int plies, std::string& error) {
    std::vector<Opening> openings;
    PgnReader reader(text);
    PgnGame game;
    for (;;) {
        const PgnStep step = reader.Next(static_cast<std::size_t>(plies), game, error);
        if (step == PgnStep::END) {
            break;
        }
        const bool readable = step == PgnStep::GAME;
        if (!readable || !EndsPlayable(error)) {
            const int line = readable ? reader.Line() : reader.ErrorLine();
            error.insert(0, ": ").insert(0, std::to_string(line)).insert(0, ", line ");
            error.insert(0, std::to_string(openings.size() + 1)).insert(0, "game ");
            return {};
        }
        openings.push_back({game.fen, game.moves});
    }
    if (openings.empty()) {
        error = "there is no game in it";
    }
    return openings;
}

std::vector<Opening> ReadOpenings(const std::string& path, int plies, std::string& error, OpeningFormat format) {
    std::error_code ignored;
    std::ifstream file(path, std::ios::binary);
    if (!file || std::filesystem::is_directory(path, ignored)) {
        error = "cannot be read";
        return {};
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const bool pgn = format == OpeningFormat::PGN || (format == OpeningFormat::BY_NAME && IsPgnName(path));
    return pgn ? ReadPgnOpenings(text, plies, error) : ReadEpdOpenings(text, error);
}

std::vector<std::size_t> ShuffledOrder(std::size_t count, std::uint64_t seed) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937_64 random(seed);
    for (std::size_t left = count; left > 1; --left) {
        std::swap(order[left - 1], order[random() % left]);
    }
    return order;
}
