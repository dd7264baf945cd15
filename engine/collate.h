/// Sorting a folder's direct items into sub-folders named after their extensions.
#pragma once

#include <string_view>
#include <vector>

#include "platform/file_manager.h"

using FolderItemList = std::vector<FSRef>;

/// Moves every item directly in `folder` that has an extension and is not hidden, packages too,
/// into the sub-folder named by that extension, as it is spelled. The sub-folder is made when
/// nothing bears its name. Items that cannot be moved stay where they are, under their names.
void CollateFilesByExtension(const FSRef &folder);

/// Appends the direct items of `folder`, without the folders among them if those are to be skipped.
OSErr ListFolderItems(const FSRef &folder, FolderItemList *list, bool skipFolders);

/// Whether the name begins with "." or, for what is not a folder, the Finder calls it invisible.
bool IsHiddenItem(const FSRef &item);

/// Finds the item called `name` in `parent`, or makes a folder of that name. Anything that bears
/// the name is taken for the folder, and so is any failing look-up but fnfErr.
OSErr GetOrCreateSubfolder(const FSRef &parent, std::u16string_view name, FSRef *result);

/// Moves an item into a folder, with the aliases of it following. Logs only that the folder cannot
/// be found. False, with the item where it was, when it cannot be moved; `error` then says why.
bool MoveItemToFolder(const FSRef &item, const FSRef &folder, OSErr *error);

/// The same move by itself, without any message; `moved` is the item at its new place.
bool WorkspaceMoveItem(const FSRef &item, const FSRef &destination, FSRef *moved, OSErr *error);
