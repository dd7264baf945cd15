#include "platform/posix/item_status.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>

#include "platform/posix/errors.h"

bool ItemStatus::IsFolder() const {
  return S_ISDIR(mode);
}

bool ItemStatus::IsLocked() const {
  return isImmutable || ((mode & S_IWUSR) == 0 && !S_ISLNK(mode));
}

int ReadItemStatus(int folder, const char *name, ItemStatus *status) {
  struct statx found;
  const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | (*name == '\0' ? AT_EMPTY_PATH : 0);
  if (statx(folder, name, flags, STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_INO, &found) != 0) {
    return errno;
  }
  status->device = makedev(found.stx_dev_major, found.stx_dev_minor);
  status->inode = found.stx_ino;
  status->mode = found.stx_mode;
  status->linkCount = found.stx_nlink;
  status->isImmutable = (found.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
  status->isMountPoint = (found.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
  return 0;
}

OSErr ReadItemStatus(const FSRef &item, ItemStatus *status, ItemLocation *location) {
  if (OSErr error = LocateItem(item, location); error != noErr) return error;
  if (int error = ReadItemStatus(location->folder, location->name, status); error != 0) {
    return ErrorFromErrno(error);
  }
  const ItemReference &reference = ReferenceIn(item);
  const bool isOther = reference.isIdentified &&
                       (reference.device != status->device || reference.inode != status->inode);
  return isOther ? fnfErr : noErr;
}

ItemReference ReferenceToSeenItem(FolderIndex folder, std::string_view name,
                                  const ItemStatus &status) {
  ItemReference reference{};
  reference.device = status.device;
  reference.inode = status.inode;
  reference.folder = folder;
  reference.kind = status.IsFolder() ? ItemKind::kFolder : ItemKind::kOther;
  // A file saved anew under its name is still the user's file of that name; a folder is entered, so
  // it must be the same.
  reference.isIdentified = status.IsFolder();
  reference.SetName(name);
  return reference;
}
