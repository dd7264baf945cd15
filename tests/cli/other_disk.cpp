/// Loaded before the program, makes the disk a slow one, or one that cannot be told to rename
/// without replacing. Environment variables say what:
///
///   OTHER_DISK_DELAY_US         every rename takes that many microseconds longer
///   OTHER_DISK_DELETE_DELAY_US  so does every deletion
///   OTHER_DISK_HOLD             the N-th rename of an item with a temporary name never ends
///   OTHER_DISK_NO_FLAGS         a rename with flags fails with EINVAL, as on NFS
///   OTHER_DISK_REFUSALS         a file that gets one byte for each such failure

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

void Note(const char *path) {
  const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (file < 0) return;
  (void)!write(file, ".", 1);
  close(file);
}

void TakeTime(const char *variable) {
  if (const char *delay = std::getenv(variable); delay != nullptr) {
    usleep(static_cast<useconds_t>(std::atoi(delay)));
  }
}

/// Whether this is the rename that is to be held.
bool IsHeld(const char *from) {
  static int renames = 0;
  const char *number = std::getenv("OTHER_DISK_HOLD");
  return number != nullptr && std::strcmp(from, "517A7274") == 0 && ++renames == std::atoi(number);
}

}  // namespace

extern "C" int unlinkat(int folder, const char *name, int flags) noexcept {
  using Unlink = int (*)(int, const char *, int);
  static const Unlink next = reinterpret_cast<Unlink>(dlsym(RTLD_NEXT, "unlinkat"));
  TakeTime("OTHER_DISK_DELETE_DELAY_US");
  return next(folder, name, flags);
}

extern "C" int renameat2(int fromFolder, const char *from, int toFolder, const char *to,
                         unsigned int flags) noexcept {
  using Rename = int (*)(int, const char *, int, const char *, unsigned int);
  static const Rename next = reinterpret_cast<Rename>(dlsym(RTLD_NEXT, "renameat2"));
  TakeTime("OTHER_DISK_DELAY_US");
  if (IsHeld(from)) {
    for (;;) pause();
  }
  if (flags != 0 && std::getenv("OTHER_DISK_NO_FLAGS") != nullptr) {
    if (const char *path = std::getenv("OTHER_DISK_REFUSALS"); path != nullptr) Note(path);
    errno = EINVAL;
    return -1;
  }
  return next(fromFolder, from, toFolder, to, flags);
}
