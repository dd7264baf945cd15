#include "platform/linux/tree/item_location.h"

#include <vector>

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
  if (reference.folder == 0) return {};
  if (reference.IsRoot()) return "/";
  std::vector<std::string_view> names = {reference.NameView()};
  for (FolderIndex folder = reference.folder; folder > kRootFolder;
       folder = EntryOf(folder).parent) {
    names.emplace_back(EntryOf(folder).name, EntryOf(folder).nameLength);
  }
  std::string path;
  for (auto name = names.rbegin(); name != names.rend(); ++name) path.append("/").append(*name);
  return path;
}

bool IsKnownPlainItem(const FSRef &item) {
  return ReferenceIn(item).kind == ItemKind::kOther;
}
