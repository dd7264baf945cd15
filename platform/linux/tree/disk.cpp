#include "platform/linux/tree/disk.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/openat2.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <optional>
#include <utility>

#include "platform/linux/system/descriptor.h"
#include "platform/linux/system/directory_listing.h"
#include "platform/linux/system/safe_file.h"
#include "platform/linux/tree/working_folder.h"

namespace {

/// 0, or what `errno` says, of a call that answers -1 when it fails.
int ErrorOf(long result) {
  return result < 0 ? errno : 0;
}

template <typename Time>
std::int64_t Nanoseconds(const Time &time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

int LookAt(int folder, const char *name, int flags, ItemStatus *status) {
  constexpr unsigned kWanted = STATX_TYPE | STATX_MODE | STATX_UID | STATX_GID | STATX_NLINK |
                               STATX_INO | STATX_SIZE | STATX_BLOCKS | STATX_MTIME | STATX_CTIME |
                               STATX_BTIME;
  struct statx found;
  if (statx(folder, name, flags | AT_NO_AUTOMOUNT, kWanted, &found) != 0) return errno;
  status->device = makedev(found.stx_dev_major, found.stx_dev_minor);
  status->identity.inode = found.stx_ino;
  const bool hasBirth = (found.stx_mask & STATX_BTIME) != 0 && found.stx_btime.tv_sec >= 0;
  status->identity.birth = hasBirth ? static_cast<std::uint64_t>(Nanoseconds(found.stx_btime)) : 0;
  status->mode = found.stx_mode;
  status->owner = found.stx_uid;
  status->group = found.stx_gid;
  status->linkCount = found.stx_nlink;
  status->size = found.stx_size;
  status->diskUse = found.stx_blocks * 512;
  status->modified = Nanoseconds(found.stx_mtime);
  status->changed = Nanoseconds(found.stx_ctime);
  status->isImmutable = (found.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
  status->isAppendOnly = (found.stx_attributes & STATX_ATTR_APPEND) != 0;
  status->isMountPoint = (found.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
  return 0;
}

/// Whether an item has no attributes, as hardly any has one, by the answer of listxattr(2). Where a
/// volume has none to list it is not asked for each.
bool HasNoAttributes(ssize_t listed) {
  return listed == 0 || (listed < 0 && errno == EOPNOTSUPP);
}

/// Reads with `getAttribute`, which takes what lgetxattr(2) takes after the path.
template <typename GetAttribute>
FinderInfo ReadFinderInfoWith(GetAttribute getAttribute) {
  FinderInfo info{};
  for (const char *attribute : {"user.com.apple.FinderInfo", "osx.com.apple.FinderInfo"}) {
    const ssize_t size = getAttribute(attribute, info.data(), info.size());
    if (size == static_cast<ssize_t>(info.size())) return info;
    info.fill(0);
  }
  return info;
}

FinderInfo ReadFinderInfoOf(int descriptor) {
  if (HasNoAttributes(flistxattr(descriptor, nullptr, 0))) return {};
  return ReadFinderInfoWith([descriptor](const char *attribute, void *value, std::size_t size) {
    return fgetxattr(descriptor, attribute, value, size);
  });
}

/// The path of an item by the descriptor of its folder, for calls that take no descriptor
/// (proc(5)).
std::string PathByDescriptor(const OpenedFolder &folder, const char *name) {
  return "/proc/self/fd/" + std::to_string(folder.descriptor) + "/" + name;
}

int ReplaceSmallFile(const TreeChange &change) {
  const std::string path = PathByDescriptor(change.folder, change.name);
  struct stat old;
  if (fstatat(change.folder.descriptor, change.name, &old, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  return S_ISREG(old.st_mode) ? ReplaceFile(path, change.content, &old) : EINVAL;
}

int Hold(const TreeChange &change) {
  if (change.kind == ChangeKind::kHoldFolder) {
    return ErrorOf(mkdirat(change.folder.descriptor, change.name, 0700));
  }
  const CDescriptor made(openat(change.folder.descriptor, change.name,
                                O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  return made.IsOpen() ? 0 : errno;
}

/// A rename replaces a folder only while it is empty; of a file it has to be asked.
int Replace(const TreeChange &change) {
  ItemStatus replaced{};
  const int error =
      LookAt(change.newFolder.descriptor, change.newName, AT_SYMLINK_NOFOLLOW, &replaced);
  if (error != 0) return error;
  if (!replaced.IsFolder() && (!replaced.IsFile() || replaced.size != 0)) return EEXIST;
  return ErrorOf(
      renameat(change.folder.descriptor, change.name, change.newFolder.descriptor, change.newName));
}

int Release(const TreeChange &change) {
  ItemStatus item{};
  const int folder = change.folder.descriptor;
  if (int error = LookAt(folder, change.name, AT_SYMLINK_NOFOLLOW, &item); error != 0) return error;
  if (item.IsFolder()) return ErrorOf(unlinkat(folder, change.name, AT_REMOVEDIR));
  if (!item.IsFile() || item.size != 0) return ENOTEMPTY;
  return ErrorOf(unlinkat(folder, change.name, 0));
}

/// Leads to the item behind a descriptor that is good for no more than that (O_PATH), for the calls
/// that take none of those (proc(5)).
class CPathOfDescriptor {
 public:
  explicit CPathOfDescriptor(int descriptor) {
    (void)std::snprintf(path_, sizeof path_, "/proc/self/fd/%d", descriptor);
  }
  const char *Get() const { return path_; }

 private:
  char path_[32];
};

/// What is changed is the item that was looked at, whatever is put in its place meanwhile: a second
/// name of a file elsewhere must not lose its protection.
int ChangeMode(const TreeChange &change) {
  const CDescriptor item(
      openat(change.folder.descriptor, change.name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat found;
  if (!item.IsOpen() || fstat(item.Get(), &found) != 0) return errno;
  if (!S_ISDIR(found.st_mode) && (S_ISLNK(found.st_mode) || found.st_nlink > 1)) return EPERM;
  const mode_t mode =
      change.kind == ChangeKind::kSetMode ? change.state->mode : found.st_mode | S_IWUSR;
  return ErrorOf(chmod(CPathOfDescriptor(item.Get()).Get(), mode & 07777));
}

int ChangeImmutable(const TreeChange &change) {
  const CDescriptor item(openat(change.folder.descriptor, change.name,
                                O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
  int flags = 0;
  if (!item.IsOpen() || ioctl(item.Get(), FS_IOC_GETFLAGS, &flags) != 0) return errno;
  if (change.kind == ChangeKind::kSetImmutable) {
    flags |= FS_IMMUTABLE_FL;
  } else {
    flags &= ~FS_IMMUTABLE_FL;
  }
  return ErrorOf(ioctl(item.Get(), FS_IOC_SETFLAGS, &flags));
}

/// The owner first: giving a folder away takes bits off its mode.
int SetState(int folder, const FolderState &state) {
  struct stat found;
  if (fstat(folder, &found) != 0) return errno;
  const CPathOfDescriptor path(folder);
  if (found.st_uid != state.owner || found.st_gid != state.group) {
    if (chown(path.Get(), state.owner, state.group) != 0 &&
        chown(path.Get(), static_cast<uid_t>(-1), state.group) != 0 && errno != EPERM) {
      return errno;
    }
    if (fstat(folder, &found) != 0) return errno;
  }
  if ((found.st_mode & 07777) != state.mode && chmod(path.Get(), state.mode) != 0) return errno;
  constexpr std::int64_t kSecond = 1'000'000'000;
  // Before 1970 the nanoseconds count forward too.
  const std::int64_t rest = (state.modified % kSecond + kSecond) % kSecond;
  const timespec times[] = {{0, UTIME_OMIT}, {(state.modified - rest) / kSecond, rest}};
  return ErrorOf(utimensat(AT_FDCWD, path.Get(), times, 0));
}

/// An answer of two calls, of which the first tells how long it is, with a null buffer.
template <typename Read>
std::optional<std::string> ReadOfUnknownSize(Read read) {
  const ssize_t size = read(nullptr, 0);
  if (size < 0) return std::nullopt;
  std::string bytes(static_cast<std::size_t>(size), '\0');
  const ssize_t count = read(bytes.data(), bytes.size());
  if (count < 0) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(count));
  return bytes;
}

ItemAttributes ReadAttributesAt(const char *path) {
  ItemAttributes attributes;
  const auto names = ReadOfUnknownSize(
      [&](char *buffer, std::size_t size) { return llistxattr(path, buffer, size); });
  if (!names) return attributes;
  for (std::size_t start = 0; start < names->size();) {
    std::string name = names->c_str() + start;
    start += name.size() + 1;
    auto value = ReadOfUnknownSize([&](char *buffer, std::size_t size) {
      return lgetxattr(path, name.c_str(), buffer, size);
    });
    if (value) attributes.emplace_back(std::move(name), *std::move(value));
  }
  return attributes;
}

/// What the system keeps for itself, as a label of its security, cannot be set by everybody.
int SetAttributes(int folder, const ItemAttributes &attributes) {
  // With something behind it, the path leads through the descriptor to the folder.
  const std::string path = std::string(CPathOfDescriptor(folder).Get()) + "/.";
  for (const auto &[name, value] : ReadAttributesAt(path.c_str())) {
    if (std::ranges::find(attributes, name, &std::pair<std::string, std::string>::first) ==
        attributes.end()) {
      (void)lremovexattr(path.c_str(), name.c_str());
    }
  }
  int error = 0;
  for (const auto &[name, value] : attributes) {
    if (lsetxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0) != 0 &&
        name.starts_with("user.")) {
      error = errno;
    }
  }
  return error;
}

/// For the calls that take no folder to start from. Good until it is asked for again. Where the
/// folder cannot be made the current one, its entry under /proc stands for its descriptor
/// (proc(5)).
const char *PathOf(const OpenedFolder &folder, const char *name) {
  static std::string path;  // asked for every item of a folder, it keeps its memory
  path.clear();
  if (!WorkInFolder(folder.index, folder.descriptor)) {
    path.append("/proc/self/fd/").append(std::to_string(folder.descriptor)).append("/");
  }
  path += name;
  return path.c_str();
}

class CDisk final : public CTreeLayer {
 public:
  int Change(const TreeChange &change) override {
    if (change.onlyIf && !change.onlyIf()) return ESTALE;
    const int from = change.folder.descriptor;
    const int to = change.newFolder.descriptor;
    switch (change.kind) {
      case ChangeKind::kRename:
        return ErrorOf(renameat2(from, change.name, to, change.newName, RENAME_NOREPLACE));
      case ChangeKind::kReplace:
        return Replace(change);
      case ChangeKind::kLink:
        return ErrorOf(linkat(from, change.name, to, change.newName, 0));
      case ChangeKind::kHoldFile:
      case ChangeKind::kHoldFolder:
        return Hold(change);
      case ChangeKind::kRelease:
        return Release(change);
      case ChangeKind::kMakeFolder:
        return ErrorOf(mkdirat(from, change.name, 0777));
      case ChangeKind::kMakePrivateFolder:
        return ErrorOf(mkdirat(from, change.name, 0700));
      case ChangeKind::kRemoveFolder:
        return ErrorOf(unlinkat(from, change.name, AT_REMOVEDIR));
      case ChangeKind::kRemoveFile:
        return ErrorOf(unlinkat(from, change.name, 0));
      case ChangeKind::kMakeLink:
        return ErrorOf(symlinkat(change.newName, from, change.name));
      case ChangeKind::kMakeFile:
        return WriteNewFile(PathByDescriptor(change.folder, change.name), change.content, 0600);
      case ChangeKind::kReplaceFile:
        return ReplaceSmallFile(change);
      case ChangeKind::kAllowWriting:
      case ChangeKind::kSetMode:
        return ChangeMode(change);
      case ChangeKind::kClearImmutable:
      case ChangeKind::kSetImmutable:
        return ChangeImmutable(change);
      case ChangeKind::kSetState:
        return SetState(from, *change.state);
      case ChangeKind::kSetAttributes:
        break;
    }
    return SetAttributes(from, *change.attributes);
  }

  void BeginMove(const TreeMove & /*move*/) override {}
  void EndMove() override {}

  int OpenFolder(int folder, const char *name, FolderUse use, int *descriptor) override {
    const int flags = use == FolderUse::kListing ? O_RDONLY : O_PATH;
    do {
      *descriptor = openat(folder, name, flags | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    } while (*descriptor < 0 && errno == EINTR);
    return ErrorOf(*descriptor);
  }

  void CloseFolder(int descriptor) override { (void)close(descriptor); }

  int Look(int folder, const char *name, ItemStatus *status) override {
    return LookAt(folder, name, AT_SYMLINK_NOFOLLOW | (*name == '\0' ? AT_EMPTY_PATH : 0), status);
  }

  int LookUp(const OpenedFolder &folder, const char *name, ItemStatus *status) override {
    return Look(folder.descriptor, name, status);
  }

  /// A kernel that cannot promise to stay in the folder finds nothing.
  int LookBehindLink(int folder, const char *name, ItemStatus *status) override {
    open_how how{};
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS | RESOLVE_NO_XDEV;
    const CDescriptor item(static_cast<int>(syscall(SYS_openat2, folder, name, &how, sizeof how)));
    return item.IsOpen() ? LookAt(item.Get(), "", AT_EMPTY_PATH, status) : errno;
  }

  int ReadLink(int folder, const char *name, std::string *target) override {
    target->resize(PATH_MAX);
    const ssize_t length = readlinkat(folder, name, target->data(), target->size());
    if (length < 0) return errno;
    target->resize(static_cast<std::size_t>(length));
    return 0;
  }

  int List(int folder, const ItemVisitor &visit) override { return VisitDirectory(folder, visit); }

  FinderInfo ReadFinderInfo(const OpenedFolder &folder, const char *name) override {
    if (*name == '\0') return ReadFinderInfoOf(folder.descriptor);
    const char *const path = PathOf(folder, name);
    if (HasNoAttributes(llistxattr(path, nullptr, 0))) return {};
    return ReadFinderInfoWith([path](const char *attribute, void *value, std::size_t size) {
      return lgetxattr(path, attribute, value, size);
    });
  }

  /// Reading goes by the place that was looked at, so that nothing else is ever opened, as a pipe
  /// that is put there meanwhile.
  int ReadFile(int folder, const char *name, std::size_t most, std::string *content) override {
    content->clear();
    const CDescriptor place(openat(folder, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status;
    if (!place.IsOpen() || fstat(place.Get(), &status) != 0) return errno;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    const std::string path = "/proc/self/fd/" + std::to_string(place.Get());
    if (ReadWholeFile(path, most, content, &status) != 0) content->clear();
    return 0;
  }

  ItemAttributes ReadAttributes(const OpenedFolder &folder, const char *name) override {
    const char *const path = PathOf(folder, name);
    if (HasNoAttributes(llistxattr(path, nullptr, 0))) return {};
    return ReadAttributesAt(path);
  }

  int LookAtVolume(int folder, VolumeStatus *status) override {
    struct statfs found;
    if (fstatfs(folder, &found) != 0) return errno;
    *status = {static_cast<long>(found.f_type), (found.f_flags & ST_RDONLY) != 0};
    return 0;
  }

  int CheckAccess(int folder, const char *name, int mode) override {
    return ErrorOf(faccessat(folder, name, mode, AT_EACCESS | AT_SYMLINK_NOFOLLOW));
  }

  void Rest() override { LeaveWorkingFolder(); }
};

}  // namespace

CTreeLayer &Disk() {
  static CDisk disk;
  return disk;
}
