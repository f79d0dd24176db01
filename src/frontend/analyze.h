// Analysis without end.
#pragma once

/// The `analyze` command: searches the position, and again after every move, undo and new, until `exit`. Input that
/// closes ends it too, and a position that cannot be searched is refused.
void Analyze();
