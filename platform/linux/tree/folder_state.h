/// What changes of a folder when its items are changed, or is lost when it is removed.
#pragma once

#include <cstdint>

struct FolderState {
  std::uint32_t mode = 0;  ///< the permission bits of inode(7)
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  std::int64_t modified = 0;  ///< in nanoseconds since 1970

  bool operator==(const FolderState &) const = default;
};
