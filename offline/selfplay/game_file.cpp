#include "selfplay/game_file.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

namespace {

constexpr std::string_view GAME_START = "[Event \"Self-play\"]\n";

/// Every game begins with its first tag and ends with an empty line, and has one within.
std::size_t EndOfGame(std::string_view text, std::size_t start) {
    const std::size_t tags = text.find("\n\n", start);
    const std::size_t moves = tags == std::string_view::npos ? tags : text.find("\n\n", tags + 2);
    return moves == std::string_view::npos ? moves : moves + 2;
}

}  // namespace

std::string GameFile::Open(const std::string& path) {
    path_ = path;
    std::string text;
    if (std::ifstream file(path, std::ios::binary); file) {
        text.assign(std::istreambuf_iterator<char>(file), {});
    }
    std::size_t end = 0;
    while (end < text.size()) {
        const std::string_view rest = std::string_view(text).substr(end);
        if (!rest.starts_with(GAME_START) && !GAME_START.starts_with(rest)) {
            return path + " holds something other than self-play games";
        }
        const std::size_t next = EndOfGame(text, end);
        if (next == std::string::npos) {
            break;
        }
        end = next;
        ++games_;
    }
    std::error_code failure;
    if (end < text.size()) {
        std::filesystem::resize_file(path, end, failure);
    }
    if (failure || !std::ofstream(path, std::ios::binary | std::ios::app)) {
        return path + " cannot be written";
    }
    return {};
}

bool GameFile::Add(int number, std::string pgn) {
    waiting_.emplace(number, std::move(pgn));
    std::ofstream file(path_, std::ios::binary | std::ios::app);
    while (!waiting_.empty() && waiting_.begin()->first == games_) {
        file << waiting_.begin()->second;
        waiting_.erase(waiting_.begin());
        ++games_;
    }
    return file.flush().good();
}
