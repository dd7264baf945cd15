/// The files that come with the program.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The path, free of symbolic links, of the resource of that name: in the folder that was installed
/// along with the program, or was built along with it. None when there is no such file.
std::optional<std::string> FindResourceFile(std::string_view name);
