/// The files that come with the program.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The path, free of symbolic links, of the resource of that name: in the folder where the program
/// is installed, else in the one that it was built from. None when there is no such file.
std::optional<std::string> FindResourceFile(std::string_view name);
