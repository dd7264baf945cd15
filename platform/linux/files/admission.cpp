#include "platform/linux/files/admission.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "platform/home_folder.h"
#include "platform/linux/tree/item_location.h"

namespace {

/// By $HOME and by the password database alike: whichever the user means.
const char *HomeByDatabase() {
  const passwd *user = getpwuid(getuid());
  return user != nullptr ? user->pw_dir : nullptr;
}

/// Without links; null for what is not there.
using ResolvedPath = std::unique_ptr<char, void (*)(void *)>;
ResolvedPath Resolve(const char *path) {
  return {path != nullptr ? realpath(path, nullptr) : nullptr, std::free};
}

bool IsSameItem(const struct stat &item, const char *path) {
  struct stat other;
  return path != nullptr && *path != '\0' && stat(path, &other) == 0 &&
         item.st_dev == other.st_dev && item.st_ino == other.st_ino;
}

/// Flattening it would be an accident.
bool IsHomeFolder(const struct stat &item) {
  return IsSameItem(item, std::getenv("HOME")) || IsSameItem(item, HomeByDatabase());
}

/// Whether the item is one of the folders above the one at `path`.
bool IsAbove(const struct stat &item, const char *path) {
  const ResolvedPath resolved = Resolve(path);
  if (resolved == nullptr) return false;
  for (std::string above = resolved.get(); above.size() > 1;) {
    above.resize(std::max(above.rfind('/'), std::size_t{1}));
    if (IsSameItem(item, above.c_str())) return true;
  }
  return false;
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
  const ResolvedPath resolved = Resolve(path.c_str());
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

bool IsHomeBelow(const FSRef &folder) {
  struct stat item;
  if (stat(PathOnDisk(folder).c_str(), &item) != 0) return false;
  return IsAbove(item, std::getenv("HOME")) || IsAbove(item, HomeByDatabase());
}
