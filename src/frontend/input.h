// Standard input as lines: what has been read and not yet handed out, and the test for more.
//
// InputLine holds raw bytes. The command loop, the search's input handler, the blocking reads of single commands and
// the character reads of `edit` all take from it, so that several commands in one write are executed in their order.
//
// A line longer than LINE_LIMIT is cut there and its rest thrown away. A carriage return before the newline becomes a
// blank, and so does a NUL byte anywhere. A last line without a newline counts as a line once the input has closed.
//
// Owner: frontend/input.cpp. InputAvailable, WaitForInput and InputClosed of search/front_end.h are defined there too.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

inline constexpr std::size_t LINE_LIMIT = 64 * 1024;

/// One line, without its end.
class LineBuffer {
  public:
    /// Keeps at most LINE_LIMIT characters.
    void Assign(std::string_view line);
    void Clear() { size_ = 0; }
    std::string_view View() const { return {text_.data(), size_}; }

  private:
    std::array<char, LINE_LIMIT> text_;
    std::size_t size_ = 0;
};

/// Takes one line into `target`. Blocking, it waits for one and answers false only when the input has closed; else it
/// answers false unless a line is there after at most one read that does not block.
bool ReadLine(bool blocking, LineBuffer& target);

/// The next character, waited for; NO_CHARACTER when the input has closed.
inline constexpr int NO_CHARACTER = -1;
int ReadCharacter();
