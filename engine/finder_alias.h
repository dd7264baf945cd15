/// Aliases, made by the Finder.
#pragma once

#include <string_view>

#include "platform/types.h"

/// Has the Finder make an alias of the file in the folder, both given by their paths; true when it
/// could, else `error` says what has failed. The Finder names the alias. The paths go into the
/// script as they are, so one that holds a double quote breaks it and fails.
bool MakeFinderAlias(std::u16string_view filePath, std::u16string_view folderPath, OSErr *error);
