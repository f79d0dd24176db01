// A game as PGN text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

class PgnWriter {
  public:
    /// Blanks and quotes in the value are taken care of.
    void AddTag(std::string_view name, std::string_view value);

    /// One half-move; the move number is written where PGN wants it. An empty comment is none.
    void AddMove(int number, bool white, std::string_view san, std::string_view comment);

    /// The whole game, tags, moves, `last_words` as a comment, result, and an empty line behind it.
    std::string Finish(std::string_view last_words, std::string_view result);

  private:
    void AddWords(std::string_view text);
    void AddComment(std::string_view text);

    std::string tags_;
    std::vector<std::string> words_;
    bool number_next_ = true;  // at the beginning, and behind a comment
};
