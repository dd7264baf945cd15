/// Moving one item into another folder of its volume, under its own name or a new one.
#pragma once

#include <optional>
#include <string_view>

#include "platform/file_manager.h"

/// Moves `item` into `destination`. Nothing is ever replaced.
///
/// Without a new name this is one plain move; a taken name is dupFNErr and nothing has changed.
///
/// With a new name the item never lies in the destination under its old one: it takes a temporary
/// name that is free in both folders, is moved under that, and only then receives the new name. A
/// step that fails after the first rename undoes those before it, as well as it can, and the
/// error of the failed step is returned.
///
/// `result` is required (paramErr) and refers to the item afterwards, moved or not. `hint` goes to
/// the final rename. diffVolErr, before anything is changed, when the volumes differ.
OSErr MoveItemWithNewName(const FSRef &item, const FSRef &destination,
                          std::optional<std::u16string_view> newName, TextEncoding hint,
                          FSRef *result);

/// Finds the first value from `*counter` on whose name is free in both folders: 8 upper-case
/// hexadecimal digits. The counter, which wraps, is left one past the value that was found. Any
/// error of a lookup other than fnfErr ends the search and is returned.
OSErr FindFreeTemporaryName(std::uint32_t *counter, const FSRef &source, const FSRef &destination,
                            HFSUniStr255 *name);
