#include "frontend/input.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "platform/input.h"
#include "search/front_end.h"

namespace {

constexpr std::size_t READ_CHUNK = 4096;
constexpr int WAIT_MILLISECONDS = 10;

// Bytes [input_begin, input_end) are unread; none of [input_begin, scanned) is a newline. A read is made only while no
// newline is there, so that no more than one unfinished line and one chunk ever stand in the buffer.
char InputLine[LINE_LIMIT + READ_CHUNK];
std::size_t input_begin;
std::size_t input_end;
std::size_t scanned;
bool end_of_input;

bool HasLine() {
    const char* const from = InputLine + scanned;
    const char* const to = InputLine + input_end;
    const char* const newline = std::find(from, to, '\n');
    scanned = static_cast<std::size_t>(newline - InputLine);
    return newline != to;
}

void MoveToFront() {
    std::memmove(InputLine, InputLine + input_begin, input_end - input_begin);
    input_end -= input_begin;
    scanned -= input_begin;
    input_begin = 0;
}

// Reads once. False when nothing more will come; the line left unfinished then gets its end.
bool ReadInput() {
    if (end_of_input) {
        return false;
    }
    MoveToFront();
    const bool overlong = input_end >= LINE_LIMIT;
    if (overlong) {
        input_end = scanned = LINE_LIMIT;
    }
    const std::size_t count = ReadStandardInput(std::span(InputLine + input_end, READ_CHUNK));
    if (count == 0) {
        end_of_input = true;
        if (input_end != 0) {
            InputLine[input_end++] = '\n';
        }
        return false;
    }
    if (!overlong) {
        input_end += count;
        return true;
    }
    // The rest of an overlong line: only its newline and what follows it are kept.
    char* const chunk = InputLine + input_end;
    const char* const newline = std::find(chunk, chunk + count, '\n');
    const auto kept = static_cast<std::size_t>(chunk + count - newline);
    std::memmove(chunk, newline, kept);
    input_end += kept;
    return true;
}

void TakeLine(LineBuffer& target) {
    const std::span<char> line(InputLine + input_begin, scanned - input_begin);
    std::ranges::replace(line, '\0', ' ');
    if (!line.empty() && line.back() == '\r') {
        line.back() = ' ';
    }
    target.Assign({line.data(), line.size()});
    input_begin = ++scanned;
}

}  // namespace

void LineBuffer::Assign(std::string_view line) {
    size_ = std::min(line.size(), LINE_LIMIT);
    std::copy_n(line.data(), size_, text_.data());
}

bool InputAvailable() {
    return HasLine() || end_of_input || StandardInputReady();
}

bool InputClosed() {
    return end_of_input && !HasLine();
}

void WaitForInput() {
    if (!HasLine() && !end_of_input) {
        WaitForStandardInput(WAIT_MILLISECONDS);
    }
}

bool ReadLine(bool blocking, LineBuffer& target) {
    if (!HasLine() && !blocking) {
        if (!InputAvailable()) {
            return false;
        }
        ReadInput();
    }
    while (!HasLine()) {
        if (!blocking || (!ReadInput() && !HasLine())) {
            return false;
        }
    }
    TakeLine(target);
    return true;
}

int ReadCharacter() {
    while (input_begin == input_end) {
        if (!ReadInput()) {
            return NO_CHARACTER;
        }
    }
    const auto character = static_cast<unsigned char>(InputLine[input_begin++]);
    scanned = std::max(scanned, input_begin);
    return character;
}
