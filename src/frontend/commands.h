// The console and xboard commands, one routine each. They act on CommandLine and its Tokens and print their answers.
// Where an argument is told below, a line without it does nothing; numbers are taken as TextToInteger reads them, and
// no range is checked here.
//
// The UCI commands stand in frontend/uci.h; edit, analyze and demo, which go on for more than a line, in their own
// headers.
#pragma once

#include <string_view>

// Life of the engine.
[[noreturn]] void Quit();
void Clean();
void Help();

// The game.
void MoveTypedIn();
void NewGame();
void Reset();
void LoadFen();
void WhiteToMove();
void BlackToMove();
void Remove();
void Undo();

// Settings.
void Post();
void NoPost();
void Easy();
void Hard();
void Force();
void Fritz();
void Xboard();
void Level();        // moves a period, base time, which is not kept, increment in seconds; what is missing stays
void SetDepth();     // `sd`: plies
void SetMoveTime();  // `st`: seconds
void SetTime();      // `time`: centiseconds, the engine's clock

// What is shown.
void PrintBoard();
void PrintCastlingFlags();
void PrintBookMoves();
void PrintTablebaseStatus();
void EvaluateEpd();  // the file's name
void EvaluatePgn();
void RunSelfTest();
void CountPerft();  // plies

/// Prints "Illegal move: " and the line as it came.
void PrintIllegalMove(std::string_view line);
