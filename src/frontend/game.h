// The game as the commands see it: setting positions up, making and taking back moves outside the search, and
// forgetting. SetupStartPosition and CleanTables of search/front_end.h are defined here too.
//
// A position that cannot be searched (PositionIsPlayable in movegen/legal_moves.h) may stand on the board: no move is
// legal in it, and the commands that would search it refuse.
#pragma once

#include "position/types.h"

#include <string_view>

/// SetupFen, and what the search remembers of the last move is cleared.
void SetupPosition(std::string_view fen);

/// A move typed in or sent, for the position on the board. False for every move of a position that cannot be searched.
bool IsPlayableMove(Move move);

/// Makes a legal move of the game, however long the game is.
void PlayMove(Move move);

/// Takes back the last move of the game; false when there is none.
bool TakeBackMove();

/// The book learns a draw where the engine's own move has been the last, unless it has learnt already. The board is as
/// before afterwards.
void LearnDrawBehindOwnMove();

/// A game that ends without a result: the book learns a draw, unless it has learnt already or the engine's move has
/// not been the last. The board is as before afterwards.
void LearnAbandonedGame();

/// Clears QuietHistory, the killers and what is remembered from game to game: the search's part of a new game.
void ForgetGame();
