#include "platform/linux/trash/trash_folders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/linux/system/config_folders.h"
#include "platform/linux/system/log.h"
#include "platform/linux/system/safe_file.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/tree_changes.h"

namespace {

/// What a folder of a trash has to be.
struct Need {
  std::uint64_t device;
  bool isMade;  ///< what is missing
};

bool LookAtFolder(FolderIndex folder, ItemStatus *status) {
  int descriptor = -1;
  return OpenTableFolder(folder, &descriptor) == noErr && Tree().Look(descriptor, "", status) == 0;
}

/// Enters the folder called `name`, never by a link; 0 when it cannot be entered.
FolderIndex Enter(FolderIndex parent, const std::string &name, bool isMade) {
  FolderIndex folder = 0;
  int descriptor = -1;
  OSErr error = EnterFolder(parent, name.c_str(), &folder, &descriptor);
  if (error == fnfErr && isMade && OpenTableFolder(parent, &descriptor) == noErr) {
    const int failure = MakePrivateFolder({descriptor, parent}, name.c_str());
    if (failure != 0 && failure != EEXIST) return 0;
    error = EnterFolder(parent, name.c_str(), &folder, &descriptor);
  }
  return error == noErr ? folder : 0;
}

/// Enters the folder at an absolute path that has no link in it.
FolderIndex EnterPath(const std::string &path, bool isMade) {
  FolderIndex folder = kRootFolder;
  for (std::size_t at = 1; at < path.size() && folder != 0;) {
    const std::size_t end = std::min(path.find('/', at), path.size());
    if (end > at) folder = Enter(folder, path.substr(at, end - at), isMade);
    at = end + 1;
  }
  return folder;
}

/// Whether a folder is the user's and lies on the volume: what another one owns he could take back,
/// and to another volume nothing can be renamed.
bool IsOwn(FolderIndex folder, const Need &need) {
  ItemStatus status;
  return folder != 0 && LookAtFolder(folder, &status) && status.owner == geteuid() &&
         status.device == need.device;
}

FolderIndex EnterOwn(FolderIndex parent, const std::string &name, const Need &need) {
  const FolderIndex folder = Enter(parent, name, need.isMade);
  return IsOwn(folder, need) ? folder : 0;
}

std::string PathOfFolder(FolderIndex folder) {
  return PathOnDisk(RefOfFolder(folder));
}

/// The trash that is a folder, with the two folders in it.
std::optional<TrashFolder> TrashIn(FolderIndex folder, std::string topPath, const Need &need) {
  if (!IsOwn(folder, need)) return std::nullopt;
  const FolderIndex files = EnterOwn(folder, "files", need);
  const FolderIndex info = EnterOwn(folder, "info", need);
  if (files == 0 || info == 0) return std::nullopt;
  return TrashFolder{PathOfFolder(folder), std::move(topPath), folder, files, info};
}

/// A user may have put links on the way to the home trash. It is made only beside what is the
/// user's and on the volume: an administrator with somebody else's home leaves no folder there.
std::optional<TrashFolder> HomeTrash(const Need &need) {
  const std::string path = UserTrashFolder();
  std::string existing = path;
  const auto resolve = [](const std::string &way) {
    return std::unique_ptr<char, void (*)(void *)>(realpath(way.c_str(), nullptr), std::free);
  };
  auto resolved = resolve(existing);
  while (resolved == nullptr && need.isMade && errno == ENOENT && existing.size() > 1) {
    existing = FolderOf(existing);
    resolved = resolve(existing);
  }
  if (resolved == nullptr || !IsOwn(EnterPath(resolved.get(), false), need)) return std::nullopt;
  return TrashIn(EnterPath(resolved.get() + path.substr(existing.size()), need.isMade), {}, need);
}

/// The folder that the volume is mounted on; the entries above `near` up to there are of folders
/// that were found one in the other. Entered anew by its path, so that it stays in the table.
FolderIndex TopFolder(FolderIndex near) {
  FolderIndex top = near;
  for (ItemStatus status; top != kRootFolder; top = EntryOf(top).parent) {
    if (!LookAtFolder(top, &status)) return 0;
    if (status.isMountPoint) break;
  }
  const FolderEntry found = EntryOf(top);
  const FolderIndex entered = EnterPath(PathOfFolder(top), false);
  const bool isSame = entered != 0 && EntryOf(entered).device == found.device &&
                      EntryOf(entered).inode == found.inode;
  return isSame ? entered : 0;
}

/// The folder for all users: without the sticky bit one could rename what is another's.
FolderIndex SharedFolder(FolderIndex top) {
  const FolderIndex shared = Enter(top, ".Trash", false);
  ItemStatus status;
  if (shared == 0 || !LookAtFolder(shared, &status)) return 0;
  if ((status.mode & S_ISVTX) != 0) return shared;
  static bool isTold = false;
  if (!isTold) WriteToSystemLog(PathOfFolder(shared) + ": is not used, as it has no sticky bit");
  isTold = true;
  return 0;
}

}  // namespace

std::optional<TrashFolder> FindTrash(TrashKind kind, FolderIndex near, std::uint64_t device,
                                     bool isMade) {
  const Need need{device, isMade};
  if (kind == TrashKind::kHome) return HomeTrash(need);
  const FolderIndex top = TopFolder(near);
  if (top == 0 || EntryOf(top).device != device) return std::nullopt;
  const std::string user = std::to_string(geteuid());
  const FolderIndex parent = kind == TrashKind::kShared ? SharedFolder(top) : top;
  if (parent == 0) return std::nullopt;
  const std::string name = kind == TrashKind::kShared ? user : ".Trash-" + user;
  return TrashIn(Enter(parent, name, isMade), PathOfFolder(top), need);
}
