/// What the window says of the folders whose turn has not come.
#pragma once

/// Brings it up to date; an empty line when none waits.
void ShowWaitingFolders();
