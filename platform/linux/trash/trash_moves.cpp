#include "platform/linux/trash/trash_moves.h"

#include <cerrno>
#include <optional>
#include <string_view>

#include "platform/linux/system/ending.h"
#include "platform/linux/system/errors.h"
#include "platform/linux/system/meanwhile.h"
#include "platform/linux/trash/directory_sizes.h"
#include "platform/linux/trash/trash_folders.h"
#include "platform/linux/trash/trash_info.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_status.h"
#include "platform/linux/tree/tree_changes.h"
#include "platform/trash.h"

namespace {

/// More items of one name than anybody has in a trash.
constexpr int kMostNames = 10'000;
/// A path is no longer in it than three characters a byte.
constexpr std::size_t kLongestInfo = std::size_t{1} << 20;

std::string InfoName(std::string_view name) {
  return std::string(name).append(kTrashInfoSuffix);
}

int Open(FolderIndex index, FolderIndex keepOpen, OpenedFolder *folder) {
  folder->index = index;
  return OpenTableFolder(index, &folder->descriptor, keepOpen) == noErr ? 0 : ENOENT;
}

/// Whether a folder is another one or lies in it.
bool IsWithin(FolderIndex folder, std::uint64_t device, std::uint64_t inode) {
  for (;; folder = EntryOf(folder).parent) {
    const FolderEntry &entry = EntryOf(folder);
    if (entry.device == device && entry.inode == inode) return true;
    if (folder <= kRootFolder) return false;
  }
}

/// The trash cannot go into itself, and what lies in it is there already.
bool IsPartOfTrash(FolderIndex folder, const ItemStatus &item, const TrashFolder &trash) {
  const FolderEntry &entry = EntryOf(trash.folder);
  return IsWithin(folder, entry.device, entry.inode) ||
         IsWithin(trash.folder, item.device, item.identity.inode);
}

/// The path that a .trashinfo file tells of an item.
std::string PathForInfo(const TrashFolder &trash, const std::string &path) {
  if (trash.topPath.empty()) return path;
  return path.substr(trash.topPath == "/" ? 1 : trash.topPath.size() + 1);
}

std::string PathFromInfo(const TrashFolder &trash, const std::string &path) {
  if (trash.topPath.empty() || path.starts_with('/')) return path;
  return (trash.topPath == "/" ? "" : trash.topPath) + "/" + path;
}

/// Tries one name: EEXIST when it is taken. What is in the trash has its .trashinfo at any moment,
/// so that is made first.
int MoveUnder(const ItemReference &item, const TrashFolder &trash, const std::string &name,
              std::string_view infoText) {
  const CWholeMove move(
      {item.folder, item.Name(), item.inode, trash.files, name.c_str(), trash.path.c_str()});
  OpenedFolder from{-1, 0};
  OpenedFolder to{-1, 0};
  int error = Open(item.folder, 0, &from);
  if (error == 0) error = Open(trash.info, item.folder, &to);
  if (error == 0) error = MakeSmallFile(to, InfoName(name).c_str(), infoText);
  if (error != 0) return error;
  error = Open(trash.files, item.folder, &to);
  if (error == 0) error = RenameWithoutReplacing(from, item.Name(), to, name.c_str());
  if (error == 0) return 0;
  if (Open(trash.info, item.folder, &to) == 0) (void)RemoveFile(to, InfoName(name).c_str());
  return error;
}

OSErr MoveInto(const FSRef &ref, const TrashFolder &trash, bool isFolder) {
  const ItemReference &item = ReferenceIn(ref);
  const std::string text = TrashInfoText(PathForInfo(trash, PathOnDisk(ref)));
  std::string name;
  int error = EEXIST;
  for (int number = 1; error == EEXIST && number <= kMostNames; ++number) {
    name = NameInTrash(item.NameView(), number);
    error = MoveUnder(item, trash, name, text);
  }
  if (error == 0 && isFolder) AddDirectorySize(trash, name);
  return ErrorFromErrno(error);
}

/// Whether the item is in the trash, and has come there from where it is thought to have been.
int CheckTrashed(const TrashedItem &item, const TrashFolder &trash) {
  OpenedFolder folder{-1, 0};
  ItemStatus found;
  if (item.name.find('/') != std::string::npos) return ENOENT;
  if (int error = Open(trash.files, 0, &folder); error != 0) return error;
  if (int error = Tree().Look(folder.descriptor, item.name.c_str(), &found); error != 0) {
    return error;
  }
  if (found.device != item.device || found.identity != item.identity) return ESTALE;
  std::string text;
  if (int error = Open(trash.info, 0, &folder); error != 0) return error;
  // Without a .trashinfo it is not known what it is.
  (void)Tree().ReadFile(folder.descriptor, InfoName(item.name).c_str(), kLongestInfo, &text);
  const std::optional<std::string> path = PathInTrashInfo(text);
  return path && PathFromInfo(trash, *path) == item.oldPath ? 0 : ESTALE;
}

/// The user's trash folder at the path of the item's, for what lies in `near`.
std::optional<TrashFolder> FindTrashOf(const TrashedItem &item, FolderIndex near) {
  for (const TrashKind kind : kTrashKinds) {
    auto trash = FindTrash(kind, near, item.device, false);
    if (trash && trash->path == item.trash) return trash;
  }
  return std::nullopt;
}

}  // namespace

OSErr TrashMoveItem(const FSRef &item) {
  GoOnMeanwhile();
  if (IsDeletionCalledOff()) return userCanceledErr;
  ItemStatus status;
  ItemLocation location;
  if (OSErr error = ReadItemStatus(item, &status, &location); error != noErr) return error;
  const FolderIndex folder = ReferenceIn(item).folder;
  OSErr error = errFSOperationNotSupported;
  for (const TrashKind kind : kTrashKinds) {
    const auto trash = FindTrash(kind, folder, status.device, true);
    if (!trash) continue;
    if (IsPartOfTrash(folder, status, *trash)) return errFSOperationNotSupported;
    error = MoveInto(item, *trash, status.IsFolder());
    // From one mount of a volume to another nothing can be renamed; the next trash may be nearer.
    if (error != diffVolErr) break;
  }
  return error;
}

int TakeOutOfTrash(const TrashedItem &item, const OpenedFolder &folder, const char *name) {
  if (EntryOf(folder.index).device != item.device) return EXDEV;
  const auto trash = FindTrashOf(item, folder.index);
  if (!trash) return ENOENT;
  if (int error = CheckTrashed(item, *trash); error != 0) return error;
  // The descriptor that was handed in may have been given up while the trash was looked for.
  OpenedFolder to{-1, 0};
  OpenedFolder from{-1, 0};
  if (int error = Open(folder.index, 0, &to); error != 0) return error;
  if (int error = Open(trash->files, folder.index, &from); error != 0) return error;
  if (int error = RenameWithoutReplacing(from, item.name.c_str(), to, name); error != 0) {
    return error;
  }
  if (Open(trash->info, 0, &from) == 0) (void)RemoveFile(from, InfoName(item.name).c_str());
  RemoveDirectorySize(*trash, item.name);
  return 0;
}
