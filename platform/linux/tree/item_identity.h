/// By what an item is known again when it may have another name.
#pragma once

#include <cstdint>

struct ItemIdentity {
  std::uint64_t inode = 0;
  /// When it was made, in nanoseconds since 1970; 0 where the file system does not keep it. Tells
  /// an item from another that has been given the inode number of a deleted one.
  std::uint64_t birth = 0;

  bool operator==(const ItemIdentity &) const = default;
};
