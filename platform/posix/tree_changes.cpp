#include "platform/posix/tree_changes.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

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
  error = RemoveFile(fromFolder, from);
  // With the old name still there the new one has to go, or the file would be in two places.
  if (error != 0) (void)RemoveFile(toFolder, to);
  return error;
}

int RenameAfterLookup(const OpenedFolder &fromFolder, const char *from,
                      const OpenedFolder &toFolder, const char *to) {
  struct stat taken;
  if (fstatat(toFolder.descriptor, to, &taken, AT_SYMLINK_NOFOLLOW) == 0) return EEXIST;
  if (errno != ENOENT) return errno;
  // A folder can only replace an empty folder, so even one that appears now costs no file.
  return Change({"rename", from, fromFolder, to, toFolder},
                [&] { return renameat(fromFolder.descriptor, from, toFolder.descriptor, to); });
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

int AddOwnerWritePermission(const OpenedFolder &folder, const char *name, mode_t currentMode) {
  return Change({"chmod", name, folder}, [&] {
    return fchmodat(folder.descriptor, name, (currentMode & 07777) | S_IWUSR, AT_SYMLINK_NOFOLLOW);
  });
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
