/// The folder that a journal tells of.
#pragma once

#include "platform/linux/history/journal_text.h"
#include "platform/linux/tree/folder_table.h"

/// Whether a folder that was looked at is the dropped one. A device can have another number after a
/// restart: the folder is the same then if it has the inode and was made at the same moment.
bool IsDroppedFolder(const JournalHeader &header, const ItemStatus &found);

/// Finds it at the path where it was, and opens it; 0 when it is not there.
FolderIndex FindDroppedFolder(const JournalHeader &header);

/// Of an item, as one of the two may not be known.
bool IsSameBirth(const ItemIdentity &a, const ItemIdentity &b);
