/// What is known of items without another look at the disk.
///
/// The steps that handle one file ask for its name several times within microseconds. The item that
/// was looked at last is known until the program changes something; an item that was listed, as
/// long as its folder's listing holds.
#pragma once

#include "platform/linux/tree/item_reference.h"

/// Notes that the item has been looked at and exists.
void NoteSeenItem(const FSRef &item);

/// Whether the item need not be looked at to know that it exists.
bool IsKnownToExist(const FSRef &item);

/// Forgets the item and the listings that are kept, because something is about to be changed.
void ForgetSeenItems();
