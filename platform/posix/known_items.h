/// What is known of items without another look at the disk.
///
/// The steps that handle one file ask for its name several times within microseconds, and collating
/// makes a path of every item and has it looked up again twice. The item that was looked at last,
/// and the one whose path was made last, are known until the program changes something; an item
/// that was listed, as long as its folder's listing holds. Paths, those of folders included, are
/// known only within a run, and forgotten after some milliseconds: a path that a user names is
/// always looked up.
#pragma once

#include <string_view>

#include "platform/posix/item_reference.h"

/// Notes that the item has been looked at and exists.
void NoteSeenItem(const FSRef &item);

/// Whether the item need not be looked at to know that it exists.
bool IsKnownToExist(const FSRef &item);

/// Whether paths are worth knowing, as they are within a run. All are forgotten.
void KnowPaths(bool areKnown);

/// Notes the path that was made of an item.
void NotePath(std::string_view path, const FSRef &item);

/// The item that a path was made of; false when it is not known, or not known to exist.
bool FindItemOfPath(std::string_view path, FSRef *item);

/// Forgets the items, but not the folders, because something is about to be changed.
void ForgetSeenItems();
