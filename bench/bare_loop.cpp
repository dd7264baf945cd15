/// The least that flattening a folder can cost: one walk that lists every folder below and one
/// rename without replacing for every file. No names are made and nothing is counted beforehand; a
/// folder called *.app is renamed as a whole.
///
///   bare_loop FOLDER

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

/// One for all levels: a folder is read to its end before the next is opened.
char buffer[1 << 16];

/// Moves the files of the open folder `from`, at any depth, into `to`. Takes `from` over.
void MoveFiles(int from, int to, bool isTop) {
  std::vector<std::string> folders;
  for (;;) {
    const long got = syscall(SYS_getdents64, from, buffer, sizeof buffer);
    if (got <= 0) break;
    for (long at = 0; at < got;) {
      const auto *entry = reinterpret_cast<const dirent64 *>(buffer + at);
      at += entry->d_reclen;
      const char *name = entry->d_name;
      if (std::string_view(name) == "." || std::string_view(name) == "..") continue;
      if (entry->d_type == DT_DIR && !std::string_view(name).ends_with(".app")) {
        folders.emplace_back(name);
      } else if (!isTop) {
        (void)renameat2(from, name, to, name, RENAME_NOREPLACE);
      }
    }
  }
  for (const std::string &name : folders) {
    const int folder = openat(from, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder >= 0) MoveFiles(folder, to, false);
  }
  close(from);
}

}  // namespace

int main(int argumentCount, char **arguments) {
  if (argumentCount != 2) {
    std::fprintf(stderr, "Usage: bare_loop FOLDER\n");
    return 2;
  }
  // Every folder on the way down stays open.
  rlimit limit;
  if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
  }
  const int top = open(arguments[1], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (top < 0) {
    std::perror(arguments[1]);
    return 1;
  }
  MoveFiles(dup(top), top, true);
  close(top);
}
