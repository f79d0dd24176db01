// Moves as text.
#pragma once

#include "position/types.h"

#include <string_view>

/// Room for any text below with its terminator.
inline constexpr int MOVE_BUFFER = 8;

/// "e2e4", "e7e8q"; "0000" for move 0. Writes at most MOVE_BUFFER characters and returns the buffer.
const char* MoveToText(char* buffer, Move move);

/// The four square characters only: no promotion letter, no special form for 0.
const char* MoveToPlainText(char* buffer, Move move);

/// "Pe2e4", for diagnostic lists; "-" for move 0.
const char* MoveToPieceText(char* buffer, Move move);

/// The board letters by PieceCode, and by code from 1 the promotion letters.
inline constexpr char BOARD_LETTERS[] = ".KNP?RBQ";
inline constexpr char PROMOTION_LETTERS[] = "knp?rbq";

/// True when the first four characters are file, rank, file, rank; letters in either case.
bool IsMoveText(std::string_view token);

/// A candidate built from text that passes IsMoveText: piece and captured are read from the board, the fifth
/// character r, n, b, q gives the promotion and any other none. It may be illegal; nothing is checked here.
/// Any other text gives 0.
Move MoveFromText(std::string_view text);
