// A reproducible run over a PGN file.
#pragma once

/// The `selftest` command: PgnEval over the file at `path` from a cold state, with the piece-square table built of the
/// parameters and every table that learns empty. Two runs on the same file write the same lines.
void SelfTest(const char* path);
