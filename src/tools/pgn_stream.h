// A PGN file as a stream of bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>

class PgnStream {
  public:
    static constexpr int END = -1;

    /// Reads `file` from where it stands; the caller closes it, after the stream's last use.
    explicit PgnStream(std::FILE* file) : file_(file) {}

    /// The byte 0..255 that is `ahead` (0..2) places before the stream, END behind the last one. Nothing is taken.
    int Peek(std::size_t ahead = 0) { return at_ + ahead < end_ || Refill(ahead) ? buffer_[at_ + ahead] : END; }

    /// Takes the byte that Peek shows, if there is one.
    int Take();

    bool AtEnd() { return Peek() == END; }

    /// Takes white space.
    void SkipBlanks();

    /// Takes everything before the next `one` or `other`. False when the file ends first.
    bool SkipTo(char one, char other);

    /// Takes what stands between `opening`, which is next, and the `closing` that belongs to it, both included;
    /// everything when there is none.
    void SkipNested(char opening, char closing);

  private:
    bool Refill(std::size_t ahead);

    std::FILE* file_;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::array<unsigned char, 1 << 14> buffer_;
};

/// White space in a PGN file: the blank and the control characters below it.
constexpr bool IsPgnBlank(int character) {
    return character >= 0 && character <= ' ';
}
