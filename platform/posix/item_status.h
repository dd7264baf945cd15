/// What the kernel says about one item.
#pragma once

#include "platform/posix/item_location.h"
#include "platform/posix/item_reference.h"

struct ItemStatus {
  std::uint64_t device;
  std::uint64_t inode;
  std::uint32_t mode;
  std::uint32_t linkCount;
  bool isImmutable;
  bool isMountPoint;  ///< another volume, or another part of this one, is mounted on it

  bool IsFolder() const;
  bool IsLocked() const;  ///< no write permission for the owner, or immutable
};

/// Reads the status of `name` in an open folder without following a link, or of the folder itself
/// when `name` is empty. Returns 0 or an `errno` value.
int ReadItemStatus(int folder, const char *name, ItemStatus *status);

/// Reads the status of the item that `item` refers to; fnfErr when an identified reference finds
/// another one.
OSErr ReadItemStatus(const FSRef &item, ItemStatus *status, ItemLocation *location);

/// The reference to an item that has just been seen in a folder.
ItemReference ReferenceToSeenItem(FolderIndex folder, std::string_view name,
                                  const ItemStatus &status);

/// The FSSpec of an item.
FSSpec SpecOfItem(const ItemReference &item);
