#include "platform/linux/tree/item_status.h"

#include "platform/linux/system/errors.h"

OSErr ReadItemStatus(const FSRef &item, ItemStatus *status, ItemLocation *location) {
  if (OSErr error = LocateItem(item, location); error != noErr) return error;
  if (int error = Tree().Look(location->folder, location->name, status); error != 0) {
    return ErrorFromErrno(error);
  }
  const ItemReference &reference = ReferenceIn(item);
  const bool isOther = reference.IsIdentified() && (reference.device != status->device ||
                                                    reference.inode != status->identity.inode);
  return isOther ? fnfErr : noErr;
}

ItemReference ReferenceToSeenItem(FolderIndex folder, std::string_view name,
                                  const ItemStatus &status, KeepFor keepFor) {
  ItemReference reference{};
  reference.device = status.device;
  reference.inode = status.identity.inode;
  reference.folder = folder;
  reference.kind = status.IsFolder() ? ItemKind::kFolder : ItemKind::kOther;
  reference.sight = status.IsFolder() ? Sight::kIdentified : Sight::kSeen;
  reference.SetName(name, keepFor);
  return reference;
}
