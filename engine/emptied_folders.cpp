#include "engine/emptied_folders.h"

#include "app/status_display.h"
#include "engine/package_test.h"
#include "fsutil/folder_items.h"
#include "fsutil/item_info.h"

namespace {

// Locked items are unlocked first. That is looked for only in what refuses to be deleted: most
// locks keep nobody from deleting an item, and asking each would cost as much as deleting it.
OSErr DeleteItem(const FSRef &item) {
  const OSErr error = FSDeleteObject(item);
  if (error != permErr && error != afpAccessDenied) return error;
  FSCatalogInfo info;
  if (FSGetCatalogInfo(item, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr) != noErr ||
      (info.nodeFlags & kFSNodeLockedMask) == 0) {
    return error;
  }
  info.nodeFlags = static_cast<std::uint16_t>(info.nodeFlags & ~kFSNodeLockedMask);
  // Whether it worked shows when the item is deleted.
  (void)FSSetCatalogInfo(item, kFSCatInfoNodeFlags, info);
  return FSDeleteObject(item);
}

// Reads the next item; none is left, or the read has failed, when `state.result` is not noErr.
void ReadNextItem(const FSIterator &iterator, FSRef *item, DeleteWalkState &state) {
  do {
    state.result = FSGetCatalogInfoBulk(iterator, 1, &state.itemCount, nullptr, kFSCatInfoNodeFlags,
                                        &state.catalogInfo, item, nullptr, nullptr);
  } while (state.result == noErr && state.itemCount != 1);
}

}  // namespace

void RemoveEmptiedFolders(const FSRef &folder) {
  SetStatusText("Deleting emptied folders...", 1);
  std::vector<FSRef> items;
  bool containerChanged = false;
  if (GetFolderItemRefs(folder, &items, &containerChanged) != noErr) return;
  for (const FSRef &item : items) {
    if (!ItemExists(item)) continue;
    FinderInfo finderInfo;
    bool isFolder = false;
    if (GetItemFinderInfoAndKind(item, &finderInfo, nullptr, &isFolder) != noErr) continue;
    if (!isFolder || IsPackage(item)) continue;
    (void)DeleteFolderTree(item);
  }
}

OSErr DeleteFolderTree(const FSRef &folder) {
  FSCatalogInfo info;
  const OSErr error =
      FSGetCatalogInfo(folder, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr);
  if (error != noErr) return error;
  if ((info.nodeFlags & kFSNodeIsDirectoryMask) == 0) return dirNFErr;
  DeleteWalkState state;
  DeleteFolderContents(folder, state);
  if (state.result != noErr) return state.result;
  return DeleteItem(folder);
}

void DeleteFolderContents(const FSRef &container, DeleteWalkState &state) {
  FSIterator iterator;
  state.result = FSOpenIterator(container, kFSIterateDelete, &iterator);
  if (state.result != noErr) return;
  while (true) {
    FSRef item;
    ReadNextItem(iterator, &item, state);
    if (state.result != noErr) break;
    if ((state.catalogInfo.nodeFlags & kFSNodeIsDirectoryMask) != 0) {
      DeleteFolderContents(item, state);
      if (state.result != noErr) break;
    }
    state.result = DeleteItem(item);
    if (state.result != noErr) break;
  }
  if (state.result == errFSNoMoreItems) state.result = noErr;
}
