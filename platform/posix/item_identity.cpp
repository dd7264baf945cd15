#include "platform/posix/item_identity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>

int IdentifyItem(int folder, const char *name, IdentifiedItem *item) {
  struct statx found;
  const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | (*name == '\0' ? AT_EMPTY_PATH : 0);
  if (statx(folder, name, flags, STATX_TYPE | STATX_NLINK | STATX_INO | STATX_BTIME, &found) != 0) {
    return errno;
  }
  item->identity.inode = found.stx_ino;
  item->identity.birth = 0;
  if ((found.stx_mask & STATX_BTIME) != 0 && found.stx_btime.tv_sec >= 0) {
    item->identity.birth = static_cast<std::uint64_t>(found.stx_btime.tv_sec) * 1'000'000'000 +
                           found.stx_btime.tv_nsec;
  }
  item->device = makedev(found.stx_dev_major, found.stx_dev_minor);
  item->linkCount = found.stx_nlink;
  item->isFolder = S_ISDIR(found.stx_mode);
  return 0;
}
