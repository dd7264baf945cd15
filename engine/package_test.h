/// Whether an item is a folder that the user sees as one file.
///
/// An item that cannot be described is judged by its name alone; nothing here is an error.
#pragma once

#include "platform/file_manager.h"

/// Launch Services call the item an application.
bool IsApplication(const FSRef &item);

/// Launch Services call the item a package or an application.
bool IsPackageOrApplication(const FSRef &item);

/// The item's extension is "app", "bundle", "framework", "plugin" or "kext", in any case.
bool HasPackageExtension(const FSRef &item);

/// Either of the two above.
bool IsPackage(const FSRef &item);
