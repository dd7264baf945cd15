#include "platform/posix/tree_changes.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "platform/posix/descriptor.h"
#include "platform/posix/run_journal.h"

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

bool IsSameItem(const OpenedFolder &firstFolder, const char *first,
                const OpenedFolder &secondFolder, const char *second) {
  struct stat a;
  struct stat b;
  return fstatat(firstFolder.descriptor, first, &a, AT_SYMLINK_NOFOLLOW) == 0 &&
         fstatat(secondFolder.descriptor, second, &b, AT_SYMLINK_NOFOLLOW) == 0 &&
         a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool IsThere(const OpenedFolder &folder, const char *name) {
  struct stat item;
  return fstatat(folder.descriptor, name, &item, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Removes a name of a file that has the other one too, and nothing else: a program that saves by
/// renaming may have put a new file there.
int RemoveSecondName(const OpenedFolder &folder, const char *name, const OpenedFolder &otherFolder,
                     const char *other) {
  return Change({"unlink", name, folder}, [&] {
    if (IsSameItem(folder, name, otherFolder, other)) return unlinkat(folder.descriptor, name, 0);
    errno = ESTALE;
    return -1;
  });
}

int LinkThenUnlink(const OpenedFolder &fromFolder, const char *from, const OpenedFolder &toFolder,
                   const char *to) {
  // Looked up before it is recorded: two names of one file that the user has given it must not be
  // taken for a link that was made here.
  struct stat taken;
  if (fstatat(toFolder.descriptor, to, &taken, AT_SYMLINK_NOFOLLOW) == 0) return EEXIST;
  int error = Change({"link", from, fromFolder, to, toFolder}, [&] {
    return linkat(fromFolder.descriptor, from, toFolder.descriptor, to, 0);
  });
  if (IsRefusalToLink(error)) return EOPNOTSUPP;
  if (error != 0) return error;
  error = RemoveSecondName(fromFolder, from, toFolder, to);
  if (error == 0) return 0;
  // When another program has taken the old name away, the file has moved all the same.
  if (!IsSameItem(fromFolder, from, toFolder, to)) return IsThere(toFolder, to) ? 0 : error;
  // With the old name still there the new one has to go, or the file would be in two places.
  (void)RemoveSecondName(toFolder, to, fromFolder, from);
  return error;
}

int RenameAfterLookup(const OpenedFolder &fromFolder, const char *from,
                      const OpenedFolder &toFolder, const char *to) {
  struct stat taken;
  if (fstatat(toFolder.descriptor, to, &taken, AT_SYMLINK_NOFOLLOW) == 0) return EEXIST;
  if (errno != ENOENT) return errno;
  // A folder can only replace an empty folder, so even one that appears now costs no file. The
  // slash refuses what has become a file meanwhile.
  const std::string folder = std::string(from) + '/';
  return Change({"rename", from, fromFolder, to, toFolder}, [&] {
    return renameat(fromFolder.descriptor, folder.c_str(), toFolder.descriptor, to);
  });
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
  const int error = Change({"rename", from, fromFolder, to, toFolder}, [&] {
    return renameat2(fromFolder.descriptor, from, toFolder.descriptor, to, RENAME_NOREPLACE);
  });
  if (!IsRefusalOfFlag(error)) return error;
  struct stat item;
  if (fstatat(fromFolder.descriptor, from, &item, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  return S_ISDIR(item.st_mode) ? RenameAfterLookup(fromFolder, from, toFolder, to)
                               : LinkThenUnlink(fromFolder, from, toFolder, to);
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
