/// The extensions of folders that are documents to the user.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

/// Extensions, without the dot and with differences of case taken away.
using PackageTypes = std::unordered_set<std::u16string>;

/// The text of an extension as a set of package types holds it.
std::u16string FoldedExtension(std::u16string_view extension);

/// Adds the extensions that the text of a file lists: one a line; what follows a "#" is a comment.
void AddPackageTypes(std::string_view text, PackageTypes *types);

/// Whether an extension, without the dot, is registered as that of a document package, case
/// ignored. The lists are read once: the program's own, `package-types` among its resources, and
/// the files of that name in the administrator's and the user's configuration folders, which add to
/// it.
bool IsPackageType(std::u16string_view extension);
