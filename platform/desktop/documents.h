/// Items that reach the program from outside: as addresses, on the command line, in a drag.
#pragma once

#include <QMimeData>
#include <QStringList>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_manager.h"

/// The path, bytes as on disk, that a "file:" address names on this machine; none for any other
/// address.
std::optional<std::string> LocalPathFromUri(std::string_view uri);

/// The "file:" address of an absolute path.
std::string UriFromPath(std::string_view path);

/// An item let in, or the reason in words why not.
struct ItemAtDoor {
  std::optional<FSRef> item;
  std::string path;    ///< absolute and without links; empty for an item not let in
  std::string reason;  ///< empty for an item let in
};

/// Looks at an item before it is let in. A link to a folder is resolved here and nowhere later. The
/// root folder and the user's home are not let in: flattening them is never what was meant.
ItemAtDoor LetIn(const std::string &path);

/// The same for an operand of the command line, a path or an address.
ItemAtDoor LetInOperand(const std::string &operand);

/// The items of a drag, one entry for each; none where an entry is no item on this machine.
std::vector<std::optional<FSRef>> ItemsOfDrag(const QMimeData &data);

/// Sends the open-documents event for those of the addresses that name items on this machine;
/// nothing when none does.
void OpenUris(const QStringList &uris);
