// The engine's own opinion of a book: what it would regret to play is excluded.
#pragma once

#include "book/contents.h"

#include <string>

struct VettingCount {
    int positions = 0;  // that were searched
    int excluded = 0;   // moves
};

/// Brings the engine to life, with the values of the working directory, and fills what InitializeRules fills. False
/// when there are no values: `error` says so. Once a process.
bool StartVetting(std::string& error);

/// Searches every position of the book, and every one that a move not yet excluded leads to, to `depth` plies. Scores
/// are then brought back through the book, so that what is refuted later in it shows early: a position is worth the
/// best of its own search and its moves. Excludes moves that are worth less than that by more than `margin`
/// centipawns. The scores are the same in every run. Positions of which only the keys are known are left alone.
VettingCount VetMoves(BookContents& book, int depth, int margin);
