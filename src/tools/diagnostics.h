// What a developer looks at: the evaluation's ingredients and the root list.
#pragma once

/// The `evl` command: the full evaluation of the position and its main ingredients.
void ShowEvaluation();

/// The `moves` command: the root list with its ordering scores.
void ShowRootMoves();
