/// Removal of a dropped folder's sub-folders after the moves.
#pragma once

#include "platform/file_manager.h"

/// Deletes every folder that lies directly in `folder` and is no package, with everything in it. It
/// is not asked whether a folder is empty: what the moves have left behind goes too. A sub-folder
/// that cannot be deleted stays, partly emptied, and the next one is taken. Nothing is deleted when
/// `folder` cannot be listed, and nothing more once the program has been told to end.
///
/// Where the trash is preferred, a sub-folder with a file anywhere in it goes there whole, or stays
/// whole; only those that hold nothing but folders are deleted.
void RemoveEmptiedFolders(const FSRef &folder);

/// Deletes a folder and everything in it, unlocking what is locked. Stops at the first failure and
/// returns it; what was deleted until then stays deleted. dirNFErr for what is not a folder.
OSErr DeleteFolderTree(const FSRef &folder);

/// Moves a folder that holds a file to the trash, and deletes one that holds nothing but folders.
/// No file is ever deleted, not even one that comes meanwhile. Returns what has kept it from that.
OSErr TrashFolderTree(const FSRef &folder);

/// What all levels of one deletion share.
struct DeleteWalkState {
  OSErr result;             ///< the last result of the file system, and the deletion's
  std::uint32_t itemCount;  ///< how many items the last read returned
  FSCatalogInfo catalogInfo;
};

/// Deletes everything inside `container`, contents before the folder that holds them.
void DeleteFolderContents(const FSRef &container, DeleteWalkState &state);
