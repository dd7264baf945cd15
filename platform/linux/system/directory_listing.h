/// The entries of one open folder.
#pragma once

#include <dirent.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

/// Calls `visit(name, type, inode)` for every entry but "." and ".." of a folder opened for
/// reading, whose position is at its start; the type is one of readdir(3)'s DT_ constants. Returns
/// 0 or an `errno` value.
template <typename Visit>
int VisitDirectory(int descriptor, Visit visit) {
  alignas(struct dirent64) static std::array<char, 65536> buffer;
  for (;;) {
    const ssize_t size = getdents64(descriptor, buffer.data(), buffer.size());
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return size < 0 ? errno : 0;
    for (ssize_t at = 0; at < size;) {
      const auto *entry = reinterpret_cast<const struct dirent64 *>(buffer.data() + at);
      const std::string_view name(entry->d_name);
      if (name != "." && name != "..") visit(name, entry->d_type, entry->d_ino);
      at += entry->d_reclen;
    }
  }
}
