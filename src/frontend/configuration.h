// The configuration file "Quorvanth.ini": text, optional, read once. data/Quorvanth.ini explains every key.
//
// A line is `key value`, with blanks, equals signs, commas or double quotes between the two. What the file sets wins
// over the defaults; nothing in it stops the engine.
#pragma once

/// Reads "Quorvanth.ini" in the working directory over the settings' defaults, with a warning on standard output for
/// each value that cannot be obeyed. A missing file is no error. Before the hash tables are allocated; may open a book.
void ReadConfiguration();
