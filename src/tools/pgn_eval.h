// Replaying the games of a PGN file and writing their quiet moves down as a data set for tuning.
//
// A line stands for a move that is neither its game's first, nor a capture, nor a promotion, in a game whose result is
// known: "position before the move;move;half-moves to the end;length of the game;result", where the length is that of
// the PlyCount tag and the result is seen from the side to move: 1 won, 2 lost, 0 drawn.
//
// Owner of the state below: tools/pgn_eval.cpp.
#pragma once

#include <cstdint>

/// The result that a game's header tells.
enum PgnGameResult : std::int32_t { PGN_UNKNOWN = 0, PGN_WHITE_WON = 1, PGN_BLACK_WON = 2, PGN_DRAW = 3 };

inline constexpr int PGN_TOKEN_SIZE = 16;

extern std::int32_t PgnResult;         // a PgnGameResult
extern std::int32_t PgnPlyCount;       // of the PlyCount tag, 0 without one
extern std::int32_t PgnSkipGame;       // no further move of this game is looked at
extern char PgnToken[PGN_TOKEN_SIZE];  // the text of the move in work

/// Replays every game of the file at `path`, which may be a name as foreign_path.h knows them, and appends its lines
/// to "c:\work\my_eval.csv" in the same form. The last game's last position stays on the board. A move that makes no
/// sense ends its game with a message. A move text that is too long ends the process with code 2.
void PgnEval(const char* path);
