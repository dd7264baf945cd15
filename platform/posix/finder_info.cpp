#include "platform/posix/finder_info.h"

#include <sys/xattr.h>

#include <cstdio>

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

FinderInfo ReadFinderInfo(const ItemLocation &location) {
  // There is no `*at` form of lgetxattr(2); the folder's entry under /proc stands for its
  // descriptor (proc(5)).
  std::array<char, 320> path;
  std::snprintf(path.data(), path.size(), "/proc/self/fd/%d/%s", location.folder, location.name);
  return ReadWith([&path](const char *attribute, void *value, std::size_t size) {
    return lgetxattr(path.data(), attribute, value, size);
  });
}

FinderInfo ReadFinderInfo(int descriptor) {
  // Hardly any item has attributes, and that is told by one call.
  if (flistxattr(descriptor, nullptr, 0) == 0) return {};
  return ReadWith([descriptor](const char *attribute, void *value, std::size_t size) {
    return fgetxattr(descriptor, attribute, value, size);
  });
}
