#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <string>

#include "platform/linux/system/errors.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_status.h"

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

/// Writes the path of a folder of the table, without a slash at its end, and answers its length:
/// `size` or more when there is no room for it.
std::size_t WriteFolderPath(FolderIndex folder, char *path, std::size_t size) {
  // Written from the end of the buffer backwards, as the way leads from the item up to the root.
  std::size_t at = size;
  for (; folder != kRootFolder; folder = EntryOf(folder).parent) {
    const FolderEntry &entry = EntryOf(folder);
    if (at < std::size_t{entry.nameLength} + 1) return size;
    at -= entry.nameLength;
    std::memcpy(path + at, entry.name, entry.nameLength);
    path[--at] = '/';
  }
  std::memmove(path, path + at, size - at);
  return size - at;
}

/// The same, by way of the path of the folder asked for last, which can never become another.
std::size_t CopyFolderPath(FolderIndex folder, char *path, std::size_t size) {
  static std::array<char, PATH_MAX> last;
  static std::size_t lastLength = 0;
  static FolderIndex lastFolder = 0;
  if (folder != lastFolder) {
    lastFolder = folder;
    lastLength = WriteFolderPath(folder, last.data(), last.size());
  }
  if (lastLength >= last.size()) return WriteFolderPath(folder, path, size);
  std::memcpy(path, last.data(), std::min(lastLength, size));
  return lastLength;
}

}  // namespace

std::string_view FSGetNameBytes(const FSRef &ref) {
  return ReferenceIn(ref).NameView();
}

OSStatus FSRefMakePath(const FSRef &ref, char *path, std::uint32_t size) {
  const ItemReference &item = ReferenceIn(ref);
  if (!IsKnownFolder(item.folder) || size == 0) return paramErr;
  const std::size_t length = CopyFolderPath(item.folder, path, size);
  const std::string_view name = item.IsRoot() ? std::string_view() : item.NameView();
  if (length + name.size() + 2 > size) return bdNamErr;
  path[length] = '/';
  char *const end = std::copy(name.begin(), name.end(), path + length + 1);
  *end = '\0';
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
  const std::size_t slash = text.rfind('/');
  const std::string name(text.substr(slash + 1));
  if (name == "." || name == "..") return paramErr;
  FolderIndex folder = 0;
  int descriptor = -1;
  if (OSErr error = WalkPath(text.substr(0, slash), &folder); error != noErr) return error;
  if (OSErr error = OpenTableFolder(folder, &descriptor); error != noErr) return error;
  ItemStatus status;
  if (int error = Tree().Look(descriptor, name.c_str(), &status); error != 0) {
    return ErrorFromErrno(error);
  }
  *ref = RefHolding(ReferenceToSeenItem(folder, name, status, KeepFor::kProcess));
  if (isFolder != nullptr) *isFolder = status.IsFolder();
  return noErr;
}
