#include "platform/posix/finder_info.h"

#include <sys/xattr.h>

#include <cstdio>

FinderInfo ReadFinderInfo(const ItemLocation &location) {
  FinderInfo info{};
  // There is no `*at` form of lgetxattr(2); the folder's entry under /proc stands for its
  // descriptor (proc(5)).
  std::array<char, 320> path;
  std::snprintf(path.data(), path.size(), "/proc/self/fd/%d/%s", location.folder, location.name);
  for (const char *attribute : {"user.com.apple.FinderInfo", "osx.com.apple.FinderInfo"}) {
    const ssize_t size = lgetxattr(path.data(), attribute, info.data(), info.size());
    if (size == static_cast<ssize_t>(info.size())) return info;
    info.fill(0);
  }
  return info;
}
