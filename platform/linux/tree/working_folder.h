/// The process's current folder, for the calls that take no folder to start from.
///
/// lgetxattr(2) and its like have no `*at` form. A name in the current folder costs them a third of
/// what the folder's entry under /proc does, and nothing that is swapped for a link on the way can
/// lead them astray. Nothing else in the program depends on the current folder: paths that come
/// from outside are made absolute when they arrive.
#pragma once

#include "platform/linux/tree/tree_layer.h"

/// Makes the folder, which is open as `descriptor`, the current one; false when it may not be.
bool WorkInFolder(FolderIndex folder, int descriptor);

/// Goes back to the folder that was current at first, so that an idle program keeps no volume busy.
void LeaveWorkingFolder();
