#include "games/pgn.h"

#include <charconv>
#include <cmath>
#include <optional>

#include "games/rules.h"
#include "games/san.h"

namespace {

constexpr std::string_view WHITE_SPACE = " \t\r\n\v\f";
constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";

bool IsBlank(char letter) {
    return WHITE_SPACE.find(letter) != std::string_view::npos;
}

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

std::optional<GameResult> ResultOf(std::string_view word) {
    return word == "*"         ? std::optional(GameResult::UNKNOWN)
           : word == "1-0"     ? std::optional(GameResult::WHITE_WINS)
           : word == "0-1"     ? std::optional(GameResult::BLACK_WINS)
           : word == "1/2-1/2" ? std::optional(GameResult::DRAW)
                               : std::nullopt;
}

}  // namespace

std::optional<int> ScoreOfComment(std::string_view comment) {
    constexpr double MATE = 100;  // pawns, and the most of any score
    const bool negative = comment.starts_with('-');
    if (negative || comment.starts_with('+')) {
        comment.remove_prefix(1);
    }
    const bool mate = comment.starts_with('M') || comment.starts_with('#');
    if (mate) {
        comment.remove_prefix(1);
    }
    // What from_chars takes beside numbers, as "inf", does not begin with a digit.
    if (comment.empty() || comment.front() < '0' || comment.front() > '9') {
        return {};
    }
    double pawns = MATE;
    if (!mate) {
        const char* const last = comment.data() + comment.size();
        const auto [end, failure] = std::from_chars(comment.data(), last, pawns);
        // "0.052s" is a time.
        if (failure != std::errc{} || (end != last && *end != '/' && *end != ' ')) {
            return {};
        }
    }
    const auto centipawns = static_cast<int>(std::lround(100 * std::min(pawns, MATE)));
    return negative ? -centipawns : centipawns;
}

PgnReader::PgnReader(std::string_view text) : text_(text) {
    if (text_.starts_with(BYTE_ORDER_MARK)) {
        text_.remove_prefix(BYTE_ORDER_MARK.size());
    }
}

PgnStep PgnReader::Next(std::size_t plies, PgnGame& game, std::string& error) {
    if (!FindToken()) {
        return PgnStep::END;
    }
    game.fen = START_FEN;
    game.moves.clear();
    game.comments.clear();
    game.result = GameResult::UNKNOWN;
    bool readable = ReadTags(game, error);
    if (readable) {
        BeginGame(game.fen);
        comments_ = &game.comments;
    }
    while (FindToken() && !AtTag()) {
        const std::string_view word = TakeWord();
        if (const auto result = ResultOf(word)) {
            game.result = *result;
            break;
        }
        // The rest of a bad game is passed over.
        if (!readable || game.moves.size() >= plies) {
            comments_ = nullptr;
            continue;
        }
        const Move move = MoveFromSan(word);
        if (move == 0) {
            error = "no legal move, or several, by the name ";
            error += word;
            NoteError();
            readable = false;
            continue;
        }
        game.moves.push_back(move);
        game.comments.emplace_back();
        PlayGameMove(move);
    }
    comments_ = nullptr;
    return readable ? PgnStep::GAME : PgnStep::UNREADABLE;
}

/// Stands at a token; false when the position to begin from is none.
bool PgnReader::ReadTags(PgnGame& game, std::string& error) {
    bool readable = true;
    for (bool more = true; more && AtTag(); more = FindToken()) {
        const auto [name, value] = TakeTag();
        if (name == "FEN" && readable) {
            game.fen = TidyFen(value, error);
            if (game.fen.empty()) {
                NoteError();
                readable = false;
            }
        } else if (name == "Result") {
            game.result = ResultOf(value).value_or(GameResult::UNKNOWN);
        }
    }
    return readable;
}

void PgnReader::NoteError() {
    error_line_ = line_;
}

/// Moves to the next tag, move or result; false at the end of the text.
bool PgnReader::FindToken() {
    while (at_ < text_.size()) {
        const char letter = text_[at_];
        if (IsBlank(letter) || letter == '<' || letter == '>' || letter == ')' || letter == ']' || letter == '}') {
            Advance();
        } else if (letter == ';' || (letter == '%' && (at_ == 0 || text_[at_ - 1] == '\n'))) {
            SkipTo('\n');
        } else if (letter == '{') {
            TakeComment();
        } else if (letter == '(') {
            SkipVariation();
        } else if (letter == '$' || letter == '!' || letter == '?' || letter == '.') {
            SkipMark();
        } else if (!SkipMoveNumber()) {
            return true;
        }
    }
    return false;
}

/// Name and value of the tag; the value is empty when there is none in quotes.
std::pair<std::string, std::string> PgnReader::TakeTag() {
    Advance();
    SkipBlanks();
    const std::string name(TakeWhile([](char letter) { return !IsBlank(letter) && letter != '"' && letter != ']'; }));
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

std::string_view PgnReader::TakeWord() {
    return TakeWhile([](char letter) {
        return !IsBlank(letter) && std::string_view("{}();[]$").find(letter) == std::string_view::npos;
    });
}

void PgnReader::Advance() {
    if (at_ < text_.size()) {
        line_ += text_[at_] == '\n';
        ++at_;
    }
}

template <typename Condition>
std::string_view PgnReader::TakeWhile(Condition condition) {
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

void PgnReader::SkipBlanks() {
    while (at_ < text_.size() && IsBlank(text_[at_])) {
        Advance();
    }
}

void PgnReader::SkipTo(char last) {
    while (at_ < text_.size() && text_[at_] != last) {
        Advance();
    }
    Advance();
}

/// Keeps the first comment behind a move.
void PgnReader::TakeComment() {
    const std::size_t begin = at_ + 1;
    SkipTo('}');
    if (comments_ != nullptr && !comments_->empty() && comments_->back().data() == nullptr) {
        const std::string_view taken = text_.substr(begin, at_ - begin);
        comments_->back() = taken.substr(0, taken.find('}'));
    }
}

/// "$12", "!?", "..."
void PgnReader::SkipMark() {
    Advance();
    while (at_ < text_.size() && (IsDigit(text_[at_]) || text_[at_] == '!' || text_[at_] == '?')) {
        Advance();
    }
}

void PgnReader::SkipVariation() {
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
bool PgnReader::SkipMoveNumber() {
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
