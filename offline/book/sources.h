// What books are made of: games, lines of moves, and the moves that a book must not play.
#pragma once

#include "book/contents.h"

#include <string>
#include <string_view>

/// What a text had in it.
struct SourceCount {
    std::int64_t games = 0;       // or lines
    std::int64_t unreadable = 0;  // passed over
};

/// Adds the games of PGN text, each cut after `plies` half-moves. A game with a result gives its moves points, one
/// without leaves them as known as they were. What a book cannot say (a promotion to less than a queen) ends a game's
/// line. A game that cannot be read is passed over whole, and its place is told on standard error.
SourceCount AddGames(const std::string& name, std::string_view text, std::size_t plies, BookContents& book);

/// Adds plain lines of moves, one a line, with or without move numbers and a result, which is not looked at. Of a line
/// with tabs the last field counts. Empty lines, comments that begin with a hash, and a table's head, whose last
/// field is "pgn", are passed over.
SourceCount AddLines(const std::string& name, std::string_view text, std::size_t plies, BookContents& book);

/// Excludes the last move of every line of the text, which is read like AddLines does. `missed` counts the moves that
/// the book does not have.
SourceCount ExcludeMoves(const std::string& name, std::string_view text, BookContents& book, std::int64_t& missed);
