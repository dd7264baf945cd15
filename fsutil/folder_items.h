/// The direct items of one folder, as a list.
#pragma once

#include <vector>

#include "platform/file_manager.h"

/// Lists the direct items of `folder`, in the order in which the file system delivers them, and
/// says whether the folder changed meanwhile. On failure the list is empty. paramErr when an output
/// is missing, memFullErr when memory runs out.
OSErr GetFolderItemRefs(const FSRef &folder, std::vector<FSRef> *items, bool *containerChanged);
