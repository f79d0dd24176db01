// The UCI commands at the prompt. What arrives while the engine thinks goes through HandleInput instead.
#pragma once

void Uci();
void UciNewGame();
void UciSetOption();
void UciIsReady();
void UciPosition();

/// `go`, for every protocol: reads its arguments, if there are any, and thinks.
void UciGo();

/// `stop` and `ponderhit` after the search has ended: the answer that it still owes.
void UciStop();
void UciPonderHit();
