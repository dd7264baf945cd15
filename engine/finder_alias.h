/// Aliases, made by the file manager of the platform, and kept true while the run goes on.
#pragma once

#include "platform/file_manager.h"

/// Has an alias of the file made in the folder; true when it could be, else `error` says what has
/// failed. The platform names the alias.
bool MakeFinderAlias(const FSRef &file, const FSRef &folder, OSErr *error);

/// Forgets the aliases that were made before.
void ForgetFinderAliases();

/// Called when an item that lay directly in the folder of the aliases has been moved: the aliases
/// of it, or of what lies in it, are made anew with the new path, and an alias that was moved
/// itself is known by its new place. An alias that cannot be made anew is noted for the report.
void FollowMovedItem(const FSRef &before, const FSRef &now);
