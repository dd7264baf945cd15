/// The least that sorting a folder by extension can cost: the folder is listed once, a sub-folder
/// is made for each extension, and every file is renamed into its own without replacing.
///
///   collate_loop FOLDER

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

/// The names in the folder, but for hidden ones.
std::vector<std::string> ListNames(int folder) {
  static char buffer[1 << 16];
  std::vector<std::string> names;
  for (;;) {
    const long got = syscall(SYS_getdents64, folder, buffer, sizeof buffer);
    if (got <= 0) return names;
    for (long at = 0; at < got;) {
      const auto *entry = reinterpret_cast<const dirent64 *>(buffer + at);
      at += entry->d_reclen;
      if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    }
  }
}

int OpenNewFolder(int parent, const std::string &name) {
  if (mkdirat(parent, name.c_str(), 0777) != 0) std::perror(name.c_str());
  return openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

}  // namespace

int main(int argumentCount, char **arguments) {
  if (argumentCount != 2) {
    (void)std::fprintf(stderr, "Usage: collate_loop FOLDER\n");
    return 2;
  }
  const int folder = open(arguments[1], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) {
    std::perror(arguments[1]);
    return 1;
  }
  std::unordered_map<std::string, int> goals;
  for (const std::string &name : ListNames(folder)) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos) continue;
    const auto [goal, isNew] = goals.try_emplace(name.substr(dot + 1), -1);
    if (isNew) goal->second = OpenNewFolder(folder, goal->first);
    (void)renameat2(folder, name.c_str(), goal->second, name.c_str(), RENAME_NOREPLACE);
  }
}
