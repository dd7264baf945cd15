/// The changes that the program makes to the tree, each in as many steps as the volume needs. Each
/// returns 0 or an `errno` value; after a failure nothing has changed, save that a file moved by
/// linking can be left under both names when neither can be removed.
#pragma once

#include <string_view>

#include "platform/linux/tree/tree_layer.h"

/// Tells the tree that what is done while it lives are the steps of one move. Within another it
/// tells nothing: its steps are then the other's.
class CWholeMove {
 public:
  /// The names have to live as long.
  explicit CWholeMove(const TreeMove &move);
  ~CWholeMove();
  CWholeMove(const CWholeMove &) = delete;
  CWholeMove &operator=(const CWholeMove &) = delete;
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
/// One that nobody but the user may enter.
int MakePrivateFolder(const OpenedFolder &folder, const char *name);
/// Makes a small file for the user alone, with this content or not at all: EEXIST.
int MakeSmallFile(const OpenedFolder &folder, const char *name, std::string_view content);
/// Gives a small file that the trash keeps for itself a new content, whole or not at all.
int ReplaceSmallFile(const OpenedFolder &folder, const char *name, std::string_view content);
int RemoveFile(const OpenedFolder &folder, const char *name);
int RemoveEmptyFolder(const OpenedFolder &folder, const char *name);
int MakeSymbolicLink(const OpenedFolder &folder, const char *name, const char *target);
/// Removes a link that leads to `target`, and nothing else (ESTALE).
int RemoveSymbolicLink(const OpenedFolder &folder, const char *name, std::string_view target);

/// Gives the owner write permission; EPERM for a file with several names, which may lie elsewhere.
int AddOwnerWritePermission(const OpenedFolder &folder, const char *name);
/// Takes the immutable attribute off a regular file or a folder; never opens anything else.
int ClearImmutableAttribute(const OpenedFolder &folder, const char *name);

/// The opposites of the two. ESTALE when the item is not the one with this identity.
int SetPermissions(const OpenedFolder &folder, const char *name, const ItemIdentity &item,
                   std::uint32_t mode);
int SetImmutableAttribute(const OpenedFolder &folder, const char *name, const ItemIdentity &item);

/// Gives an open folder a state: EPERM when its mode or time could not be set. The owner is set as
/// far as that is allowed.
int SetFolderState(const OpenedFolder &folder, const FolderState &state);
/// Gives an open folder the attributes, and takes all others off it, as far as that is allowed.
int SetFolderAttributes(const OpenedFolder &folder, const ItemAttributes &attributes);
