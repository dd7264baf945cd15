#include "platform/posix/finder_info.h"

#include <sys/xattr.h>

#include <string>

#include "platform/posix/item_location.h"
#include "platform/posix/working_folder.h"

namespace {

/// Reads with `getAttribute`, which takes what lgetxattr(2) takes after the path.
template <typename GetAttribute>
FinderInfo ReadWith(GetAttribute getAttribute) {
  FinderInfo info{};
  for (const char *attribute : {"user.com.apple.FinderInfo", "osx.com.apple.FinderInfo"}) {
    const ssize_t size = getAttribute(attribute, info.data(), info.size());
    if (size == static_cast<ssize_t>(info.size())) return info;
    info.fill(0);
  }
  return info;
}

}  // namespace

FinderInfo ReadFinderInfo(const FSRef &item) {
  ItemLocation location;
  if (LocateItem(item, &location) != noErr) return {};
  // Where the folder cannot be made the current one, its entry under /proc stands for its
  // descriptor (proc(5)).
  static std::string path;  // asked for every item of a folder, it keeps its memory
  path.clear();
  if (!WorkInFolder(ReferenceIn(item).folder, location.folder)) {
    path.append("/proc/self/fd/").append(std::to_string(location.folder)).append("/");
  }
  path += location.name;
  // Hardly any item has attributes, and that is told by one call.
  if (llistxattr(path.c_str(), nullptr, 0) == 0) return {};
  return ReadWith([](const char *attribute, void *value, std::size_t size) {
    return lgetxattr(path.c_str(), attribute, value, size);
  });
}

FinderInfo ReadFinderInfo(int descriptor) {
  if (flistxattr(descriptor, nullptr, 0) == 0) return {};
  return ReadWith([descriptor](const char *attribute, void *value, std::size_t size) {
    return fgetxattr(descriptor, attribute, value, size);
  });
}
