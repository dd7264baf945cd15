#include "platform/linux/system/config_folders.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace {

constexpr std::string_view kProgramFolder = "/vannerly";

/// An environment variable's value; empty when it is not set.
std::string_view Environment(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr ? value : std::string_view();
}

/// The path of the program's folder in `folder`, which is absolute.
std::string ProgramFolderIn(std::string_view folder) {
  while (folder.ends_with('/')) folder.remove_suffix(1);
  return std::string(folder).append(kProgramFolder);
}

std::string_view HomeFolder() {
  if (const std::string_view home = Environment("HOME"); home.starts_with('/')) return home;
  const passwd *user = getpwuid(getuid());
  return user != nullptr && user->pw_dir[0] == '/' ? user->pw_dir : std::string_view();
}

/// The program's folder in the one that `variable` names, or in `fallback` of the user's home.
std::string UserFolder(const char *variable, std::string_view fallback) {
  if (const std::string_view folder = Environment(variable); folder.starts_with('/')) {
    return ProgramFolderIn(folder);
  }
  const std::string_view home = HomeFolder();
  return home.empty() ? std::string() : ProgramFolderIn(std::string(home).append(fallback));
}

}  // namespace

std::string UserConfigFolder() {
  return UserFolder("XDG_CONFIG_HOME", "/.config");
}

std::string UserStateFolder() {
  return UserFolder("XDG_STATE_HOME", "/.local/state");
}

std::vector<std::string> SystemConfigFolders() {
  std::string_view list = Environment("XDG_CONFIG_DIRS");
  if (list.empty()) list = "/etc/xdg";
  std::vector<std::string> folders;
  while (!list.empty()) {
    const std::size_t length = std::min(list.find(':'), list.size());
    const std::string_view folder = list.substr(0, length);
    if (folder.starts_with('/')) folders.push_back(ProgramFolderIn(folder));
    list.remove_prefix(std::min(length + 1, list.size()));
  }
  return folders;
}
