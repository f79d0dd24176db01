#include "match/openings.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <utility>

#include "match/rules.h"
#include "match/san.h"

namespace {

constexpr std::string_view WHITE_SPACE = " \t\r\n\v\f";

bool IsBlank(char letter) {
    return WHITE_SPACE.find(letter) != std::string_view::npos;
}

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

bool IsResult(std::string_view token) {
    return token == "*" || token == "1-0" || token == "0-1" || token == "1/2-1/2";
}

/// An opening is there to be played: the rules must leave the side to move a choice.
bool EndsPlayable(std::string& error) {
    if (GameEnding() == Ending::NONE) {
        return true;
    }
    error = "the game is over before it begins";
    return false;
}

/// A walk over PGN text, token by token. What carries no move is passed over here.
class PgnReader {
  public:
    explicit PgnReader(std::string_view text) : text_(text) {}

    /// Moves to the next tag, move or result; false at the end of the text.
    bool FindToken() {
        while (at_ < text_.size()) {
            const char letter = text_[at_];
            if (IsBlank(letter) || letter == '<' || letter == '>' || letter == ')' || letter == ']' || letter == '}') {
                Advance();
            } else if (letter == ';' || (letter == '%' && (at_ == 0 || text_[at_ - 1] == '\n'))) {
                SkipTo('\n');
            } else if (letter == '{') {
                SkipTo('}');
            } else if (letter == '(') {
                SkipVariation();
            } else if (letter == '$' || letter == '!' || letter == '?' || letter == '.') {
                SkipWord();
            } else if (!SkipMoveNumber()) {
                return true;
            }
        }
        return false;
    }

    bool AtTag() const { return text_[at_] == '['; }

    /// Name and value of the tag; the value is empty when there is none in quotes.
    std::pair<std::string, std::string> TakeTag() {
        Advance();
        SkipBlanks();
        const std::string name(
            TakeWhile([](char letter) { return !IsBlank(letter) && letter != '"' && letter != ']'; }));
        SkipBlanks();
        std::string value;
        if (at_ < text_.size() && text_[at_] == '"') {
            Advance();
            while (at_ < text_.size() && text_[at_] != '"' && text_[at_] != '\n') {
                if (text_[at_] == '\\' && at_ + 1 < text_.size()) {
                    Advance();
                }
                value += text_[at_];
                Advance();
            }
            if (at_ < text_.size() && text_[at_] == '"') {
                Advance();
            }
        }
        while (at_ < text_.size() && text_[at_] != ']' && text_[at_] != '\n') {
            Advance();
        }
        Advance();
        return {name, value};
    }

    std::string_view TakeWord() {
        return TakeWhile([](char letter) {
            return !IsBlank(letter) && std::string_view("{}();[]$").find(letter) == std::string_view::npos;
        });
    }

    int Line() const { return line_; }

  private:
    void Advance() {
        if (at_ < text_.size()) {
            line_ += text_[at_] == '\n';
            ++at_;
        }
    }

    template <typename Condition>
    std::string_view TakeWhile(Condition condition) {
        const std::size_t begin = at_;
        while (at_ < text_.size() && condition(text_[at_])) {
            Advance();
        }
        // Whatever stands here is taken, so that no walk stands still.
        if (at_ == begin) {
            Advance();
        }
        return text_.substr(begin, at_ - begin);
    }

    void SkipBlanks() {
        while (at_ < text_.size() && IsBlank(text_[at_])) {
            Advance();
        }
    }

    void SkipTo(char last) {
        while (at_ < text_.size() && text_[at_] != last) {
            Advance();
        }
        Advance();
    }

    void SkipWord() {
        Advance();
        while (at_ < text_.size() && (IsDigit(text_[at_]) || text_[at_] == '!' || text_[at_] == '?')) {
            Advance();
        }
    }

    void SkipVariation() {
        int depth = 0;
        while (at_ < text_.size()) {
            const char letter = text_[at_];
            if (letter == '{') {
                SkipTo('}');
                continue;
            }
            depth += (letter == '(') - (letter == ')');
            Advance();
            if (depth == 0) {
                return;
            }
        }
    }

    /// "12." and "12..." and a bare "12"; not "1-0", "1/2-1/2", "0-0".
    bool SkipMoveNumber() {
        std::size_t end = at_;
        while (end < text_.size() && IsDigit(text_[end])) {
            ++end;
        }
        if (end == at_ || (end < text_.size() && text_[end] != '.' && !IsBlank(text_[end]))) {
            return false;
        }
        while (end < text_.size() && text_[end] == '.') {
            ++end;
        }
        at_ = end;
        return true;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    int line_ = 1;
};

/// Tags, then moves up to the result or the next game's tags.
bool ReadGame(PgnReader& reader, std::size_t plies, Opening& opening, std::string& error) {
    opening = {std::string(START_FEN), {}};
    for (bool more = true; more && reader.AtTag(); more = reader.FindToken()) {
        const auto [name, value] = reader.TakeTag();
        if (name == "FEN") {
            opening.fen = TidyFen(value, error);
            if (opening.fen.empty()) {
                return false;
            }
        }
    }
    BeginGame(opening.fen);
    while (reader.FindToken() && !reader.AtTag()) {
        const std::string_view word = reader.TakeWord();
        if (IsResult(word)) {
            break;
        }
        if (opening.moves.size() >= plies) {
            continue;
        }
        const Move move = MoveFromSan(word);
        if (move == 0) {
            error = "no legal move, or several, by the name ";
            error += word;
            return false;
        }
        opening.moves.push_back(move);
        PlayGameMove(move);
    }
    return EndsPlayable(error);
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
    if (text.starts_with("\xef\xbb\xbf")) {
        text.remove_prefix(3);
    }
    std::vector<Opening> openings;
    PgnReader reader(text);
    while (reader.FindToken()) {
        Opening opening;
        if (!ReadGame(reader, static_cast<std::size_t>(plies), opening, error)) {
            error.insert(0, ": ").insert(0, std::to_string(reader.Line())).insert(0, ", line ");
            error.insert(0, std::to_string(openings.size() + 1)).insert(0, "game ");
            return {};
        }
        openings.push_back(std::move(opening));
    }
    if (openings.empty()) {
        error = "there is no game in it";
    }
    return openings;
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
