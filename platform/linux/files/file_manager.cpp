#include "platform/file_manager.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>

#include "platform/linux/files/item_specs.h"
#include "platform/linux/system/disk_names.h"
#include "platform/linux/system/ending.h"
#include "platform/linux/system/errors.h"
#include "platform/linux/system/meanwhile.h"
#include "platform/linux/tree/finder_info.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/item_status.h"
#include "platform/linux/tree/tree_changes.h"
#include "platform/linux/tree/tree_memory.h"

namespace {

OSErr SeeItem(const FSRef &ref, ItemStatus *status) {
  ItemLocation location;
  const OSErr error = ReadItemStatus(ref, status, &location);
  Memory().NoteSeenItem(error == noErr ? ref : FSRef{});
  return error;
}

void FillFinderInfo(const FSRef &ref, FSCatalogInfo *info) {
  const FinderInfo finderInfo = ReadFinderInfo(ref);
  std::copy_n(finderInfo.begin(), 16, info->finderInfo);
  std::copy_n(finderInfo.begin() + 16, 16, info->extFinderInfo);
}

std::uint32_t NodeIDOf(const ItemReference &item) {
  if (item.IsRoot()) return fsRtDirID;
  // Numbers below 16 are the volume's own; an inode number must not pass for one of them.
  return 16 + static_cast<std::uint32_t>(item.inode % (UINT32_MAX - 16));
}

/// The reference to the item that now stands under `name` in the folder.
FSRef RefAtNewPlace(const FSRef &ref, FolderIndex folder, std::string_view name) {
  ItemReference moved = ReferenceIn(ref);
  moved.folder = folder;
  moved.SetName(name);
  return RefHolding(moved);
}

/// A move in several calls, with copies of the names that it is told by.
struct MoveInHand {
  FSRef item;
  std::string newName;
  std::optional<CWholeMove> whole;
};

MoveInHand &Move() {
  static MoveInHand move;
  return move;
}

}  // namespace

OSErr FSGetCatalogInfo(const FSRef &ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo *info,
                       HFSUniStr255 *name, FSSpec *spec, FSRef *parent) {
  const ItemReference &item = ReferenceIn(ref);
  if (item.folder == 0) return paramErr;
  if (info == nullptr) whichInfo = kFSCatInfoNone;

  const bool wantsFinderInfo = (whichInfo & (kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo)) != 0;
  const bool wantsStatus = (whichInfo & kFSCatInfoNodeFlags) != 0;
  const bool wantsNothing =
      whichInfo == kFSCatInfoNone && name == nullptr && spec == nullptr && parent == nullptr;
  const bool wantsToKnow = name != nullptr || spec != nullptr || wantsFinderInfo;
  if (wantsStatus || wantsNothing || (wantsToKnow && !Memory().IsKnownToExist(ref))) {
    ItemStatus status;
    if (OSErr error = SeeItem(ref, &status); error != noErr) return error;
    if (wantsStatus) {
      info->nodeFlags =
          static_cast<std::uint16_t>((status.IsFolder() ? kFSNodeIsDirectoryMask : 0) |
                                     (status.IsLocked() ? kFSNodeLockedMask : 0));
    }
  }
  if (wantsFinderInfo) FillFinderInfo(ref, info);
  if ((whichInfo & kFSCatInfoVolume) != 0) info->volume = VolumeOfDevice(item.device);
  if ((whichInfo & kFSCatInfoNodeID) != 0) info->nodeID = NodeIDOf(item);
  if ((whichInfo & kFSCatInfoTextEncoding) != 0) info->textEncodingHint = kTextEncodingUnknown;
  if (name != nullptr) {
    Memory().names.PrepareLookup(item.NameView());
    if (!NameFromDisk(item.NameView(), name)) return bdNamErr;
  }
  if (spec != nullptr) *spec = SpecOfItem(item);
  if (parent != nullptr) *parent = RefOfFolder(item.folder);
  return noErr;
}

OSErr FSSetCatalogInfo(const FSRef &ref, FSCatalogInfoBitmap whichInfo, const FSCatalogInfo &info) {
  if (whichInfo != kFSCatInfoNodeFlags) return paramErr;
  ItemStatus status;
  ItemLocation location;
  if (OSErr error = ReadItemStatus(ref, &status, &location); error != noErr) return error;
  if ((info.nodeFlags & kFSNodeLockedMask) != 0 || !status.IsLocked()) return noErr;
  if (!status.IsFolder() && status.linkCount > 1) return permErr;
  const OpenedFolder folder{location.folder, ReferenceIn(ref).folder};
  if (status.isImmutable) {
    if (int error = ClearImmutableAttribute(folder, location.name); error != 0) {
      return ErrorFromErrno(error);
    }
  }
  if ((status.mode & S_IWUSR) != 0) return noErr;
  return ErrorFromErrno(AddOwnerWritePermission(folder, location.name));
}

OSErr FSMakeFSRefUnicode(const FSRef &parent, std::u16string_view name, TextEncoding /*hint*/,
                         FSRef *result) {
  static std::string bytes;  // asked for once a file, it keeps its memory
  if (OSErr error = NameToDisk(name, &bytes); error != noErr) return error;
  FolderIndex folder = 0;
  int descriptor = -1;
  if (OSErr error = FindTableFolder(parent, &folder, &descriptor); error != noErr) return error;
  if (Memory().names.IsFree(folder, descriptor, bytes)) return fnfErr;
  ItemStatus status;
  if (int error = Tree().LookUp({descriptor, folder}, bytes.c_str(), &status); error != 0) {
    return ErrorFromErrno(error);
  }
  *result = RefHolding(ReferenceToSeenItem(folder, bytes, status));
  return noErr;
}

OSErr PBMakeFSRefUnicodeSync(const FSRefParam &param) {
  if (param.ref == nullptr || param.name == nullptr || param.newRef == nullptr) return paramErr;
  return FSMakeFSRefUnicode(*param.ref, {param.name, param.nameLength}, param.textEncodingHint,
                            param.newRef);
}

OSErr FSCreateDirectoryUnicode(const FSRef &parent, std::u16string_view name, FSRef *result) {
  std::string bytes;
  if (OSErr error = NameToDisk(name, &bytes); error != noErr) return error;
  FolderIndex folder = 0;
  int descriptor = -1;
  if (OSErr error = FindTableFolder(parent, &folder, &descriptor); error != noErr) return error;
  if (int error = MakeFolder({descriptor, folder}, bytes.c_str()); error != 0) {
    return ErrorFromErrno(error);
  }
  return FSMakeFSRefUnicode(parent, name, kTextEncodingUnknown, result);
}

OSErr FSDeleteObject(const FSRef &ref) {
  GoOnMeanwhile();
  if (IsDeletionCalledOff()) return userCanceledErr;
  ItemLocation location;
  bool isFolder = ReferenceIn(ref).kind == ItemKind::kFolder;
  if (ReferenceIn(ref).kind == ItemKind::kUnknown) {
    ItemStatus status;
    if (OSErr error = ReadItemStatus(ref, &status, &location); error != noErr) return error;
    isFolder = status.IsFolder();
  } else if (OSErr error = LocateItem(ref, &location); error != noErr) {
    return error;
  }
  const OpenedFolder folder{location.folder, ReferenceIn(ref).folder};
  if (!isFolder) return ErrorFromErrno(RemoveFile(folder, location.name));
  return ErrorFromErrno(RemoveEmptyFolder(folder, location.name));
}

OSErr FSMoveObject(const FSRef &ref, const FSRef &destination, FSRef *result) {
  GoOnMeanwhile();
  const ItemReference &item = ReferenceIn(ref);
  if (item.folder == 0) return paramErr;
  FolderIndex folder = 0;
  int to = -1;
  if (OSErr error = FindTableFolder(destination, &folder, &to); error != noErr) return error;
  int from = -1;
  if (OSErr error = OpenTableFolder(item.folder, &from, folder); error != noErr) return error;
  const CWholeMove move({item.folder, item.Name(), item.inode, folder, item.Name()});
  if (int error =
          RenameWithoutReplacing({from, item.folder}, item.Name(), {to, folder}, item.Name());
      error != 0) {
    return ErrorFromErrno(error);
  }
  *result = RefAtNewPlace(ref, folder, item.NameView());
  return noErr;
}

OSErr FSRenameUnicode(const FSRef &ref, std::u16string_view name, TextEncoding /*hint*/,
                      FSRef *result) {
  GoOnMeanwhile();
  static std::string bytes;  // asked for twice a file, it keeps its memory
  if (OSErr error = NameToDisk(name, &bytes); error != noErr) return error;
  ItemLocation location;
  if (OSErr error = LocateItem(ref, &location); error != noErr) return error;
  const OpenedFolder folder{location.folder, ReferenceIn(ref).folder};
  if (int error = RenameWithoutReplacing(folder, location.name, folder, bytes.c_str());
      error != 0) {
    return ErrorFromErrno(error);
  }
  *result = RefAtNewPlace(ref, ReferenceIn(ref).folder, bytes);
  return noErr;
}

OSErr FSBeginMove(const FSRef &ref, const FSRef &destination, std::u16string_view newName) {
  MoveInHand &move = Move();
  FolderIndex folder = 0;
  int descriptor = -1;
  if (OSErr error = FindTableFolder(destination, &folder, &descriptor); error != noErr) {
    return error;
  }
  if (OSErr error = NameToDisk(newName, &move.newName); error != noErr) return error;
  move.item = ref;
  const ItemReference &item = ReferenceIn(move.item);
  move.whole.emplace(TreeMove{item.folder, item.Name(), item.inode, folder, move.newName.c_str()});
  return noErr;
}

void FSEndMove() {
  Move().whole.reset();
}

OSErr FSCompareFSRefs(const FSRef &first, const FSRef &second) {
  const ItemReference &a = ReferenceIn(first);
  const ItemReference &b = ReferenceIn(second);
  // An identity alone says nothing: on some volumes several items have the same.
  const bool isSamePlace = a.folder == b.folder && a.NameView() == b.NameView();
  const bool isOther =
      a.IsIdentified() && b.IsIdentified() && (a.device != b.device || a.inode != b.inode);
  return isSamePlace && !isOther ? noErr : errFSRefsDifferent;
}

void FSForgetRun() {
  Memory().EndRun();
}
