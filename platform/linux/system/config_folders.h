/// Where the user's and the administrator's files for the program lie, and the user's trash, in the
/// base directories of freedesktop.org (XDG). Paths in the environment that are not absolute are
/// ignored.
#pragma once

#include <string>
#include <vector>

/// `$XDG_CONFIG_HOME/vannerly` (default `~/.config/vannerly`); empty when the user has no home.
std::string UserConfigFolder();

/// `$XDG_STATE_HOME/vannerly` (default `~/.local/state/vannerly`); empty when the user has no home.
std::string UserStateFolder();

/// `$XDG_DATA_HOME/Trash` (default `~/.local/share/Trash`); empty when the user has no home.
std::string UserTrashFolder();

/// `vannerly` in each folder of `$XDG_CONFIG_DIRS` (default `/etc/xdg`), the most important first.
std::vector<std::string> SystemConfigFolders();
