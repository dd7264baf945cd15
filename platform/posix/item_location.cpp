#include "platform/posix/item_location.h"

#include <fcntl.h>

#include "platform/posix/folder_table.h"
#include "platform/posix/item_reference.h"

namespace {

bool IsRoot(const ItemReference &item) {
  return item.folder == kRootFolder && item.NameView() == "/";
}

}  // namespace

OSErr LocateItem(const FSRef &item, ItemLocation *location) {
  const ItemReference &reference = ReferenceIn(item);
  if (reference.folder == 0) return paramErr;
  location->name = IsRoot(reference) ? "." : reference.Name();
  return OpenTableFolder(reference.folder, &location->folder);
}

OSErr OpenFolder(const FSRef &folder, int *descriptor) {
  FolderIndex index = 0;
  return FindTableFolder(folder, &index, descriptor);
}

OSErr FindTableFolder(const FSRef &folder, FolderIndex *index, int *descriptor) {
  const ItemReference &reference = ReferenceIn(folder);
  if (reference.folder == 0) return paramErr;
  if (IsRoot(reference)) {
    *index = kRootFolder;
    return OpenTableFolder(kRootFolder, descriptor);
  }
  if (reference.isIdentified) {
    *index = FindFolder(reference.device, reference.inode);
    if (*index != 0 && EntryOf(*index).parent == reference.folder &&
        reference.NameView() ==
            std::string_view(EntryOf(*index).name, EntryOf(*index).nameLength)) {
      return OpenTableFolder(*index, descriptor);
    }
  }
  return EnterFolder(reference.folder, reference.Name(), O_PATH, &reference, index, descriptor);
}

std::string_view NameOnDisk(const FSRef &item) {
  return ReferenceIn(item).NameView();
}

std::string PathOnDisk(const FSRef &item) {
  const ItemReference &reference = ReferenceIn(item);
  if (IsRoot(reference)) return "/";
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
