// One game on thread_board under the rules of the board: legal moves, when the game is over and why.
//
// Moves and attacks are the engine's own. What a search may simplify is exact here: a repetition counts the en-passant
// right only when the capture is legal, nothing is drawn before the third occurrence or the hundredth half-move, and
// mate on that half-move stands.
//
// Owner of the game's state beside thread_board: games/rules.cpp. One game a process.
#pragma once

#include "position/types.h"

#include <string>
#include <string_view>
#include <vector>

enum class Ending { NONE, CHECKMATE, STALEMATE, REPETITION, FIFTY_MOVES, DEAD_POSITION };

inline constexpr std::string_view START_FEN = "rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1";

/// Fills the tables that moves need. Once, before anything below.
void InitializeRules();

/// Reads a position of four FEN fields, with clocks behind them or EPD operations, of which hmvc and fmvn count.
/// Answers the same position as six tidy FEN fields. On text that is no position that can be played it answers an
/// empty string and says in `error` why. Changes thread_board.
std::string TidyFen(std::string_view text, std::string& error);

/// Begins a game from a text of TidyFen.
void BeginGame(std::string_view fen);

/// Plays one of GameMoves().
void PlayGameMove(Move move);

/// The legal moves of the game's position.
const std::vector<Move>& GameMoves();

/// Over or not, by the rules alone.
Ending GameEnding();

/// The number of the move that is to be made now, as a score sheet has it.
int GameMoveNumber();

/// The legal moves of thread_board, whatever game it belongs to.
std::vector<Move> LegalMoves();
