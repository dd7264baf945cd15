/// Addresses of items, as far as the program needs them: to take the extension of a name.
#pragma once

#include <optional>
#include <string>

#include "platform/file_manager.h"

/// The address of an item on disk; good for as long as the reference that it was made from.
struct CFURL {
  const FSRef *item;
};

/// The item's address; none for a reference that refers to nothing. The disk is not asked.
std::optional<CFURL> CFURLCreateFromFSRef(const FSRef &item);

/// The text after the last "." of the last path component, its case as on disk; none when there is
/// no ".", or nothing after it.
std::optional<std::u16string> CFURLCopyPathExtension(const CFURL &url);
