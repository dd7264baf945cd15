/// Items at the door: paths and addresses from outside, looked at before the program works on them.
#pragma once

#include <optional>
#include <string>

#include "platform/file_manager.h"

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
