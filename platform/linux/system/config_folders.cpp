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

/// The path of what is called `name`, with a slash before it, in `folder`, which is absolute.
std::string PathIn(std::string_view folder, std::string_view name) {
  while (folder.ends_with('/')) folder.remove_suffix(1);
  return std::string(folder).append(name);
}

std::string_view HomeFolder() {
  if (const std::string_view home = Environment("HOME"); home.starts_with('/')) return home;
  const passwd *user = getpwuid(getuid());
  return user != nullptr && user->pw_dir[0] == '/' ? user->pw_dir : std::string_view();
}

/// The folder `name` in the one that `variable` names, or in `fallback` of the user's home.
std::string UserFolder(const char *variable, std::string_view fallback,
                       std::string_view name = kProgramFolder) {
  if (const std::string_view folder = Environment(variable); folder.starts_with('/')) {
    return PathIn(folder, name);
  }
  const std::string_view home = HomeFolder();
  return home.empty() ? std::string() : PathIn(std::string(home).append(fallback), name);
}

}  // namespace

std::string UserConfigFolder() {
  return UserFolder("XDG_CONFIG_HOME", "/.config");
}

std::string UserStateFolder() {
  return UserFolder("XDG_STATE_HOME", "/.local/state");
}

std::string UserTrashFolder() {
  return UserFolder("XDG_DATA_HOME", "/.local/share", "/Trash");
}

std::vector<std::string> SystemConfigFolders() {
  std::string_view list = Environment("XDG_CONFIG_DIRS");
  if (list.empty()) list = "/etc/xdg";
  std::vector<std::string> folders;
  while (!list.empty()) {
    const std::size_t length = std::min(list.find(':'), list.size());
    const std::string_view folder = list.substr(0, length);
    if (folder.starts_with('/')) folders.push_back(PathIn(folder, kProgramFolder));
    list.remove_prefix(std::min(length + 1, list.size()));
  }
  return folders;
}
