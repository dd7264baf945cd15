#include "platform/linux/tree/item_location.h"

#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_reference.h"

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
