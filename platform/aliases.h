/// Aliases of files: symbolic links with absolute targets.
#pragma once

#include <string>

#include "platform/file_manager.h"

/// Makes an alias of `file` in `folder` and refers to it in `alias`. The alias bears the file's
/// name; where that is taken "NAME alias", then "NAME alias 2" and so on. Nothing is ever replaced.
/// bdNamErr when the file's path is longer than a link can hold.
OSErr MakeAliasFile(const FSRef &file, const FSRef &folder, FSRef *alias);

/// Makes an alias anew whose file lies at another path now, both given as bytes on disk. fnfErr,
/// and nothing has changed, when it is no longer a link to `oldPath`.
OSErr RetargetAliasFile(const FSRef &alias, const std::string &oldPath, const std::string &newPath);
