// The command loop and the one interpreter that serves a person at the console, xboard and UCI alike.
#pragma once

#include "frontend/input.h"

/// The line in work. Owner: frontend/interpreter.cpp.
extern LineBuffer CommandLine;

/// Executes CommandLine: the first command of the table that matches decides; anything else is ignored. A command
/// that thinks runs to the end of its search before this returns.
void Interpret();

/// Reads and executes lines until the input closes, then ends the process with code 0.
[[noreturn]] void RunCommandLoop();
