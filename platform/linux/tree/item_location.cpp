#include "platform/linux/tree/item_location.h"

#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_reference.h"

namespace {

/// The table's place for a folder that was entered under the very name and identity that the
/// reference has; 0 when there is none.
FolderIndex IndexInTable(const ItemReference &reference) {
  if (reference.IsRoot()) return kRootFolder;
  if (!reference.isIdentified) return 0;
  const FolderIndex index = FindFolder(reference.folder, reference.NameView());
  if (index == 0) return 0;
  const FolderEntry &entry = EntryOf(index);
  const bool isSame = reference.device == entry.device && reference.inode == entry.inode;
  return isSame ? index : 0;
}

}  // namespace

OSErr LocateItem(const FSRef &item, ItemLocation *location) {
  const ItemReference &reference = ReferenceIn(item);
  if (reference.folder == 0) return paramErr;
  location->name = reference.IsRoot() ? "." : reference.Name();
  return OpenTableFolder(reference.folder, &location->folder);
}

OSErr OpenFolder(const FSRef &folder, int *descriptor) {
  FolderIndex index = 0;
  return FindTableFolder(folder, &index, descriptor);
}

OSErr FindTableFolder(const FSRef &folder, FolderIndex *index, int *descriptor) {
  // A run moves everything into one folder; its place in the table never changes.
  static FSRef foundLast = {};
  static FolderIndex foundIndex = 0;
  if (foundIndex != 0 && IsSameReference(folder, foundLast)) {
    *index = foundIndex;
    return OpenTableFolder(*index, descriptor);
  }
  const ItemReference &reference = ReferenceIn(folder);
  if (reference.folder == 0) return paramErr;
  *index = IndexInTable(reference);
  if (*index == 0) return EnterFolder(reference, index, descriptor);
  foundLast = folder;
  foundIndex = *index;
  return OpenTableFolder(*index, descriptor);
}

std::string_view NameOnDisk(const FSRef &item) {
  return ReferenceIn(item).NameView();
}

std::string PathOnDisk(const FSRef &item) {
  const ItemReference &reference = ReferenceIn(item);
  if (reference.IsRoot()) return "/";
  std::string path = std::string("/").append(reference.NameView());
  for (FolderIndex folder = reference.folder; folder > kRootFolder;
       folder = EntryOf(folder).parent) {
    path.insert(0, EntryOf(folder).name, EntryOf(folder).nameLength).insert(0, 1, '/');
  }
  return path;
}

bool IsKnownPlainItem(const FSRef &item) {
  return ReferenceIn(item).kind == ItemKind::kOther;
}
