/// Knows which names cannot be taken in one folder, so that looking up a free name costs no look at
/// the disk.
///
/// Flattening looks up a name in the same folder for every file, and nearly all of them are free.
/// After some dozen lookups in one folder it is listed once and its names are kept as 32-bit
/// hashes; names that the program itself puts there or takes away are noted. What is not among them
/// is free, unless another program has put it there since, or another name has the same hash: a
/// move to such a name fails, as it never replaces anything, and the name is noted then. What is
/// among them is looked up on disk. Of any other folder the one name is known that was found free
/// last: a file whose name is taken passes through a name that is free, the same for every file of
/// its folder. All is forgotten when any folder is listed for other reasons, since that is when
/// other work begins.
#pragma once

#include <string_view>

#include "platform/linux/tree/item_reference.h"

/// Whether `name` is known to be free in the folder, which is open as `descriptor`. False when it
/// has to be looked up.
bool IsNameKnownToBeFree(FolderIndex folder, int descriptor, std::string_view name);

/// Notes that a lookup on disk has found the name free.
void NoteFreeName(FolderIndex folder, std::string_view name);

/// Notes that the folder holds an item of that name, or did a moment ago.
void NoteNameInFolder(FolderIndex folder, std::string_view name);

/// Notes that the program has taken the item of that name out of the folder, or renamed it.
void NoteNameGone(FolderIndex folder, std::string_view name);

/// Has the memory fetched in which a lookup of `name` will look: by then it has long been pushed
/// out of the processor's cache by the work on the files before.
void PrepareLookup(std::string_view name);
