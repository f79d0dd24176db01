#include "frontend/tokens.h"

#include <algorithm>
#include <array>
#include <limits>

std::string_view Tokens[MAX_TOKENS];
std::int32_t TokenOffset[MAX_TOKENS];
std::int32_t TokenCount;

namespace {

constexpr std::array<std::string_view, 4> whole_words = {"st", "stop", "uci", "ucinewgame"};

constexpr char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view SkipBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

bool EqualFolded(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return Lower(x) == Lower(y); });
}

std::int64_t ParseInteger(std::string_view text, std::int64_t low, std::int64_t high) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n\v\f"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            break;
        }
        // Built up on the side of its own sign, so that the lowest value of the type is reached as well.
        const int digit = negative ? '0' - c : c - '0';
        if (negative ? value < (low - digit) / 10 : value > (high - digit) / 10) {
            return negative ? low : high;
        }
        value = value * 10 + digit;
    }
    return std::clamp(value, low, high);
}

}  // namespace

bool CommandIs(std::string_view keyword, std::string_view text) {
    keyword = SkipBlanks(keyword);
    text = SkipBlanks(text);
    if (keyword.empty() || text.empty()) {
        return false;
    }
    if (std::ranges::find(whole_words, keyword) != whole_words.end()) {
        return EqualFolded(keyword, text.substr(0, text.find(' ')));
    }
    const std::size_t length = std::min(keyword.size(), text.size());
    return EqualFolded(keyword.substr(0, length), text.substr(0, length));
}

std::string_view TakeToken(std::string_view& rest, std::string_view delimiters) {
    rest.remove_prefix(std::min(rest.find_first_not_of(delimiters), rest.size()));
    const std::string_view token = rest.substr(0, rest.find_first_of(delimiters));
    rest.remove_prefix(token.size());
    return token;
}

int Tokenize(std::string_view line, std::string_view delimiters) {
    std::ranges::fill(Tokens, std::string_view{});
    std::ranges::fill(TokenOffset, static_cast<std::int32_t>(line.size()));
    TokenCount = 0;
    std::string_view rest = line;
    do {
        const std::string_view token = TakeToken(rest, delimiters);
        Tokens[TokenCount] = token;
        TokenOffset[TokenCount] = static_cast<std::int32_t>(token.data() - line.data());
        ++TokenCount;
    } while (!rest.empty() && TokenCount < MAX_TOKENS);
    return TokenCount;
}

std::string_view TextFromToken(std::string_view line, int index) {
    if (index >= TokenCount) {
        return {};
    }
    return line.substr(std::min(static_cast<std::size_t>(TokenOffset[index]), line.size()));
}

std::int32_t TextToInteger(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(ParseInteger(text, Limits::min(), Limits::max()));
}

std::int64_t TextToInteger64(std::string_view text) {
    using Limits = std::numeric_limits<std::int64_t>;
    return ParseInteger(text, Limits::min(), Limits::max());
}

std::int32_t SaturatingProduct(std::int32_t value, std::int32_t factor) {
    using Limits = std::numeric_limits<std::int32_t>;
    const std::int64_t product = std::int64_t{value} * factor;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(product, Limits::min(), Limits::max()));
}
