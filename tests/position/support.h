// What the tests of this room share: a snapshot of the whole record and short ways to write moves.
#pragma once

#include <cstring>
#include <random>
#include <string>

#include "position/board.h"
#include "position/fen.h"
#include "position/move_text.h"

/// The bytes of thread_board: equal snapshots mean that no field at all differs.
class Snapshot {
  public:
    Snapshot() { std::memcpy(bytes, static_cast<const void*>(&thread_board), sizeof bytes); }
    bool operator==(const Snapshot& other) const { return std::memcmp(bytes, other.bytes, sizeof bytes) == 0; }

  private:
    unsigned char bytes[sizeof(ThreadBoard)];
};

inline int SquareOf(const char* name) {
    return 8 * (name[1] - '1') + (name[0] - 'a');
}

inline void Play(const char* text) {
    MakeMove(MoveFromText(text), 1);
}

inline std::string FenOf() {
    return WriteFen(0);
}
