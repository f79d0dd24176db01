// What the search asks of the front end. Declared here, in the lower room, and defined in frontend/: the search
// knows these names and nothing else of it.
#pragma once

#include "position/types.h"

/// True when a line of input is buffered or a read of standard input will not block.
bool InputAvailable();

/// Acts on the lines that can be had without blocking. Changes flags and requests only, never the board or the
/// part of MoveList that the search stands on. May end the process.
void HandleInput();

/// Waits until input is there or a short while has passed; for loops that have nothing to do but wait.
void WaitForInput();

/// True when standard input has been closed: nothing can release a waiting search any more.
bool InputClosed();

/// A new game: the board and everything that belongs to it.
void SetupStartPosition();

/// The `clean` command: empties every table that learns.
void CleanTables();

/// Announcements at the head of a search: draws by material, repetition and the fifty-move rule. Nothing is printed in
/// UCI mode; in every mode the first one teaches the book a draw where BookLearningPending.
void AnnounceDraws();

/// Announcement of stalemate or mate at the root, when no legal move exists. Print and book as for AnnounceDraws.
void AnnounceNoMoves(bool inCheck);

/// Hands over the move at MoveList[0] with RootScores[0]: sets PendingBestMove in UCI mode, makes the move, updates the
/// score history, outside UCI mode tests resignation, and prints the move in the protocol's form. With UciPonder set
/// nothing is made, recorded or printed. In either case a score beyond BookLearningBound out of the book teaches the
/// book where BookLearningPending, and with UseLearning LearnAfterMove runs. Answers false when a new game was asked
/// for during the search: it is set up instead, and no move is played.
bool DeliverMove();

/// The one line that says that a position cannot be searched.
inline constexpr char ILLEGAL_POSITION[] = "Illegal position: it cannot be searched";

/// Prints it, in UCI mode behind "info string " and followed by "bestmove 0000". Clears UciPonder and PendingBestMove.
void RefusePosition();

/// The same for a search that was restricted to moves of which none is legal.
void RefuseSearchMoves();
