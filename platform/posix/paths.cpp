#include <algorithm>
#include <cstring>
#include <string>

#include "platform/posix/errors.h"
#include "platform/posix/folder_table.h"
#include "platform/posix/item_location.h"
#include "platform/posix/item_status.h"
#include "platform/posix/known_items.h"

namespace {

/// Enters the folders of a path one after the other.
OSErr WalkPath(std::string_view path, FolderIndex *folder) {
  *folder = kRootFolder;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t end = std::min(path.find('/', at), path.size());
    const std::string name(path.substr(at, end - at));
    at = end + 1;
    if (name.empty() || name == ".") continue;
    if (name == "..") return paramErr;
    int descriptor = -1;
    if (OSErr error = EnterFolder(*folder, name.c_str(), folder, &descriptor); error != noErr) {
      return error;
    }
  }
  return noErr;
}

OSErr FindFolderAtPath(std::string_view path, FolderIndex *folder, int *descriptor) {
  if (FSRef known; FindItemOfPath(path, &known)) {
    return FindTableFolder(known, folder, descriptor);
  }
  if (OSErr error = WalkPath(path, folder); error != noErr) return error;
  return OpenTableFolder(*folder, descriptor);
}

}  // namespace

OSStatus FSRefMakePath(const FSRef &ref, char *path, std::uint32_t size) {
  const ItemReference &item = ReferenceIn(ref);
  if (item.folder == 0 || size == 0) return paramErr;
  // Written from the end of the buffer backwards, as the way leads from the item up to the root.
  std::size_t at = size - 1;
  const auto prepend = [&](std::string_view name) {
    if (at < name.size() + 1) return false;
    at -= name.size();
    std::memcpy(path + at, name.data(), name.size());
    path[--at] = '/';
    return true;
  };
  path[at] = '\0';
  const bool isRoot = item.IsRoot();
  if (!prepend(isRoot ? std::string_view() : item.NameView())) return bdNamErr;
  for (FolderIndex folder = item.folder; folder != kRootFolder; folder = EntryOf(folder).parent) {
    if (!prepend({EntryOf(folder).name, EntryOf(folder).nameLength})) return bdNamErr;
  }
  std::memmove(path, path + at, size - at);
  NotePath({path, size - at - 1}, ref);
  return noErr;
}

OSStatus FSPathMakeRef(const char *path, FSRef *ref, bool *isFolder) {
  std::string_view text(path);
  if (text.empty() || text.front() != '/') return paramErr;
  while (text.size() > 1 && text.back() == '/') text.remove_suffix(1);
  if (text == "/") {
    *ref = RefOfFolder(kRootFolder);
    if (isFolder != nullptr) *isFolder = true;
    return noErr;
  }
  if (FindItemOfPath(text, ref)) {
    if (isFolder != nullptr) *isFolder = ReferenceIn(*ref).kind == ItemKind::kFolder;
    return noErr;
  }
  const std::size_t slash = text.rfind('/');
  const std::string name(text.substr(slash + 1));
  if (name == "." || name == "..") return paramErr;
  FolderIndex folder = 0;
  int descriptor = -1;
  if (OSErr error = FindFolderAtPath(text.substr(0, slash), &folder, &descriptor); error != noErr) {
    return error;
  }
  ItemStatus status;
  if (int error = ReadItemStatus(descriptor, name.c_str(), &status); error != 0) {
    return ErrorFromErrno(error);
  }
  *ref = RefHolding(ReferenceToSeenItem(folder, name, status));
  if (isFolder != nullptr) *isFolder = status.IsFolder();
  return noErr;
}
