/// Property lists, as far as one string in them goes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The string for `key` in the dictionary that a property list, XML or binary, holds; none when it
/// has none, or cannot be understood. The data may come from anywhere: whatever it holds, this
/// takes time in proportion to its size.
std::optional<std::string> StringInPropertyList(std::string_view data, std::string_view key);
