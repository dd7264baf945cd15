/// Which folders may come in to be flattened, and in which words the others are refused. Whoever
/// names them (the command line, a drag, the session bus) is answered here, before the program
/// works on anything.
#pragma once

#include <optional>
#include <string>

#include "platform/file_manager.h"

/// A folder let in, or the reason why an item is not.
struct Admission {
  std::optional<FSRef> folder;
  std::string path;          ///< of what was named: absolute, and for a folder without links
  std::string reason;        ///< in words for the user; empty for a folder let in
  bool isProtected = false;  ///< refused only because flattening it is hardly ever meant
};

/// Looks at an item before it is let in. Links to a folder are resolved here and nowhere later.
/// What is missing or is not a folder is refused; so are the root folder and the user's home folder
/// themselves, unless `isForced`.
Admission AdmitFolder(const std::string &path, bool isForced);
