#include "match/pgn_writer.h"

#include <algorithm>

namespace {

/// PGN wants shorter lines than these.
constexpr std::size_t LINE_LENGTH = 79;

/// What no tag or comment can hold becomes something that it can.
char Harmless(char letter) {
    if (static_cast<unsigned char>(letter) < ' ' || letter == '\x7f') {
        return ' ';
    }
    return letter;
}

}  // namespace

void PgnWriter::AddTag(std::string_view name, std::string_view value) {
    tags_ += '[';
    tags_ += name;
    tags_ += " \"";
    for (const char letter : value) {
        if (letter == '"' || letter == '\\') {
            tags_ += '\\';
        }
        tags_ += Harmless(letter);
    }
    tags_ += "\"]\n";
}

void PgnWriter::AddWords(std::string_view text) {
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (!word.empty()) {
            words_.emplace_back(word);
        }
    }
}

void PgnWriter::AddComment(std::string_view text) {
    std::string comment = "{";
    comment += text;
    comment += '}';
    AddWords(comment);
}

void PgnWriter::AddMove(int number, bool white, std::string_view san, std::string_view comment) {
    if (white) {
        words_.push_back(std::to_string(number) + ".");
    } else if (number_next_) {
        words_.push_back(std::to_string(number) + "...");
    }
    words_.emplace_back(san);
    number_next_ = !comment.empty();
    if (!comment.empty()) {
        AddComment(comment);
    }
}

std::string PgnWriter::Finish(std::string_view last_words, std::string_view result) {
    if (!last_words.empty()) {
        std::string comment(last_words);
        std::ranges::replace(comment, '}', ')');
        std::ranges::replace(comment, '{', '(');
        std::ranges::transform(comment, comment.begin(), Harmless);
        AddComment(comment);
    }
    words_.emplace_back(result);
    std::string text = tags_ + "\n";
    std::size_t column = 0;
    for (const std::string& word : words_) {
        if (column > 0) {
            const bool fits = column + 1 + word.size() <= LINE_LENGTH;
            text += fits ? ' ' : '\n';
            column = fits ? column + 1 : 0;
        }
        text += word;
        column += word.size();
    }
    return text + "\n\n";
}
