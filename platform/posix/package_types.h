/// The extensions of folders that are documents to the user.
#pragma once

#include <string_view>

/// Whether an extension, without the dot, is registered as that of a document package, case
/// ignored. The lists are read once: the program's own, `package-types` among its resources, and
/// the files of that name in the administrator's and the user's configuration folders, which add to
/// it. Each holds one extension a line; what follows a "#" is a comment.
bool IsPackageType(std::u16string_view extension);
