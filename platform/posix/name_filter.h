/// Knows which names cannot be taken in one folder, so that looking up a free name costs no look at
/// the disk.
///
/// Flattening looks up a name in the same folder for every file, and nearly all of them are free.
/// After a few lookups in one folder it is listed once and its names are kept as 32-bit hashes;
/// names that the program itself puts there are added. What is not among them is free, unless
/// another program has put it there since: a move to such a name fails, as it never replaces
/// anything, and the name is added then. What is among them is looked up on disk. All is forgotten
/// when any folder is listed for other reasons, since that is when other work begins.
#pragma once

#include <string_view>

#include "platform/posix/item_reference.h"

/// Whether `name` is known to be free in the folder, which is open as `descriptor`. False when it
/// has to be looked up.
bool IsNameKnownToBeFree(FolderIndex folder, int descriptor, std::string_view name);

/// Notes that the folder holds an item of that name, or did a moment ago.
void NoteNameInFolder(FolderIndex folder, std::string_view name);
