#include "fsutil/item_info.h"

#include <algorithm>

bool ItemExists(const FSRef &item) {
  return FSGetCatalogInfo(item, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr) == noErr;
}

bool IsFolder(const FSRef &item) {
  bool isFolder = false;
  (void)GetItemFinderInfoAndKind(item, nullptr, nullptr, &isFolder);
  return isFolder;
}

OSErr GetItemFinderInfoAndKind(const FSRef &item, FinderInfo *finderInfo, FinderInfo *extFinderInfo,
                               bool *isFolder) {
  const FSCatalogInfoBitmap whichInfo = (extFinderInfo != nullptr ? kFSCatInfoFinderXInfo : 0) |
                                        (finderInfo != nullptr ? kFSCatInfoFinderInfo : 0) |
                                        (isFolder != nullptr ? kFSCatInfoNodeFlags : 0);
  FSCatalogInfo info;
  const OSErr error = FSGetCatalogInfo(item, whichInfo, &info, nullptr, nullptr, nullptr);
  if (error != noErr) return error;
  if (finderInfo != nullptr) std::ranges::copy(info.finderInfo, finderInfo->begin());
  if (extFinderInfo != nullptr) std::ranges::copy(info.extFinderInfo, extFinderInfo->begin());
  if (isFolder != nullptr) *isFolder = (info.nodeFlags & kFSNodeIsDirectoryMask) != 0;
  return noErr;
}

OSErr GetParentFolderRef(const FSRef &item, FSRef *parent) {
  if (parent == nullptr) return paramErr;
  FSCatalogInfo info;
  const OSErr error = FSGetCatalogInfo(item, kFSCatInfoNodeID, &info, nullptr, nullptr, parent);
  if (error != noErr) return error;
  if (info.nodeID == fsRtDirID) *parent = FSRef{};
  return noErr;
}

OSErr GetItemFSSpec(const FSRef &item, FSSpec *spec) {
  return FSGetCatalogInfo(item, kFSCatInfoNone, nullptr, nullptr, spec, nullptr);
}

std::string GetItemPath(const FSRef &item) {
  constexpr std::size_t kMost = std::size_t{1} << 24;
  std::string path;
  for (std::size_t size = 1024; size <= kMost; size *= 4) {
    path.resize(size);
    const OSStatus status = FSRefMakePath(item, path.data(), static_cast<std::uint32_t>(size));
    if (status == noErr) {
      path.resize(path.find('\0'));
      return path;
    }
    if (status != bdNamErr) break;
  }
  return {};
}

OSErr GetItemNameAsCString(const FSRef &item, ShortString &name) {
  HFSUniStr255 unicodeName;
  const OSErr error =
      FSGetCatalogInfo(item, kFSCatInfoNone, nullptr, &unicodeName, nullptr, nullptr);
  if (error == noErr) ConvertUnicodeToUtf8(name, unicodeName.View());
  return error;
}

bool CopyItemName(const FSRef &item, HFSUniStr255 *name) {
  return FSGetCatalogInfo(item, kFSCatInfoNone, nullptr, name, nullptr, nullptr) == noErr;
}

bool FindItemInFolder(const FSRef &folder, std::u16string_view name, FSRef *result) {
  return FSMakeFSRefUnicode(folder, name, kTextEncodingUnknown, result) != fnfErr;
}
