// A book as the bytes of its file.
#pragma once

#include "book/contents.h"

#include <string>
#include <string_view>

/// A book of version 1 with every position that has a move. Points beyond what a byte of the book may hold are brought
/// down with their ratio kept. On more positions than a file has room for it answers an empty string.
std::string BookImage(const BookContents& book);

/// Adds the positions and moves of a book file: points add up, an exclusion prevails, counts of version 0 are times
/// that a move was seen. False when the bytes are not a whole book; `error` says why, and what was read before the
/// damage has been added.
bool AddBookImage(std::string_view bytes, BookContents& book, std::string& error);
