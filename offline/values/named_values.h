// The two texts of the evaluation's parameters. The engine reads the plain one, "values.txt": integers alone, one a
// line, in the order of the parameter list. People read and change the named one:
//
//     # A comment runs from a hash to the end of its line.
//     KnightMobilityOpen = -20 -10 0 4 8
//                          11 13 14 15     # values go on over as many lines as they need
//     ArmyStats = zero                     # every value is 0
//
// A name stands in it once, in any order, with exactly the values that the parameter has in the plain file, in their
// order there: half tables have files a..d only, single mirrored rows the first four. Names are those of the parameter
// list; what has no name there is called ImbalanceStats, ArmyStats, MoveCounts and Reserved<block>.<n>. Reserved
// places may be left out, and are when all of them are 0.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// For every entry of Parameters() its values in the order of the file.
using FileValues = std::vector<std::vector<std::int64_t>>;

/// Both readers answer an empty string, or what is wrong with the text and in which line; `values` counts only in the
/// first case.
std::string ReadNamedValues(std::string_view text, FileValues& values);
std::string ReadPlainValues(std::string_view text, FileValues& values);

/// `old_text`, a named text, with the numbers of `values`, which must have the shape that the readers give. Only
/// numbers that differ change: comments, order and layout stay. Lists that are no longer "zero" are laid out as
/// NamedText does it, long lists of which nothing but zeros is left become the word. Answers as the readers do.
std::string UpdateNamedText(std::string_view old_text, const FileValues& values, std::string& updated);

std::string NamedText(const FileValues& values);
std::string PlainText(const FileValues& values);
