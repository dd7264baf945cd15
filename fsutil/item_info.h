/// Questions about one item, each answered by a single look at the catalog.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "fsutil/short_strings.h"
#include "platform/file_manager.h"

using FinderInfo = std::array<std::uint8_t, 16>;

bool ItemExists(const FSRef &item);

/// False also when the item cannot be read.
bool IsFolder(const FSRef &item);

/// Reads the Finder information and whether the item is a folder, as far as each is asked for (not
/// null).
OSErr GetItemFinderInfoAndKind(const FSRef &item, FinderInfo *finderInfo, FinderInfo *extFinderInfo,
                               bool *isFolder);

/// The folder that holds `item`. A volume's root folder has none: `parent` is then all zeros.
/// paramErr without `parent`.
OSErr GetParentFolderRef(const FSRef &item, FSRef *parent);

OSErr GetItemFSSpec(const FSRef &item, FSSpec *spec);

/// The absolute path as bytes, however long it is; empty for a reference to nothing. The item may
/// be gone.
std::string GetItemPath(const FSRef &item);

/// The name in UTF-8, cut at 255 bytes, as texts show it: bytes of it that are no text are U+FFFD.
/// On failure `name` is left as it was.
OSErr GetItemNameAsCString(const FSRef &item, ShortString &name);

/// Reads the name into `name`; false when it cannot be read.
bool CopyItemName(const FSRef &item, HFSUniStr255 *name);

/// Looks `name` up in `folder`. True unless the name is known to be free, that is for any error but
/// fnfErr too: what cannot be ruled out counts as taken. `result` is set when an item was found.
bool FindItemInFolder(const FSRef &folder, std::u16string_view name, FSRef *result);
