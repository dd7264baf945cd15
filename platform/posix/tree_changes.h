/// The only place from which the program changes the tree: every rename, new folder, removal, link
/// and permission passes through these calls, and is written to the journal before it is made. Each
/// returns 0 or an `errno` value; after a failure nothing has changed, save that a file moved by
/// linking can be left under both names when neither can be removed.
#pragma once

#include <string_view>

#include "platform/posix/item_reference.h"

/// A folder in which something is changed.
struct OpenedFolder {
  int descriptor;     ///< borrowed; may be opened with O_PATH
  FolderIndex index;  ///< its place in the table of folders
};

/// Renames without ever replacing: a taken name is EEXIST. Where the file system refuses the
/// kernel's flag for that (EINVAL, ENOSYS, EOPNOTSUPP), what can be linked is linked and then
/// unlinked. For folders, and where there are no links either, the new name is taken first by an
/// empty item, made exclusively, and the rename replaces that.
int RenameWithoutReplacing(const OpenedFolder &fromFolder, const char *from,
                           const OpenedFolder &toFolder, const char *to);

/// Removes an item that such a rename has left, if it is empty still: ENOTEMPTY.
int RemovePlaceHolder(const OpenedFolder &folder, const char *name);

int MakeFolder(const OpenedFolder &folder, const char *name);
int RemoveFile(const OpenedFolder &folder, const char *name);
int RemoveEmptyFolder(const OpenedFolder &folder, const char *name);
int MakeSymbolicLink(const OpenedFolder &folder, const char *name, const char *target);
/// Removes a link that leads to `target`, and nothing else (ESTALE).
int RemoveSymbolicLink(const OpenedFolder &folder, const char *name, std::string_view target);

/// Gives the owner write permission. Never follows a link; EPERM for a file with several names,
/// which may lie elsewhere.
int AddOwnerWritePermission(const OpenedFolder &folder, const char *name);
/// Takes the immutable attribute off a regular file or a folder; never opens anything else.
int ClearImmutableAttribute(const OpenedFolder &folder, const char *name);

/// What a call is about to do; for the journal, and for tests that make calls fail.
struct TreeChange {
  /// "rename", "link", "hold", "release", "mkdir", "unlink", "rmdir", "symlink", "chmod", "chattr"
  std::string_view operation;
  const char *name;                  ///< the item changed, or made
  OpenedFolder folder;               ///< in which it lies
  const char *newName = nullptr;     ///< of a rename or link; the target of a "symlink"
  OpenedFolder newFolder = {-1, 0};  ///< of a rename or link
};

/// Asked before every change; a value other than 0 is the `errno` with which the call fails
/// instead. The change has been written to the journal by then.
using TreeChangeFault = int (*)(const TreeChange &change);
void SetTreeChangeFault(TreeChangeFault fault);
