// Moves in standard algebraic notation, read and written on thread_board.
#pragma once

#include "position/types.h"

#include <string>
#include <string_view>

/// A legal move as "Nbd7", "exd6", "O-O", "e8=Q+", "Qh4#": no more of the origin than is needed.
std::string MoveToSan(Move move);

/// The one legal move that the text names; 0 if it names none or several. Takes what is found in files: more of the
/// origin than is needed, "0-0", "e8Q", "e8(Q)", a missing or needless "x", "+", "#", "!", "?", "e.p.", and long forms
/// such as "Ng1-f3" or "e2e4".
Move MoveFromSan(std::string_view text);
