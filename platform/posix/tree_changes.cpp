#include "platform/posix/tree_changes.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>

#include "platform/posix/descriptor.h"
#include "platform/posix/folder_table.h"
#include "platform/posix/run_journal.h"
#include "platform/posix/volume_traits.h"

namespace {

TreeChangeFault changeFault = nullptr;

/// Makes one change: records it, asks the fault, and asks again what a signal has interrupted.
template <typename Call>
int Change(const TreeChange &change, Call call) {
  RecordChange(change);
  int error = 0;
  do {
    error = changeFault != nullptr ? changeFault(change) : 0;
    if (error == 0 && call() != 0) error = errno;
  } while (error == EINTR);
  if (error != 0) RecordFailure(error);
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

bool LookAt(const Place &place, struct stat *item) {
  return fstatat(place.folder.descriptor, place.name, item, AT_SYMLINK_NOFOLLOW) == 0;
}

bool IsThere(const Place &place) {
  struct stat item;
  return LookAt(place, &item);
}

bool IsSameItem(const Place &first, const Place &second) {
  struct stat a;
  struct stat b;
  return LookAt(first, &a) && LookAt(second, &b) && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool IsSameTime(const timespec &a, const timespec &b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// Whether an item is the one that was looked at, told without its inode number.
bool IsUnchanged(const Place &place, const struct stat &then) {
  struct stat now;
  return LookAt(place, &now) && now.st_mode == then.st_mode && now.st_size == then.st_size &&
         IsSameTime(now.st_mtim, then.st_mtim) && IsSameTime(now.st_ctim, then.st_ctim);
}

/// Removes a name of an item that has another name too, while `isStillIt` says so, and nothing
/// else: a program that saves by renaming may have put a new file there.
template <typename IsStillIt>
int RemoveSecondName(const Place &place, IsStillIt isStillIt) {
  return Change({"unlink", place.name, place.folder}, [&] {
    if (isStillIt()) return unlinkat(place.folder.descriptor, place.name, 0);
    errno = ESTALE;
    return -1;
  });
}

/// EOPNOTSUPP, and nothing has changed, where the volume has no links that can be told from copies.
int LinkThenUnlink(const Place &from, const Place &to) {
  // Looked up before it is recorded: two names of one file that the user has given it must not be
  // taken for a link that was made here.
  if (IsThere(to)) return EEXIST;
  int error = Change({"link", from.name, from.folder, to.name, to.folder}, [&] {
    return linkat(from.folder.descriptor, from.name, to.folder.descriptor, to.name, 0);
  });
  if (IsRefusalToLink(error)) return EOPNOTSUPP;
  if (error != 0) return error;
  struct stat old;
  struct stat made;
  if (LookAt(from, &old) && LookAt(to, &made) &&
      (old.st_dev != made.st_dev || old.st_ino != made.st_ino) &&
      (made.st_mode & S_IFMT) == (old.st_mode & S_IFMT) && made.st_size == old.st_size) {
    // Some network and union file systems give each name an inode of its own. Whether one of the
    // two is a copy cannot be told there, so the new one goes.
    error = RemoveSecondName(to, [&] { return IsUnchanged(to, made); });
    return error == 0 ? EOPNOTSUPP : error;
  }
  const auto areOne = [&] { return IsSameItem(from, to); };
  error = RemoveSecondName(from, areOne);
  if (error == 0) return 0;
  // When another program has taken the old name away, the file has moved all the same.
  if (!areOne()) return IsThere(to) ? 0 : error;
  // With the old name still there the new one has to go, or the file would be in two places.
  (void)RemoveSecondName(to, areOne);
  return error;
}

bool IsEmptyFile(const Place &place) {
  struct stat item;
  return LookAt(place, &item) && S_ISREG(item.st_mode) && item.st_size == 0;
}

/// Takes the new name with an empty item of its own, which a plain rename may then replace. A file
/// replaces an empty file only, a folder by its nature an empty folder only.
int RenameOntoPlaceHolder(const Place &from, const Place &to, bool isFolder) {
  if (IsThere(to)) return EEXIST;
  int error = Change({"hold", to.name, to.folder}, [&] {
    if (isFolder) return mkdirat(to.folder.descriptor, to.name, 0700);
    const CDescriptor made(openat(to.folder.descriptor, to.name,
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return made.IsOpen() ? 0 : -1;
  });
  if (error != 0) return error;
  error = Change({"rename", from.name, from.folder, to.name, to.folder}, [&] {
    if (isFolder || IsEmptyFile(to)) {
      return renameat(from.folder.descriptor, from.name, to.folder.descriptor, to.name);
    }
    errno = EEXIST;
    return -1;
  });
  if (error != 0) (void)RemovePlaceHolder(to.folder, to.name);
  return error;
}

/// 0, or -1 with `errno`. What is changed is the item that was looked at, whatever is put in its
/// place meanwhile: a second name of a file elsewhere must not lose its protection.
int AddWritePermission(const OpenedFolder &folder, const char *name) {
  const CDescriptor item(openat(folder.descriptor, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat found;
  if (!item.IsOpen() || fstat(item.Get(), &found) != 0) return -1;
  if (!S_ISDIR(found.st_mode) && (S_ISLNK(found.st_mode) || found.st_nlink > 1)) {
    errno = EPERM;
    return -1;
  }
  // fchmod(2) takes no descriptor opened with O_PATH; its entry under /proc leads to the item.
  char path[32];
  (void)std::snprintf(path, sizeof path, "/proc/self/fd/%d", item.Get());
  return chmod(path, (found.st_mode & 07777) | S_IWUSR);
}

}  // namespace

void SetTreeChangeFault(TreeChangeFault fault) {
  changeFault = fault;
}

int RenameWithoutReplacing(const OpenedFolder &fromFolder, const char *from,
                           const OpenedFolder &toFolder, const char *to) {
  VolumeTraits &traits = TraitsOfVolume(EntryOf(fromFolder.index).device, fromFolder.descriptor);
  if (traits.hasRenameNoReplace) {
    const int error = Change({"rename", from, fromFolder, to, toFolder}, [&] {
      return renameat2(fromFolder.descriptor, from, toFolder.descriptor, to, RENAME_NOREPLACE);
    });
    if (!IsRefusalOfFlag(error)) return error;
  }
  const Place source{fromFolder, from};
  const Place destination{toFolder, to};
  struct stat item;
  if (!LookAt(source, &item)) return errno;
  const bool isFolder = S_ISDIR(item.st_mode);
  int error = EOPNOTSUPP;
  if (!isFolder && traits.hasLinks) error = LinkThenUnlink(source, destination);
  if (error == EOPNOTSUPP) {
    error = RenameOntoPlaceHolder(source, destination, isFolder);
    // Some items only have no links, on a volume that has them; but none is worth asking twice.
    if (error == 0 && !isFolder) traits.hasLinks = false;
  }
  // The refusal can also have been one of the arguments.
  if (error == 0) traits.hasRenameNoReplace = false;
  return error;
}

int RemovePlaceHolder(const OpenedFolder &folder, const char *name) {
  return Change({"release", name, folder}, [&] {
    struct stat item;
    if (!LookAt({folder, name}, &item)) return -1;
    if (S_ISDIR(item.st_mode)) return unlinkat(folder.descriptor, name, AT_REMOVEDIR);
    if (S_ISREG(item.st_mode) && item.st_size == 0) return unlinkat(folder.descriptor, name, 0);
    errno = ENOTEMPTY;
    return -1;
  });
}

int MakeFolder(const OpenedFolder &folder, const char *name) {
  return Change({"mkdir", name, folder}, [&] { return mkdirat(folder.descriptor, name, 0777); });
}

int RemoveFile(const OpenedFolder &folder, const char *name) {
  return Change({"unlink", name, folder}, [&] { return unlinkat(folder.descriptor, name, 0); });
}

int RemoveEmptyFolder(const OpenedFolder &folder, const char *name) {
  return Change({"rmdir", name, folder},
                [&] { return unlinkat(folder.descriptor, name, AT_REMOVEDIR); });
}

int MakeSymbolicLink(const OpenedFolder &folder, const char *name, const char *target) {
  return Change({"symlink", name, folder, target},
                [&] { return symlinkat(target, folder.descriptor, name); });
}

int RemoveSymbolicLink(const OpenedFolder &folder, const char *name, std::string_view target) {
  return Change({"unlink", name, folder}, [&] {
    std::array<char, PATH_MAX> found;
    const ssize_t length = readlinkat(folder.descriptor, name, found.data(), found.size());
    if (length < 0) return -1;
    if (target == std::string_view(found.data(), static_cast<std::size_t>(length))) {
      return unlinkat(folder.descriptor, name, 0);
    }
    errno = ESTALE;
    return -1;
  });
}

int AddOwnerWritePermission(const OpenedFolder &folder, const char *name) {
  return Change({"chmod", name, folder}, [&] { return AddWritePermission(folder, name); });
}

int ClearImmutableAttribute(const OpenedFolder &folder, const char *name) {
  struct stat item;
  if (fstatat(folder.descriptor, name, &item, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  // Opening a pipe or a device can have effects of its own; neither has the attribute.
  if (!S_ISREG(item.st_mode) && !S_ISDIR(item.st_mode)) return EPERM;
  return Change({"chattr", name, folder}, [&] {
    const int descriptor =
        openat(folder.descriptor, name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) return -1;
    int flags = 0;
    int result = ioctl(descriptor, FS_IOC_GETFLAGS, &flags);
    if (result == 0) {
      flags &= ~FS_IMMUTABLE_FL;
      result = ioctl(descriptor, FS_IOC_SETFLAGS, &flags);
    }
    const int error = errno;
    close(descriptor);
    errno = error;
    return result;
  });
}
