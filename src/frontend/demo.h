// The engine against itself.
#pragma once

/// The `demo` command: plays a game from each position of the file "openings.epd".
void Demo();
