/// The Finder information of items, from the extended attributes in which copies from a Mac arrive:
/// `user.com.apple.FinderInfo`, `osx.com.apple.FinderInfo`.
#pragma once

#include "platform/file_manager.h"
#include "platform/linux/tree/tree_layer.h"

/// All zero when there is none, or when the item cannot be found.
FinderInfo ReadFinderInfo(const FSRef &item);
