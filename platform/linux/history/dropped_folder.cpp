#include "platform/linux/history/dropped_folder.h"

bool IsSameBirth(const ItemIdentity &a, const ItemIdentity &b) {
  return a.birth == b.birth || a.birth == 0 || b.birth == 0;
}

bool IsDroppedFolder(const JournalHeader &header, const ItemStatus &found) {
  return found.IsFolder() && found.identity.inode == header.identity.inode &&
         IsSameBirth(found.identity, header.identity) &&
         (found.device == header.device || found.identity.birth != 0);
}

FolderIndex FindDroppedFolder(const JournalHeader &header) {
  FSRef folder;
  bool isFolder = false;
  if (FSPathMakeRef(header.path.c_str(), &folder, &isFolder) != noErr || !isFolder) return 0;
  FolderIndex index = 0;
  int descriptor = -1;
  ItemStatus found;
  if (FindTableFolder(folder, &index, &descriptor) != noErr ||
      Tree().Look(descriptor, "", &found) != 0) {
    return 0;
  }
  return IsDroppedFolder(header, found) ? index : 0;
}
