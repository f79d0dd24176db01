// Evaluating a file of positions.
#pragma once

/// The `epdevl` command: writes "out.epd" with the lines of the file at `path`, each followed by a semicolon and
/// the full evaluation from the side to move's point of view. Leaves the last position on the board. A file that
/// cannot be opened gives one line on standard output and nothing else.
void EpdEval(const char* path);
