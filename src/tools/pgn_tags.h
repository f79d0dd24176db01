// The header of a game in a PGN file.
#pragma once

#include "tools/pgn_stream.h"

/// Reads the tags that stand before the stream, separated by white space at most, and what white space follows them.
/// Keeps PgnResult and PgnPlyCount, and sets up the position of a FEN tag; other tags mean nothing. A name of more
/// than 32 or a value of more than 511 characters is cut. The first ] ends a tag, wherever it stands.
void ReadPgnHeader(PgnStream& in);
