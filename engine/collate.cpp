#include "engine/collate.h"

#include <map>
#include <optional>

#include "engine/run_report.h"
#include "fsutil/folder_items.h"
#include "fsutil/item_info.h"
#include "platform/urls.h"
#include "platform/workspace.h"

namespace {

// Two limits of long standing: paths that the phase makes, and those that the workspace takes.
constexpr std::uint32_t kCollatePathSize = 2048;
constexpr std::uint32_t kWorkspacePathSize = 4096;

struct ExtensionFolder {
  FSRef ref;
  std::string path;
  std::int32_t itemsMoved = 0;
};

/// The extensions' sub-folders, by extension as it is spelled.
using ExtensionFolderCache = std::map<std::u16string, ExtensionFolder>;

template <std::uint32_t kSize>
OSErr MakePath(const FSRef &item, std::string *path) {
  char buffer[kSize];
  const OSStatus status = FSRefMakePath(item, buffer, kSize);
  if (status == noErr) *path = buffer;
  return static_cast<OSErr>(status);
}

// The cached sub-folder of an extension, made and cached if need be; null when it cannot be had.
ExtensionFolder *FindExtensionFolder(const FSRef &folder, const std::u16string &extension,
                                     ExtensionFolderCache &cache, OSErr *error) {
  if (const auto known = cache.find(extension); known != cache.end()) return &known->second;
  ExtensionFolder made{};
  *error = GetOrCreateSubfolder(folder, extension, &made.ref);
  if (*error != noErr) return nullptr;
  *error = MakePath<kCollatePathSize>(made.ref, &made.path);
  if (*error != noErr) return nullptr;
  return &cache.emplace(extension, std::move(made)).first->second;
}

OSErr MoveToSubfolder(const FSRef &folder, const FSRef &item, const std::u16string &extension,
                      ExtensionFolderCache &cache) {
  OSErr error = noErr;
  ExtensionFolder *const subfolder = FindExtensionFolder(folder, extension, cache, &error);
  if (subfolder == nullptr) return error;
  static std::string itemPath;  // made anew for every item, it keeps its memory
  error = MakePath<kCollatePathSize>(item, &itemPath);
  if (error != noErr) return error;
  if (MoveItemToFolderPath(itemPath, subfolder->path, &error)) ++subfolder->itemsMoved;
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
  return error;
}

bool MoveItemToFolderPath(const std::string &itemPath, const std::string &folderPath,
                          OSErr *error) {
  FSRef item;
  OSStatus status = FSPathMakeRef(itemPath.c_str(), &item, nullptr);
  *error = static_cast<OSErr>(status);
  if (status != noErr) return false;
  FSRef folder;
  status = FSPathMakeRef(folderPath.c_str(), &folder, nullptr);
  *error = static_cast<OSErr>(status);
  if (status != noErr) {
    NSLog("MoveCM: An error occurred moving a folder or file. Error code = %d", status);
    return false;
  }
  return WorkspaceMoveItem(item, folder, error);
}

bool WorkspaceMoveItem(const FSRef &item, const FSRef &destination, OSErr *error) {
  FSRef parent;
  // Made anew for every item, they keep their memory.
  static std::string source;
  static std::string itemPath;
  static std::string target;
  *error = GetParentFolderRef(item, &parent);
  if (*error == noErr) *error = MakePath<kWorkspacePathSize>(parent, &source);
  if (*error == noErr) *error = MakePath<kWorkspacePathSize>(item, &itemPath);
  if (*error == noErr) *error = MakePath<kWorkspacePathSize>(destination, &target);
  if (*error != noErr) return false;
  const std::string name = itemPath.substr(itemPath.rfind('/') + 1);
  int tag = 0;
  const bool isMoved = NSWorkspace::sharedWorkspace().performFileOperation(
      NSWorkspaceMoveOperation, source, target, {name}, &tag);
  *error = static_cast<OSErr>(tag);
  return isMoved;
}
