#include "platform/linux/system/safe_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>

namespace {

int WriteAndFlush(int descriptor, std::string_view content) {
  if (const int error = WriteAll(descriptor, content); error != 0) return error;
  return fsync(descriptor) == 0 ? 0 : errno;
}

int FlushFolder(const std::string &path) {
  const CDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.IsOpen()) return errno;
  // Some file systems cannot flush a folder, and have nothing to flush then.
  return fsync(folder.Get()) == 0 || errno == EINVAL ? 0 : errno;
}

/// Fills a new file and gives it the owner and mode of the one whose place it takes.
int FillReplacement(int descriptor, std::string_view content, const struct stat *old) {
  if (old != nullptr) {
    // An administrator's change to a user's file leaves it the user's; nobody else may give files
    // away, and need not. What the old group could read, another one may not.
    const bool isSameGroup = fchown(descriptor, old->st_uid, old->st_gid) == 0;
    if (fchmod(descriptor, old->st_mode & (isSameGroup ? 0777 : 0707)) != 0) return errno;
  }
  return WriteAndFlush(descriptor, content);
}

bool HasNoFolderLocks(int error) {
  return error == EBADF || error == EINVAL || error == ENOLCK || error == ENOSYS ||
         error == EOPNOTSUPP;
}

}  // namespace

std::string FolderOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

int ReadWholeFile(const std::string &path, std::size_t limit, std::string *content,
                  struct stat *status) {
  content->clear();
  const CDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file.IsOpen() || fstat(file.Get(), status) != 0) return errno;
  if (!S_ISREG(status->st_mode)) return EINVAL;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t count = read(file.Get(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) return 0;
    if (content->size() + static_cast<std::size_t>(count) > limit) return EFBIG;
    content->append(buffer.data(), static_cast<std::size_t>(count));
  }
}

int FollowLinks(std::string *path) {
  constexpr int kMostLinks = 40;  // as many as the kernel follows
  for (int links = 0; links <= kMostLinks; ++links) {
    const CDescriptor item(open(path->c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status;
    if (!item.IsOpen() || fstat(item.Get(), &status) != 0) return errno == ENOENT ? 0 : errno;
    if (!S_ISLNK(status.st_mode)) return 0;
    if (status.st_uid != geteuid() && status.st_uid != 0) return EPERM;
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlinkat(item.Get(), "", target.data(), target.size());
    if (length < 0) return errno;
    const std::string_view text(target.data(), static_cast<std::size_t>(length));
    *path = text.starts_with('/') ? std::string(text) : FolderOf(*path).append("/").append(text);
  }
  return ELOOP;
}

int MakeFolders(const std::string &path) {
  if (mkdir(path.c_str(), 0700) == 0) return 0;
  if (errno != ENOENT && errno != EEXIST) return errno;
  if (errno == EEXIST) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return errno;
    return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
  }
  if (int error = MakeFolders(FolderOf(path)); error != 0) return error;
  return mkdir(path.c_str(), 0700) == 0 || errno == EEXIST ? 0 : errno;
}

int WriteNewFile(const std::string &path, std::string_view content, mode_t mode) {
  int error = 0;
  {
    const CDescriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (!file.IsOpen()) return errno;
    error = WriteAndFlush(file.Get(), content);
  }
  if (error != 0) (void)unlink(path.c_str());
  return error;
}

int ReplaceFile(const std::string &path, std::string_view content, const struct stat *old) {
  std::string beside = path + ".XXXXXX";
  int error = 0;
  {
    const CDescriptor file(mkostemp(beside.data(), O_CLOEXEC));
    if (!file.IsOpen()) return errno;
    error = FillReplacement(file.Get(), content, old);
  }
  if (error == 0 && rename(beside.c_str(), path.c_str()) != 0) error = errno;
  if (error != 0) {
    (void)unlink(beside.c_str());
    return error;
  }
  return FlushFolder(FolderOf(path));
}

int CFolderLock::Take(const std::string &folder) {
  folder_ = CDescriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder_.IsOpen()) return errno;
  constexpr timespec kPause{0, 5'000'000};
  for (int tries = 400;; --tries) {
    if (flock(folder_.Get(), LOCK_EX | LOCK_NB) == 0) return 0;
    if (HasNoFolderLocks(errno)) return 0;
    if (errno != EWOULDBLOCK && errno != EINTR) return errno;
    if (tries == 0) return EWOULDBLOCK;
    (void)nanosleep(&kPause, nullptr);
  }
}
