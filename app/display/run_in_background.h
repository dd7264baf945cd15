/// A run as it is shown to a user who works in other windows meanwhile.
#pragma once

/// From now on the program's icon shows how far a run is, and the end of a long one is told when
/// its window is not the active one.
void ShowRunsInBackground();
