#include "platform/linux/files/admission.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
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

const char *WhyProtected(const struct stat &folder) {
  if (IsSameItem(folder, "/")) return "this is the root folder";
  return IsHomeFolder(folder) ? "this is your home folder" : nullptr;
}

std::string AbsolutePath(const std::string &path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

Admission Refuse(std::string path, std::string reason, bool isProtected = false) {
  return {std::nullopt, std::move(path), std::move(reason), isProtected};
}

}  // namespace

Admission AdmitFolder(const std::string &path, bool isForced) {
  const std::unique_ptr<char, void (*)(void *)> resolved(realpath(path.c_str(), nullptr),
                                                         std::free);
  struct stat item;
  if (!resolved || lstat(resolved.get(), &item) != 0)
    return Refuse(AbsolutePath(path), std::strerror(errno));
  if (!S_ISDIR(item.st_mode)) return Refuse(AbsolutePath(path), std::strerror(ENOTDIR));
  if (const char *reason = WhyProtected(item); reason != nullptr && !isForced)
    return Refuse(std::string(resolved.get()), reason, true);
  FSRef folder;
  if (const OSStatus error = FSPathMakeRef(resolved.get(), &folder, nullptr); error != noErr)
    return Refuse(std::string(resolved.get()),
                  "cannot be opened (error " + std::to_string(error) + ")");
  return {folder, std::string(resolved.get()), {}, false};
}
