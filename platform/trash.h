/// The user's trash: what is moved there can be seen, restored and deleted for good with the
/// desktop's own tools.
#pragma once

#include "platform/file_manager.h"

/// Moves a file, or a folder with all that is in it, to the trash of its volume, in one rename that
/// replaces nothing. After any error the item is where it was, and the trash as it was.
///
///   errFSOperationNotSupported  there is no trash for it that can be used: its volume has none and
///                               none can be made, or the item is the trash, holds it or lies in it
///   userCanceledErr             the program has been told to end, as with FSDeleteObject
OSErr TrashMoveItem(const FSRef &item);
