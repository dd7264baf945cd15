/// Looks at the item that a reference leads to.
#pragma once

#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/item_reference.h"

/// fnfErr when an identified reference finds another item.
OSErr ReadItemStatus(const FSRef &item, ItemStatus *status, ItemLocation *location);

/// The reference to an item that has just been seen in a folder.
ItemReference ReferenceToSeenItem(FolderIndex folder, std::string_view name,
                                  const ItemStatus &status, KeepFor keepFor = KeepFor::kRun);
