#include "engine/collate.h"

#include <map>
#include <optional>

#include "engine/finder_alias.h"
#include "engine/run_observers.h"
#include "fsutil/folder_items.h"
#include "fsutil/item_info.h"
#include "platform/urls.h"
#include "platform/workspace.h"

namespace {

// A limit of long standing: items with longer paths stay where they are.
constexpr std::uint32_t kCollatePathSize = 2048;

struct ExtensionFolder {
  FSRef ref;
  std::int32_t itemsMoved = 0;
};

/// The extensions' sub-folders, by extension as it is spelled.
using ExtensionFolderCache = std::map<std::u16string, ExtensionFolder>;

OSErr CheckPathLength(const FSRef &item) {
  char path[kCollatePathSize];
  return static_cast<OSErr>(FSRefMakePath(item, path, kCollatePathSize));
}

// The cached sub-folder of an extension, made and cached if need be; null when it cannot be had.
ExtensionFolder *FindExtensionFolder(const FSRef &folder, const std::u16string &extension,
                                     ExtensionFolderCache &cache, OSErr *error) {
  if (const auto known = cache.find(extension); known != cache.end()) return &known->second;
  ExtensionFolder made{};
  *error = GetOrCreateSubfolder(folder, extension, &made.ref);
  if (*error == noErr) *error = CheckPathLength(made.ref);
  if (*error != noErr) return nullptr;
  return &cache.emplace(extension, made).first->second;
}

OSErr MoveToSubfolder(const FSRef &folder, const FSRef &item, const std::u16string &extension,
                      ExtensionFolderCache &cache) {
  OSErr error = noErr;
  ExtensionFolder *const subfolder = FindExtensionFolder(folder, extension, cache, &error);
  if (subfolder == nullptr) return error;
  error = CheckPathLength(item);
  if (error == noErr && MoveItemToFolder(item, subfolder->ref, &error)) ++subfolder->itemsMoved;
  return error;
}

void CollateItem(const FSRef &folder, const FSRef &item, ExtensionFolderCache &cache) {
  if (IsHiddenItem(item)) {
    CountRunEvent(RunEvent::kHidden);
    return;
  }
  const std::optional<CFURL> url = CFURLCreateFromFSRef(item);
  const std::optional<std::u16string> extension = url ? CFURLCopyPathExtension(*url) : std::nullopt;
  if (!extension) {
    CountRunEvent(RunEvent::kWithoutExtension);
    return;
  }
  if (const OSErr error = MoveToSubfolder(folder, item, *extension, cache); error != noErr) {
    NoteRunEvent({RunEvent::kNotCollated, item, error});
  }
}

}  // namespace

void CollateFilesByExtension(const FSRef &folder) {
  ExtensionFolderCache cache;
  FolderItemList items;
  // Listed once, before any sub-folder is made: those made here are never sorted themselves.
  if (const OSErr error = ListFolderItems(folder, &items, false); error != noErr) {
    NoteRunEvent({RunEvent::kNotCollated, folder, error});
  }
  for (const FSRef &item : items) CollateItem(folder, item, cache);
  for (const auto &[extension, subfolder] : cache) {
    if (subfolder.itemsMoved == 0) continue;
    NoteRunEvent({RunEvent::kCollated, subfolder.ref, noErr, nullptr, subfolder.itemsMoved});
  }
}

OSErr ListFolderItems(const FSRef &folder, FolderItemList *list, bool skipFolders) {
  std::vector<FSRef> items;
  bool containerChanged = false;
  const OSErr error = GetFolderItemRefs(folder, &items, &containerChanged);
  if (error != noErr) return error;
  if (skipFolders) std::erase_if(items, IsFolder);
  if (list->empty()) {
    list->swap(items);
  } else {
    list->insert(list->end(), items.begin(), items.end());
  }
  return noErr;
}

bool IsHiddenItem(const FSRef &item) {
  HFSUniStr255 name;
  if (CopyItemName(item, &name) && name.View().starts_with(u'.')) return true;
  FinderInfo finderInfo;
  if (GetItemFinderInfoAndKind(item, &finderInfo, nullptr, nullptr) != noErr) return false;
  const int finderFlags = finderInfo[8] << 8 | finderInfo[9];
  // The kind is asked for last, as hardly any item has the bit.
  return (finderFlags & kIsInvisible) != 0 && !IsFolder(item);
}

OSErr GetOrCreateSubfolder(const FSRef &parent, std::u16string_view name, FSRef *result) {
  if (FindItemInFolder(parent, name, result)) return noErr;
  const OSErr error = FSCreateDirectoryUnicode(parent, name, result);
  if (error == noErr) NoteRunEvent({RunEvent::kFolderMade, *result});
  // Somebody has made it meanwhile, or the volume takes another spelling for the same name.
  if (error == dupFNErr && FindItemInFolder(parent, name, result)) return noErr;
  return error;
}

bool MoveItemToFolder(const FSRef &item, const FSRef &folder, OSErr *error) {
  FSRef moved;
  if (WorkspaceMoveItem(item, folder, &moved, error)) {
    FollowMovedItem(item, moved);
    return true;
  }
  if (!ItemExists(folder)) {
    NSLog("MoveCM: An error occurred moving a folder or file. Error code = %d", *error);
  }
  return false;
}

bool WorkspaceMoveItem(const FSRef &item, const FSRef &destination, FSRef *moved, OSErr *error) {
  *error = FSMoveObject(item, destination, moved);
  return *error == noErr;
}
