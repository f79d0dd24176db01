// Text as every command interface takes it apart: keyword tests, tokens, numbers.
//
// Tokens are views into the line that was split last and live as long as it does. Owner: frontend/tokens.cpp.
#pragma once

#include <cstdint>
#include <string_view>

/// Tokens beyond this number are left out of Tokens; a `position` line is walked with TakeToken and has no bound.
inline constexpr int MAX_TOKENS = 2048;

extern std::string_view Tokens[MAX_TOKENS];  // entries past the count are empty
extern std::int32_t TokenOffset[MAX_TOKENS];
extern std::int32_t TokenCount;

/// True when keyword and text agree up to the end of the shorter one, without regard to case and after leading
/// blanks: an abbreviation and a line with arguments both match. Empty strings match nothing. The keywords st, stop,
/// uci and ucinewgame must equal the whole first word of the text.
bool CommandIs(std::string_view keyword, std::string_view text);

/// Splits `line` at runs of delimiters into Tokens, TokenOffset and TokenCount and answers the count: at least 1, and
/// a delimiter at the end opens one more, empty token.
int Tokenize(std::string_view line, std::string_view delimiters);

/// Takes the next token off the front of `rest` by the same rule; the empty token when nothing is left.
std::string_view TakeToken(std::string_view& rest, std::string_view delimiters);

/// The line from the first character of token `index` to its end; empty when there is no such token.
std::string_view TextFromToken(std::string_view line, int index);

/// The integer that `text` begins with, after white space and a sign; junk is 0, and what does not fit saturates.
std::int32_t TextToInteger(std::string_view text);
std::int64_t TextToInteger64(std::string_view text);

/// value x factor, saturating.
std::int32_t SaturatingProduct(std::int32_t value, std::int32_t factor);
