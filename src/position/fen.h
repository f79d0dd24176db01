// Positions as text.
#pragma once

#include "position/types.h"

#include <string_view>

/// Room for the longest text of WriteFen and its terminator.
inline constexpr int FEN_BUFFER = 128;

/// Sets up thread_board from the four FEN fields in `text` (board, side, castling, en passant) and empties
/// GameHistory, except for the double push that an en-passant square tells of: a record with the move and nothing
/// else. Clocks are not read. Never fails: unknown characters are skipped, squares beyond the board
/// ignored, an en-passant square that fits no double push dropped, castling rights that do not fit the board
/// removed; of fields that are missing, the side means White and the others nothing. A missing or doubled king
/// is not looked for: see PositionIsPlayable in movegen/legal_moves.h.
/// PrevRootScore and PrevRootSide, which belong to the position before, are the caller's to clear; SetupPosition in
/// frontend/game.h does it.
void SetupFen(std::string_view text);

/// The position as "board side castling en-passant ", without clocks, followed by the plain text of `move` if
/// it is not 0. The text stands in a static buffer until the next call.
const char* WriteFen(Move move);
