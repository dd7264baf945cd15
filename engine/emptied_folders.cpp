#include "engine/emptied_folders.h"

#include <new>
#include <utility>
#include <vector>

#include "engine/package_test.h"
#include "engine/run_observers.h"
#include "fsutil/folder_items.h"
#include "fsutil/item_info.h"
#include "platform/trash.h"
#include "prefs/preferences.h"

namespace {

// Locked items are unlocked first. That is looked for only in what refuses to be deleted: most
// locks keep nobody from deleting an item, and asking each would cost as much as deleting it.
OSErr DeleteAndUnlock(const FSRef &item) {
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

// Notes an item that stays, and hands the error on.
OSErr NotDeleted(const FSRef &item, OSErr error) {
  NoteRunEvent({RunEvent::kNotDeleted, item, error});
  return error;
}

OSErr DeleteItem(const FSRef &item, bool isFolder) {
  if (const OSErr error = DeleteAndUnlock(item); error != noErr) return NotDeleted(item, error);
  NoteRunEvent({isFolder ? RunEvent::kFolderDeleted : RunEvent::kFileDeleted, item});
  return noErr;
}

// One of the folders that are being emptied, each of which lies in the one before. Not on the
// program's own stack, as a tree can be hundreds of thousands of levels deep.
struct DeleteLevel {
  FSIterator iterator;
  FSRef folder;
};
using Levels = std::vector<DeleteLevel>;

void OpenLevel(const FSRef &folder, Levels &levels, DeleteWalkState &state) {
  FSIterator iterator;
  state.result = FSOpenIterator(folder, kFSIterateDelete, &iterator);
  if (state.result == noErr) {
    try {
      levels.push_back({std::move(iterator), folder});
    } catch (const std::bad_alloc &) {
      state.result = memFullErr;
    }
  }
  if (state.result != noErr) (void)NotDeleted(folder, state.result);
}

// Goes through everything in `container`, contents before the folder that holds them, and calls
// `treat(item, isFolder)` for each item until one answers with an error.
template <typename Treat>
void WalkContents(const FSRef &container, DeleteWalkState &state, Treat treat) {
  Levels levels;
  OpenLevel(container, levels, state);
  while (state.result == noErr && !levels.empty()) {
    FSRef item;
    ReadNextItem(levels.back().iterator, &item, state);
    if (state.result == errFSNoMoreItems) {
      const FSRef emptied = levels.back().folder;
      levels.pop_back();
      state.result = levels.empty() ? noErr : treat(emptied, true);
    } else if (state.result != noErr) {
      (void)NotDeleted(levels.back().folder, state.result);
    } else if ((state.catalogInfo.nodeFlags & kFSNodeIsDirectoryMask) != 0) {
      OpenLevel(item, levels, state);
    } else {
      state.result = treat(item, false);
    }
  }
}

// Deletes a folder with what `treat` makes of its contents.
template <typename Treat>
OSErr DeleteTree(const FSRef &folder, Treat treat) {
  DeleteWalkState state;
  WalkContents(folder, state, treat);
  return state.result != noErr ? state.result : DeleteItem(folder, true);
}

}  // namespace

void RemoveEmptiedFolders(const FSRef &folder) {
  TellObservers(&CRunObserver::BeginPhase, RunPhase::kDeleting, "");
  std::vector<FSRef> items;
  bool containerChanged = false;
  if (const OSErr error = GetFolderItemRefs(folder, &items, &containerChanged); error != noErr) {
    (void)NotDeleted(folder, error);
    return;
  }
  bool isCalledOff = false;
  for (const FSRef &item : items) {
    if (!ItemExists(item)) continue;
    FinderInfo finderInfo;
    bool isFolder = false;
    if (const OSErr error = GetItemFinderInfoAndKind(item, &finderInfo, nullptr, &isFolder);
        error != noErr) {
      (void)NotDeleted(item, error);
      continue;
    }
    if (!isFolder || IsPackage(item)) continue;
    const OSErr error = GetDeleteToTrash() ? TrashFolderTree(item) : DeleteFolderTree(item);
    if (error == userCanceledErr) isCalledOff = true;
  }
  if (isCalledOff) TellObservers(&CRunObserver::CallOffDeletion);
}

OSErr DeleteFolderTree(const FSRef &folder) {
  FSCatalogInfo info;
  const OSErr error =
      FSGetCatalogInfo(folder, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr);
  if (error != noErr) return NotDeleted(folder, error);
  if ((info.nodeFlags & kFSNodeIsDirectoryMask) == 0) return NotDeleted(folder, dirNFErr);
  return DeleteTree(folder, DeleteItem);
}

OSErr TrashFolderTree(const FSRef &folder) {
  // All of it is looked through, as a folder that may not be deleted may not go elsewhere either.
  DeleteWalkState state;
  bool holdsFile = false;
  WalkContents(folder, state, [&](const FSRef &, bool isFolder) {
    holdsFile = holdsFile || !isFolder;
    return noErr;
  });
  if (state.result != noErr) return state.result;
  if (!holdsFile) {
    return DeleteTree(folder, [](const FSRef &item, bool isFolder) {
      return isFolder ? DeleteItem(item, true) : NotDeleted(item, fBsyErr);
    });
  }
  if (const OSErr error = TrashMoveItem(folder); error != noErr) return NotDeleted(folder, error);
  NoteRunEvent({RunEvent::kTrashed, folder});
  return noErr;
}

void DeleteFolderContents(const FSRef &container, DeleteWalkState &state) {
  WalkContents(container, state, DeleteItem);
}
