// The UCI commands at the prompt. What arrives while the engine thinks goes through HandleInput instead.
#pragma once

void Uci();
void UciNewGame();

/// An unknown option, or one without its "value", is ignored; where a number should be, none counts as 0.
void UciSetOption();
void UciIsReady();

/// Nothing happens without a second token. A move that is not legal is left out and the next one tried.
void UciPosition();

/// `go`, for every protocol: reads its arguments, if there are any, and thinks; without arguments the limits of before
/// hold. Times are in milliseconds. Unknown words are skipped, an argument without a value counts as 0.
void UciGo();

/// `stop` and `ponderhit` after the search has ended: the answer that it still owes.
void UciStop();
void UciPonderHit();
