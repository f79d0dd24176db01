#include "tools/pgn_tags.h"

#include "movegen/search_records.h"
#include "position/fen.h"
#include "tools/pgn_eval.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

namespace {

constexpr std::size_t NAME_LIMIT = 32;
constexpr std::size_t VALUE_LIMIT = 511;

/// Text of which no more than the beginning is kept.
template <std::size_t limit>
class CutText {
  public:
    void Append(int character) {
        if (size_ < limit) {
            text_[size_++] = static_cast<char>(character);
        }
    }
    std::string_view View() const { return {text_.data(), size_}; }

  private:
    std::array<char, limit> text_;
    std::size_t size_ = 0;
};

char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool IsName(std::string_view name, std::string_view known) {
    return std::ranges::equal(name, known, [](char a, char b) { return Lower(a) == Lower(b); });
}

void Drop(std::string_view& text, char character) {
    if (text.starts_with(character)) {
        text.remove_prefix(1);
    }
}

void ReadResult(std::string_view value) {
    Drop(value, '"');
    if (value.starts_with('*')) {
        PgnResult = PGN_UNKNOWN;
    } else if (value.starts_with("1-")) {
        PgnResult = PGN_WHITE_WON;
    } else if (value.starts_with("1/")) {
        PgnResult = PGN_DRAW;
    } else if (value.starts_with("0-")) {
        PgnResult = PGN_BLACK_WON;
    }
}

void ReadFen(std::string_view value) {
    Drop(value, ' ');
    Drop(value, '"');
    SetupFen(value);
    PrevRootScore = 0;  // of a position that is gone
    PrevRootSide = WHITE;
}

void ReadPlyCount(std::string_view value) {
    Drop(value, ' ');
    Drop(value, '"');
    std::int64_t count = 0;
    for (const char digit : value) {
        if (digit < '0' || digit > '9') {
            break;
        }
        count = std::min<std::int64_t>(count * 10 + (digit - '0'), std::numeric_limits<std::int32_t>::max());
    }
    PgnPlyCount = static_cast<std::int32_t>(count);
}

struct Tag {
    std::string_view name;
    void (*read)(std::string_view value);
};

constexpr Tag tags[] = {{"Result", ReadResult}, {"FEN", ReadFen}, {"PlyCount", ReadPlyCount}};

void ReadTag(PgnStream& in) {
    if (in.Peek() == '[') {
        in.Take();
    }
    CutText<NAME_LIMIT> name;
    while (!in.AtEnd() && in.Peek() != ']' && !IsPgnBlank(in.Peek())) {
        name.Append(in.Take());
    }
    if (in.Peek() == ']') {
        in.Take();
        return;  // a name alone tells nothing
    }
    in.SkipBlanks();
    CutText<VALUE_LIMIT> value;
    while (!in.AtEnd() && in.Peek() != ']') {
        value.Append(in.Take());
    }
    in.Take();
    for (const Tag& tag : tags) {
        if (IsName(name.View(), tag.name)) {
            tag.read(value.View());
        }
    }
}

}  // namespace

void ReadPgnHeader(PgnStream& in) {
    do {
        ReadTag(in);
        in.SkipBlanks();
    } while (in.Peek() == '[');
}
