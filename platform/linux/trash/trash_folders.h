/// Where a user's trash is (freedesktop.org Trash 1.0, "Trash directories"): the home trash for
/// what lies on its volume, and for each other volume one in the folder that the volume is mounted
/// on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/tree/tree_layer.h"

enum class TrashKind : std::uint8_t {
  kHome,    ///< $XDG_DATA_HOME/Trash
  kShared,  ///< .Trash/UID, in a sticky folder that the administrator has made for all users
  kOwn,     ///< .Trash-UID
};
/// In the order in which they are tried.
inline constexpr TrashKind kTrashKinds[] = {TrashKind::kHome, TrashKind::kShared, TrashKind::kOwn};

struct TrashFolder {
  std::string path;  ///< absolute
  std::string
      topPath;  ///< its .trashinfo files tell paths relative to this; absolute ones if empty
  FolderIndex folder;
  FolderIndex files;
  FolderIndex info;
};

/// Finds the trash of that kind for what lies in the folder `near` on the volume `device`. If
/// `isMade`, what is missing of it is made, for the user alone. Answers nothing where it cannot be
/// used: it has to be the user's own, real folder, on the very volume.
std::optional<TrashFolder> FindTrash(TrashKind kind, FolderIndex near, std::uint64_t device,
                                     bool isMade);
