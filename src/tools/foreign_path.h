// File names in the form of another system, such as c:\work\source.pgn, on this one.
//
// Such a name is tried as it stands, under the working directory; when nothing is there, without the drive and with
// slashes, again under the working directory: work/source.pgn. A file that belongs to it as output is written in the
// form in which the input was found.
#pragma once

#include <string>
#include <string_view>

enum class PathForm { AsWritten, Translated };

/// `name` without a drive and leading separators, backslashes turned into slashes.
std::string TranslateForeignPath(std::string_view name);

/// The form in which a file of this name is there; AsWritten when it is in neither.
PathForm FindForeignFile(std::string_view name);

/// `name` in the given form.
std::string PathInForm(std::string_view name, PathForm form);
