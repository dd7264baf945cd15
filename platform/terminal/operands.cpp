#include "platform/terminal/operands.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

bool IsSameItem(const struct stat &item, const char *path) {
  struct stat other;
  return path != nullptr && *path != '\0' && stat(path, &other) == 0 &&
         item.st_dev == other.st_dev && item.st_ino == other.st_ino;
}

/// By $HOME and by the password database alike: whichever the user means, flattening it would be an
/// accident.
bool IsHomeFolder(const struct stat &item) {
  if (IsSameItem(item, std::getenv("HOME"))) return true;
  const passwd *user = getpwuid(getuid());
  return user != nullptr && IsSameItem(item, user->pw_dir);
}

}  // namespace

bool ResolveOperand(const std::string &operand, bool isForced, FSRef *folder,
                    std::string *problem) {
  const std::unique_ptr<char, void (*)(void *)> path(realpath(operand.c_str(), nullptr), std::free);
  struct stat item;
  if (!path || lstat(path.get(), &item) != 0) {
    *problem = std::strerror(errno);
    return false;
  }
  if (!S_ISDIR(item.st_mode)) {
    *problem = std::strerror(ENOTDIR);
    return false;
  }
  if (!isForced && IsSameItem(item, "/")) {
    *problem = "this is the root folder; --force flattens it all the same";
    return false;
  }
  if (!isForced && IsHomeFolder(item)) {
    *problem = "this is your home folder; --force flattens it all the same";
    return false;
  }
  if (const OSStatus error = FSPathMakeRef(path.get(), folder, nullptr); error != noErr) {
    *problem = "cannot be opened (error " + std::to_string(error) + ")";
    return false;
  }
  return true;
}
