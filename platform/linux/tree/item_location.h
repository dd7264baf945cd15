/// Items as the kernel's `*at` calls take them: an open folder and a name in it.
///
/// Descriptors handed out here are borrowed from a small cache: use them before the next File
/// Manager call and never close them.
#pragma once

#include <string>
#include <string_view>

#include "platform/file_manager.h"
#include "platform/linux/tree/item_reference.h"

struct ItemLocation {
  int folder;        ///< descriptor of the folder that holds the item; may be opened with O_PATH
  const char *name;  ///< zero-terminated, as on disk; valid as long as the reference itself
};

/// Opens the folder that holds the item, checking every folder on the way by identity. A root
/// folder is located as "." in itself. paramErr for a reference of zero bytes.
OSErr LocateItem(const FSRef &item, ItemLocation *location);

/// Opens the item itself as a folder, under the same checks. dirNFErr when it is not one.
OSErr OpenFolder(const FSRef &folder, int *descriptor);

/// The item's name as on disk; "/" for the root.
std::string_view NameOnDisk(const FSRef &item);

/// The item's absolute path as bytes on disk, however long it is; empty for a reference to nothing.
std::string PathOnDisk(const FSRef &item);

/// Whether the item is known, without asking the disk, not to be a folder.
bool IsKnownPlainItem(const FSRef &item);
