// Lines of a perft file: "FEN; D1 n; D2 n ...", any of the depths, blank lines between.
#pragma once

#include <charconv>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

struct PerftCount {
    int depth;
    std::uint64_t leaves;
};

struct PerftLine {
    std::string fen;
    std::vector<PerftCount> counts;
};

/// The counts after the FEN; an entry that is not "D<depth> <leaves>" gives depth 0.
inline PerftLine ParsePerftLine(std::string_view text) {
    PerftLine line;
    line.fen = text.substr(0, text.find(';'));
    while (text.find(';') != std::string_view::npos) {
        text.remove_prefix(text.find(';') + 1);
        const std::size_t start = text.find('D');
        if (start == std::string_view::npos || start > text.find(';')) {
            continue;
        }
        PerftCount count{};
        const char* end = text.data() + text.size();
        const char* rest = std::from_chars(text.data() + start + 1, end, count.depth).ptr;
        while (rest != end && *rest == ' ') {
            ++rest;
        }
        if (std::from_chars(rest, end, count.leaves).ec != std::errc{}) {
            count.depth = 0;
        }
        line.counts.push_back(count);
    }
    return line;
}

/// Every line of the file that is not blank; empty when the file cannot be read.
inline std::vector<PerftLine> ReadPerftFile(const std::string& path) {
    std::vector<PerftLine> lines;
    std::ifstream file(path);
    for (std::string text; std::getline(file, text);) {
        if (text.find_first_not_of(" \r") != std::string::npos) {
            lines.push_back(ParsePerftLine(text));
        }
    }
    return lines;
}
