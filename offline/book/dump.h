// A book as text, for people to look at and to correct, which the maker reads again.
//
//   # a comment
//   after 1. e4 c5        the position behind these moves; "after" alone is the start position
//   g1f3 12 8             a move with plus and minus: points gained and lost, 2 a game
//   b1c3 ?                a move of which nothing is known
//   b2b4 -                a move that is never played
//
//   fen FEN               a position by its board
//   keys 01234567 89abcdef   a position of which a book tells no more than its keys
//
// Moves are read in algebraic notation too, except behind keys.
#pragma once

#include "book/contents.h"

#include <string>
#include <string_view>

/// The text of a book. Positions that its own moves lead to come first, in the order in which one meets them; the moves
/// keep their order. Castling rights are no part of a book, so a position that has a move which the way there does not
/// allow is named by its keys.
std::string BookDump(const BookContents& book);

/// Adds a text's positions and moves like those of a book. False when a line cannot be read: `error` names it and
/// says what is wrong, and what stands before it has been added.
bool AddBookDump(std::string_view text, BookContents& book, std::string& error);
