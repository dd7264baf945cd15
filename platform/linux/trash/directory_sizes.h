/// The list of how much the folders in a trash take up (freedesktop.org Trash 1.0, "The
/// directorysizes cache"). It saves a look at all that is in them, and a line that is missing costs
/// no more than that: so nothing here can fail.
#pragma once

#include <string_view>

#include "platform/linux/trash/trash_folders.h"

/// Adds the folder that has just come to the trash under that name, where there is such a list.
void AddDirectorySize(const TrashFolder &trash, std::string_view name);
void RemoveDirectorySize(const TrashFolder &trash, std::string_view name);
