#include "tests/support/temporary_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

namespace {

class CDescriptor {
 public:
  explicit CDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~CDescriptor() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  CDescriptor(CDescriptor &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  CDescriptor &operator=(CDescriptor &&other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  int Get() const { return descriptor_; }

 private:
  int descriptor_;
};

/// Throws what `errno` says when a call has failed; answers its result otherwise.
template <typename Result>
Result Check(Result result, const std::string &what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

CDescriptor OpenFolderAt(int folder, const std::string &name) {
  return CDescriptor(
      Check(openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC),
            "open " + name));
}

/// The folder that holds an item, and the item's name in it.
struct Place {
  CDescriptor folder;
  std::string name;  ///< "." for the temporary folder itself
};

Place Locate(const std::string &root, std::string_view relative, bool makeFolders) {
  Place place{OpenFolderAt(AT_FDCWD, root), "."};
  for (std::size_t begin = 0; begin < relative.size();) {
    const std::size_t end = std::min(relative.find('/', begin), relative.size());
    if (end > begin) {
      if (place.name != ".") {
        if (makeFolders && mkdirat(place.folder.Get(), place.name.c_str(), 0755) < 0 &&
            errno != EEXIST)
          throw std::system_error(errno, std::generic_category(), "mkdir " + place.name);
        place.folder = OpenFolderAt(place.folder.Get(), place.name);
      }
      place.name = relative.substr(begin, end - begin);
    }
    begin = end + 1;
  }
  return place;
}

std::vector<std::string> NamesIn(int folder) {
  std::vector<std::string> names;
  const int listed = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, int (*)(DIR *)> stream(fdopendir(Check(listed, "list")), closedir);
  while (const dirent *entry = readdir(stream.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

std::string ReadAll(int folder, const std::string &name) {
  const CDescriptor file(
      Check(openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC), "open " + name));
  std::string content;
  std::vector<char> buffer(65536);
  while (const ssize_t count =
             Check(read(file.Get(), buffer.data(), buffer.size()), "read " + name))
    content.append(buffer.data(), static_cast<std::size_t>(count));
  return content;
}

void WriteAll(int folder, const std::string &name, std::string_view content) {
  const CDescriptor file(Check(
      openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644),
      "create " + name));
  while (!content.empty())
    content.remove_prefix(static_cast<std::size_t>(
        Check(write(file.Get(), content.data(), content.size()), "write")));
}

struct stat StatusOf(int folder, const std::string &name) {
  struct stat status;
  Check(fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW), "stat " + name);
  return status;
}

std::string TargetOf(int folder, const std::string &name) {
  std::string target(4096, '\0');
  const ssize_t size =
      Check(readlinkat(folder, name.c_str(), target.data(), target.size()), "readlink " + name);
  target.resize(static_cast<std::size_t>(size));
  return target;
}

/// Goes through a folder's tree. One open descriptor a level would be too many for deep
/// trees, so a level gives up its own while it is below and comes back through "..".
void AddTree(CDescriptor &folder, const std::string &prefix, CTemporaryFolder::Contents *contents) {
  for (const std::string &name : NamesIn(folder.Get())) {
    const struct stat status = StatusOf(folder.Get(), name);
    const std::string path = prefix + name;
    if (S_ISDIR(status.st_mode)) {
      (*contents)[path + "/"] = "";
      folder = OpenFolderAt(folder.Get(), name);
      AddTree(folder, path + "/", contents);
      folder = OpenFolderAt(folder.Get(), "..");
    } else if (S_ISREG(status.st_mode)) {
      (*contents)[path] = ReadAll(folder.Get(), name);
    } else if (S_ISLNK(status.st_mode)) {
      (*contents)[path] = "-> " + TargetOf(folder.Get(), name);
    } else {
      (*contents)[path] = "special";
    }
  }
}

void ClearImmutable(int folder, const std::string &name) {
  const CDescriptor item(
      openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  int flags = 0;
  if (item.Get() < 0 || ioctl(item.Get(), FS_IOC_GETFLAGS, &flags) < 0) return;
  flags &= ~(FS_IMMUTABLE_FL | FS_APPEND_FL);
  (void)ioctl(item.Get(), FS_IOC_SETFLAGS, &flags);
}

void RemoveItem(CDescriptor &folder, const std::string &name) {
  const struct stat status = StatusOf(folder.Get(), name);
  if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) ClearImmutable(folder.Get(), name);
  if (S_ISDIR(status.st_mode)) {
    Check(fchmodat(folder.Get(), name.c_str(), 0700, 0), "chmod " + name);
    folder = OpenFolderAt(folder.Get(), name);
    for (const std::string &child : NamesIn(folder.Get())) RemoveItem(folder, child);
    folder = OpenFolderAt(folder.Get(), "..");
  }
  const int flags = S_ISDIR(status.st_mode) ? AT_REMOVEDIR : 0;
  Check(unlinkat(folder.Get(), name.c_str(), flags), "remove " + name);
}

}  // namespace

CTemporaryFolder::CTemporaryFolder() {
  const char *base = std::getenv("TMPDIR");
  const std::unique_ptr<char, void (*)(void *)> real(
      realpath(base != nullptr && *base != '\0' ? base : "/tmp", nullptr), std::free);
  if (!real) throw std::system_error(errno, std::generic_category(), "TMPDIR");
  path_ = std::string(real.get()) + "/vannerly-XXXXXX";
  if (mkdtemp(path_.data()) == nullptr)
    throw std::system_error(errno, std::generic_category(), "mkdtemp");
  Check(chmod(path_.c_str(), 0755), "chmod");
}

CTemporaryFolder::~CTemporaryFolder() {
  try {
    Remove({});
  } catch (const std::system_error &error) {
    std::fprintf(stderr, "%s stays: %s\n", path_.c_str(), error.what());
  }
}

std::string CTemporaryFolder::PathOf(std::string_view relative) const {
  return path_ + "/" + std::string(relative);
}

void CTemporaryFolder::MakeFolder(std::string_view relative) const {
  const Place place = Locate(path_, relative, true);
  if (mkdirat(place.folder.Get(), place.name.c_str(), 0755) < 0 && errno != EEXIST)
    throw std::system_error(errno, std::generic_category(), "mkdir " + place.name);
}

void CTemporaryFolder::WriteFile(std::string_view relative, std::string_view content) const {
  const Place place = Locate(path_, relative, true);
  WriteAll(place.folder.Get(), place.name, content);
}

void CTemporaryFolder::MakeSymbolicLink(std::string_view relative, std::string_view target) const {
  const Place place = Locate(path_, relative, true);
  Check(symlinkat(std::string(target).c_str(), place.folder.Get(), place.name.c_str()), "symlink");
}

void CTemporaryFolder::MakeDeepTree(std::string_view relative, int levels, std::string_view name,
                                    std::string_view fileName, std::string_view content) const {
  std::string path(relative);
  for (int level = 0; level < levels; ++level) path.append("/").append(name);
  WriteFile(path.append("/").append(fileName), content);
}

std::string CTemporaryFolder::ReadFile(std::string_view relative) const {
  const Place place = Locate(path_, relative, false);
  return ReadAll(place.folder.Get(), place.name);
}

bool CTemporaryFolder::Exists(std::string_view relative) const {
  try {
    const Place place = Locate(path_, relative, false);
    (void)StatusOf(place.folder.Get(), place.name);
    return true;
  } catch (const std::system_error &error) {
    if (error.code().value() != ENOENT && error.code().value() != ENOTDIR) throw;
    return false;
  }
}

CTemporaryFolder::Contents CTemporaryFolder::Tree(std::string_view relative) const {
  const Place place = Locate(path_, relative, false);
  CDescriptor folder = OpenFolderAt(place.folder.Get(), place.name);
  Contents contents;
  AddTree(folder, "", &contents);
  return contents;
}

void CTemporaryFolder::Remove(std::string_view relative) const {
  Place place = relative.empty() ? Place{OpenFolderAt(AT_FDCWD, path_.substr(0, path_.rfind('/'))),
                                         path_.substr(path_.rfind('/') + 1)}
                                 : Locate(path_, relative, false);
  RemoveItem(place.folder, place.name);
}
