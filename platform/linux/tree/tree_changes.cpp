#include "platform/linux/tree/tree_changes.h"

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/volume_traits.h"

namespace {

int movesBegun = 0;

/// Makes one change, and asks again what a signal has interrupted.
int Change(const TreeChange &change) {
  int error = 0;
  do {
    error = Tree().Change(change);
  } while (error == EINTR);
  return error;
}

bool IsRefusalOfFlag(int error) {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

/// Whether a file system says that it has no hard links, or none for this item.
bool IsRefusalToLink(int error) {
  return error == EPERM || error == ENOSYS || error == EOPNOTSUPP || error == EMLINK;
}

/// A name in an open folder.
struct Place {
  const OpenedFolder &folder;
  const char *name;
};

bool LookAt(const Place &place, ItemStatus *item) {
  return Tree().LookUp(place.folder, place.name, item) == 0;
}

bool IsThere(const Place &place) {
  ItemStatus item;
  return LookAt(place, &item);
}

bool IsSameItem(const ItemStatus &a, const ItemStatus &b) {
  return a.device == b.device && a.identity.inode == b.identity.inode;
}

bool AreOne(const Place &first, const Place &second) {
  ItemStatus a;
  ItemStatus b;
  return LookAt(first, &a) && LookAt(second, &b) && IsSameItem(a, b);
}

/// Whether an item is the one that was looked at, told without its inode number.
bool IsUnchanged(const Place &place, const ItemStatus &then) {
  ItemStatus now;
  return LookAt(place, &now) && now.mode == then.mode && now.size == then.size &&
         now.modified == then.modified && now.changed == then.changed;
}

/// Whether a file or folder is the one of this identity.
bool IsStill(const Place &place, const ItemIdentity &item) {
  ItemStatus found;
  return LookAt(place, &found) && (found.IsFile() || found.IsFolder()) && found.identity == item;
}

/// Removes a name of an item that has another name too, while `isStillIt` says so, and nothing
/// else: a program that saves by renaming may have put a new file there.
template <typename IsStillIt>
int RemoveSecondName(const Place &place, IsStillIt isStillIt) {
  return Change({.kind = ChangeKind::kRemoveFile,
                 .name = place.name,
                 .folder = place.folder,
                 .onlyIf = isStillIt});
}

/// EOPNOTSUPP, and nothing has changed, where the volume has no links that can be told from copies.
int LinkThenUnlink(const Place &from, const Place &to) {
  // Looked up before it is tried: two names of one file that the user has given it must not be
  // taken for a link that was made here.
  if (IsThere(to)) return EEXIST;
  int error = Change({ChangeKind::kLink, from.name, from.folder, to.name, to.folder});
  if (IsRefusalToLink(error)) return EOPNOTSUPP;
  if (error != 0) return error;
  ItemStatus old;
  ItemStatus made;
  if (LookAt(from, &old) && LookAt(to, &made) && !IsSameItem(old, made) &&
      (made.mode & S_IFMT) == (old.mode & S_IFMT) && made.size == old.size) {
    // Some network and union file systems give each name an inode of its own. Whether one of the
    // two is a copy cannot be told there, so the new one goes.
    error = RemoveSecondName(to, [&] { return IsUnchanged(to, made); });
    return error == 0 ? EOPNOTSUPP : error;
  }
  const auto areOne = [&] { return AreOne(from, to); };
  error = RemoveSecondName(from, areOne);
  if (error == 0) return 0;
  // When another program has taken the old name away, the file has moved all the same.
  if (!areOne()) return IsThere(to) ? 0 : error;
  // With the old name still there the new one has to go, or the file would be in two places.
  (void)RemoveSecondName(to, areOne);
  return error;
}

/// Takes the new name with an empty item of its own, which a plain rename may then replace. A file
/// replaces an empty file only, a folder by its nature an empty folder only.
int RenameOntoPlaceHolder(const Place &from, const Place &to, bool isFolder) {
  if (IsThere(to)) return EEXIST;
  const ChangeKind kind = isFolder ? ChangeKind::kHoldFolder : ChangeKind::kHoldFile;
  if (int error = Change({kind, to.name, to.folder}); error != 0) return error;
  const int error = Change({ChangeKind::kReplace, from.name, from.folder, to.name, to.folder});
  if (error != 0) (void)RemovePlaceHolder(to.folder, to.name);
  return error;
}

}  // namespace

CWholeMove::CWholeMove(const TreeMove &move) {
  if (movesBegun++ == 0) Tree().BeginMove(move);
}

CWholeMove::~CWholeMove() {
  if (--movesBegun == 0) Tree().EndMove();
}

int RenameWithoutReplacing(const OpenedFolder &fromFolder, const char *from,
                           const OpenedFolder &toFolder, const char *to) {
  const CWholeMove move({fromFolder.index, from, 0, toFolder.index, to});
  VolumeTraits &traits = TraitsOfVolume(EntryOf(fromFolder.index).device, fromFolder.descriptor);
  if (traits.hasRenameNoReplace) {
    const int error = Change({ChangeKind::kRename, from, fromFolder, to, toFolder});
    if (!IsRefusalOfFlag(error)) return error;
  }
  const Place source{fromFolder, from};
  const Place destination{toFolder, to};
  ItemStatus item;
  int error = Tree().Look(fromFolder.descriptor, from, &item);
  if (error != 0) return error;
  error = EOPNOTSUPP;
  if (!item.IsFolder() && traits.hasLinks) error = LinkThenUnlink(source, destination);
  if (error == EOPNOTSUPP) {
    error = RenameOntoPlaceHolder(source, destination, item.IsFolder());
    // Some items only have no links, on a volume that has them; but none is worth asking twice.
    if (error == 0 && !item.IsFolder()) traits.hasLinks = false;
  }
  // The refusal can also have been one of the arguments.
  if (error == 0) traits.hasRenameNoReplace = false;
  return error;
}

int RemovePlaceHolder(const OpenedFolder &folder, const char *name) {
  return Change({ChangeKind::kRelease, name, folder});
}

int MakeFolder(const OpenedFolder &folder, const char *name) {
  return Change({ChangeKind::kMakeFolder, name, folder});
}

int MakePrivateFolder(const OpenedFolder &folder, const char *name) {
  return Change({ChangeKind::kMakePrivateFolder, name, folder});
}

int MakeSmallFile(const OpenedFolder &folder, const char *name, std::string_view content) {
  return Change(
      {.kind = ChangeKind::kMakeFile, .name = name, .folder = folder, .content = content});
}

int ReplaceSmallFile(const OpenedFolder &folder, const char *name, std::string_view content) {
  return Change(
      {.kind = ChangeKind::kReplaceFile, .name = name, .folder = folder, .content = content});
}

int RemoveFile(const OpenedFolder &folder, const char *name) {
  return Change({ChangeKind::kRemoveFile, name, folder});
}

int RemoveEmptyFolder(const OpenedFolder &folder, const char *name) {
  return Change({ChangeKind::kRemoveFolder, name, folder});
}

int MakeSymbolicLink(const OpenedFolder &folder, const char *name, const char *target) {
  return Change({ChangeKind::kMakeLink, name, folder, target});
}

int RemoveSymbolicLink(const OpenedFolder &folder, const char *name, std::string_view target) {
  const std::string expected(target);
  return Change({.kind = ChangeKind::kRemoveFile,
                 .name = name,
                 .folder = folder,
                 .newName = expected.c_str(),
                 .onlyIf = [&] {
                   std::string found;
                   return Tree().ReadLink(folder.descriptor, name, &found) == 0 &&
                          found == expected;
                 }});
}

int AddOwnerWritePermission(const OpenedFolder &folder, const char *name) {
  return Change({ChangeKind::kAllowWriting, name, folder});
}

int ClearImmutableAttribute(const OpenedFolder &folder, const char *name) {
  ItemStatus item;
  if (int error = Tree().Look(folder.descriptor, name, &item); error != 0) return error;
  // Opening a pipe or a device can have effects of its own; neither has the attribute.
  if (!item.IsFile() && !item.IsFolder()) return EPERM;
  return Change({ChangeKind::kClearImmutable, name, folder});
}

int SetPermissions(const OpenedFolder &folder, const char *name, const ItemIdentity &item,
                   std::uint32_t mode) {
  const FolderState state{.mode = mode};
  return Change({.kind = ChangeKind::kSetMode,
                 .name = name,
                 .folder = folder,
                 .state = &state,
                 .onlyIf = [&] {
                   return IsStill({folder, name}, item);
                 }});
}

int SetImmutableAttribute(const OpenedFolder &folder, const char *name, const ItemIdentity &item) {
  return Change({.kind = ChangeKind::kSetImmutable, .name = name, .folder = folder, .onlyIf = [&] {
                   return IsStill({folder, name}, item);
                 }});
}

int SetFolderState(const OpenedFolder &folder, const FolderState &state) {
  return Change({.kind = ChangeKind::kSetState, .name = "", .folder = folder, .state = &state});
}

int SetFolderAttributes(const OpenedFolder &folder, const ItemAttributes &attributes) {
  return Change({.kind = ChangeKind::kSetAttributes,
                 .name = "",
                 .folder = folder,
                 .attributes = &attributes});
}
