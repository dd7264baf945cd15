/// New names for files whose own name is taken.
#pragma once

#include <optional>
#include <string>

#include "platform/file_manager.h"

/// Finds a name for `item` that cannot clash in `destination`.
///
/// Answers no name when the item's own name is free there, and also when any step fails: the caller
/// then moves the item under the name it has. The new name is "BASE - UUID.EXT" in UTF-16; what is
/// empty goes without its separator. It is not shortened, and a fresh UUID is taken to be unique.
std::optional<std::u16string> MakeUniqueMoveName(const FSRef &destination, const FSRef &item);
