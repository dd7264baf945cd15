/// Taking back what TrashMoveItem has done.
#pragma once

#include <cstdint>
#include <string>

#include "platform/linux/tree/tree_layer.h"

/// An item as it was moved to the trash.
struct TrashedItem {
  std::string trash;  ///< the path of the folder that holds the trash's `files` and `info`
  std::string name;   ///< in `files`
  std::uint64_t device;
  ItemIdentity identity;
  std::string oldPath;  ///< absolute, as bytes
};

/// Moves an item out of the trash into a folder of its volume, under a name that has to be free,
/// and removes its .trashinfo. 0, or an `errno` value, and nothing has changed:
///
///   ENOENT  it is not in the trash any more, or that is no trash of this user's for that volume
///   ESTALE  it is another item, or was somewhere else before it came there
///   EEXIST  the name is taken
///   EXDEV   the folder lies on another volume
int TakeOutOfTrash(const TrashedItem &item, const OpenedFolder &folder, const char *name);
