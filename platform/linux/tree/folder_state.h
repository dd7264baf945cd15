/// What changes of a folder when its items are changed, or is lost when it is removed.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct FolderState {
  std::uint32_t mode = 0;  ///< the permission bits of inode(7)
  std::uint32_t owner = 0;
  std::uint32_t group = 0;
  std::int64_t modified = 0;  ///< in nanoseconds since 1970

  bool operator==(const FolderState &) const = default;
};

/// The extended attributes of an item (xattr(7)), by name; a value is any bytes.
using ItemAttributes = std::vector<std::pair<std::string, std::string>>;
