#include "tools/pgn_stream.h"

#include <cstring>

int PgnStream::Take() {
    const int character = Peek();
    if (character != END) {
        ++at_;
    }
    return character;
}

void PgnStream::SkipBlanks() {
    while (IsPgnBlank(Peek())) {
        ++at_;
    }
}

bool PgnStream::SkipTo(char one, char other) {
    for (int character = Peek(); character != END; character = Peek()) {
        if (character == one || character == other) {
            return true;
        }
        ++at_;
    }
    return false;
}

void PgnStream::SkipNested(char opening, char closing) {
    std::size_t depth = 0;
    for (int character = Take(); character != END; character = Take()) {
        if (character == opening) {
            ++depth;
        } else if (character == closing && --depth == 0) {
            return;
        }
    }
}

// Called when fewer than ahead + 1 bytes are in the buffer, so that what is moved is next to nothing.
bool PgnStream::Refill(std::size_t ahead) {
    end_ -= at_;
    std::memmove(buffer_.data(), buffer_.data() + at_, end_);
    at_ = 0;
    end_ += std::fread(buffer_.data() + end_, 1, buffer_.size() - end_, file_);
    return ahead < end_;
}
