// Placing pieces by hand.
#pragma once

/// The `edit` command: reads characters until a dot and changes the board by them. Input that closes ends it too.
void EditPosition();
