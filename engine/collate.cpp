#include "engine/collate.h"

#include <optional>
#include <unordered_map>

#include "fsutil/folder_items.h"
#include "fsutil/item_info.h"
#include "platform/urls.h"
#include "platform/workspace.h"

namespace {

// Two limits of long standing: paths that the phase makes, and those that the workspace takes.
constexpr std::uint32_t kCollatePathSize = 2048;
constexpr std::uint32_t kWorkspacePathSize = 4096;

/// Paths of the extensions' sub-folders, by extension as it is spelled.
using ExtensionFolderCache = std::unordered_map<std::u16string, std::string>;

template <std::uint32_t kSize>
std::optional<std::string> MakePath(const FSRef &item) {
  char path[kSize];
  if (FSRefMakePath(item, path, kSize) != noErr) return std::nullopt;
  return path;
}

// The cached sub-folder of an extension, made and cached if need be; null when it cannot be had.
const std::string *SubfolderPath(const FSRef &folder, const std::u16string &extension,
                                 ExtensionFolderCache &cache) {
  if (const auto known = cache.find(extension); known != cache.end()) return &known->second;
  FSRef subfolder{};
  if (GetOrCreateSubfolder(folder, extension, &subfolder) != noErr) return nullptr;
  std::optional<std::string> path = MakePath<kCollatePathSize>(subfolder);
  if (!path) return nullptr;
  return &cache.emplace(extension, *std::move(path)).first->second;
}

void CollateItem(const FSRef &folder, const FSRef &item, ExtensionFolderCache &cache) {
  if (IsHiddenItem(item)) return;
  const std::optional<CFURL> url = CFURLCreateFromFSRef(item);
  if (!url) return;
  const std::optional<std::u16string> extension = CFURLCopyPathExtension(*url);
  if (!extension) return;
  const std::string *subfolderPath = SubfolderPath(folder, *extension, cache);
  if (subfolderPath == nullptr) return;
  const std::optional<std::string> itemPath = MakePath<kCollatePathSize>(item);
  if (!itemPath) return;
  (void)MoveItemToFolderPath(*itemPath, *subfolderPath);
}

}  // namespace

void CollateFilesByExtension(const FSRef &folder) {
  ExtensionFolderCache cache(50);
  FolderItemList items;
  // Listed once, before any sub-folder is made: those made here are never sorted themselves.
  (void)ListFolderItems(folder, &items, false);
  for (const FSRef &item : items) CollateItem(folder, item, cache);
}

OSErr ListFolderItems(const FSRef &folder, FolderItemList *list, bool skipFolders) {
  std::vector<FSRef> items;
  bool containerChanged = false;
  const OSErr error = GetFolderItemRefs(folder, &items, &containerChanged);
  if (error != noErr) return error;
  for (const FSRef &item : items) {
    if (!skipFolders || !IsFolder(item)) list->push_back(item);
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
  return FSCreateDirectoryUnicode(parent, name, result);
}

bool MoveItemToFolderPath(const std::string &itemPath, const std::string &folderPath) {
  FSRef item;
  if (FSPathMakeRef(itemPath.c_str(), &item, nullptr) != noErr) return false;
  FSRef folder;
  const OSStatus status = FSPathMakeRef(folderPath.c_str(), &folder, nullptr);
  if (status != noErr) {
    NSLog("MoveCM: An error occurred moving a folder or file. Error code = %d", status);
    return false;
  }
  return WorkspaceMoveItem(item, folder);
}

bool WorkspaceMoveItem(const FSRef &item, const FSRef &destination) {
  FSRef parent;
  if (GetParentFolderRef(item, &parent) != noErr) return false;
  const std::optional<std::string> source = MakePath<kWorkspacePathSize>(parent);
  const std::optional<std::string> itemPath = MakePath<kWorkspacePathSize>(item);
  const std::optional<std::string> target = MakePath<kWorkspacePathSize>(destination);
  if (!source || !itemPath || !target) return false;
  const std::string name = itemPath->substr(itemPath->rfind('/') + 1);
  int tag = 0;
  return NSWorkspace::sharedWorkspace().performFileOperation(NSWorkspaceMoveOperation, *source,
                                                             *target, {name}, &tag);
}
