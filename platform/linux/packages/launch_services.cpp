#include "platform/launch_services.h"

#include <sys/stat.h>

#include <cerrno>
#include <new>
#include <string>
#include <string_view>

#include "platform/linux/packages/package_types.h"
#include "platform/linux/packages/property_list.h"
#include "platform/linux/system/errors.h"
#include "platform/linux/tree/finder_info.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/tree_memory.h"
#include "platform/urls.h"

namespace {

constexpr std::size_t kLargestPropertyList = std::size_t{1024} * 1024;
constexpr const char *kContents = "Contents";
constexpr const char *kAppRun = "AppRun";
/// What is said of a folder of which nothing is known: kept whole it loses nothing.
constexpr std::uint32_t kUnknownFolder = kLSItemInfoIsContainer | kLSItemInfoIsPackage;

bool IsExecutableFile(const ItemStatus &status) {
  return status.IsFile() && (status.mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
}

/// What could not be opened for want of descriptors or memory says nothing of what it is, and that
/// is noted in `lack`.
void NoteLack(int error, OSErr *lack) {
  if (error == EMFILE || error == ENFILE || error == ENOMEM) *lack = ErrorFromErrno(error);
}

/// Whether `folder` holds an executable `AppRun`. Often that is a link to the program proper,
/// deeper in the folder; a link that leads elsewhere does not count.
bool HasAppRun(int folder, OSErr *lack) {
  ItemStatus status;
  if (Tree().Look(folder, kAppRun, &status) != 0) return false;
  if (!status.IsLink()) return IsExecutableFile(status);
  const int error = Tree().LookBehindLink(folder, kAppRun, &status);
  NoteLack(error, lack);
  return error == 0 && IsExecutableFile(status);
}

/// The flags that `Contents/Info.plist` in a folder gives it; 0 without one.
std::uint32_t BundleFlags(int folder, OSErr *lack) {
  int contents = -1;
  int error = Tree().OpenFolder(folder, kContents, FolderUse::kPlace, &contents);
  if (error == 0) {
    std::string list;
    error = Tree().ReadFile(contents, "Info.plist", kLargestPropertyList, &list);
    Tree().CloseFolder(contents);
    if (error == 0) {
      const bool isApplication = StringInPropertyList(list, "CFBundlePackageType") == "APPL";
      return kLSItemInfoIsPackage | (isApplication ? kLSItemInfoIsApplication : 0);
    }
  }
  NoteLack(error, lack);
  return 0;
}

bool HasRegisteredExtension(const FSRef &item) {
  // Most folders have no extension, and need no text made of their name.
  if (NameOnDisk(item).find('.') == std::string_view::npos) return false;
  const auto url = CFURLCreateFromFSRef(item);
  const auto extension = url ? CFURLCopyPathExtension(*url) : std::nullopt;
  return extension && IsPackageType(*extension);
}

bool HasBundleBit(const FinderInfo &information) {
  return ((information[8] << 8 | information[9]) & kHasBundle) != 0;
}

struct LastAnswer {
  FSRef item{};
  std::uint64_t step = 0;
  LSItemInfoRecord info{};
  OSStatus status = noErr;
};

/// Looks at an item that may be a folder. What the folder holds is taken from a listing, which a
/// walk that enters the folder needs anyway; one that cannot be listed is asked for each name.
OSStatus ReadItemInfo(const FSRef &item, LSItemInfoRecord *info) {
  const CFolderListing &listing = Memory().listings.LookInto(item);
  OSErr error = listing.Error();
  if (error == dirNFErr) {
    info->flags = kLSItemInfoIsPlainFile;
    return noErr;
  }
  // Whatever the answer: what could not be looked into could be a package, and is not deleted.
  const ItemReference &reference = ReferenceIn(item);
  if (error != noErr && reference.folder != 0) {
    NoteFolderUnread(reference.folder, reference.NameView(), error);
  }
  int folder = -1;
  if (error == noErr) error = OpenTableFolder(listing.Folder(), &folder);
  if (error == afpAccessDenied) error = OpenFolder(item, &folder);
  if (error == tmfoErr || error == memFullErr) {
    info->flags = kUnknownFolder;
    return noErr;
  }
  if (error != noErr) return error;
  const auto mayHold = [&listing](std::string_view name) {
    return listing.Error() != noErr || listing.Holds(name);
  };
  OSErr lack = noErr;
  std::uint32_t flags = kLSItemInfoIsContainer;
  if (mayHold(kContents)) flags |= BundleFlags(folder, &lack);
  if (mayHold(kAppRun) && HasAppRun(folder, &lack)) flags |= kLSItemInfoIsApplication;
  // What costs most comes last, and only while it matters.
  if ((flags & kLSItemInfoIsPackage) == 0 &&
      (HasRegisteredExtension(item) ||
       HasBundleBit(listing.Error() == noErr ? Tree().ReadFinderInfo({folder, listing.Folder()}, "")
                                             : ReadFinderInfo(item)))) {
    flags |= kLSItemInfoIsPackage;
  }
  if (lack != noErr) {
    NoteFolderUnread(reference.folder, reference.NameView(), lack);
    flags = kUnknownFolder;
  }
  info->flags = flags;
  return noErr;
}

}  // namespace

OSStatus LSCopyItemInfoForRef(const FSRef &item, LSRequestedInfo /*whichInfo*/,
                              LSItemInfoRecord *info) {
  if (IsKnownPlainItem(item)) {
    info->flags = kLSItemInfoIsPlainFile;
    return noErr;
  }
  // A scan asks twice in a row, whether to take a folder as one item and whether to enter it. Both
  // must have the same answer, whatever happens to the folder in between: otherwise it would be
  // taken and taken apart.
  static LastAnswer last;
  if (last.step != Memory().Step() || !IsSameReference(last.item, item)) {
    try {
      last.status = ReadItemInfo(item, &last.info);
    } catch (const std::bad_alloc &) {
      const ItemReference &reference = ReferenceIn(item);
      NoteFolderUnread(reference.folder, reference.NameView(), memFullErr);
      last.info.flags = kUnknownFolder;
      last.status = noErr;
    }
    last.item = item;
    last.step = Memory().Step();
  }
  if (last.status == noErr) *info = last.info;
  return last.status;
}

OSStatus LSCopyDisplayNameForRef(const FSRef &item, std::u16string *displayName) {
  HFSUniStr255 name;
  const OSErr error = FSGetCatalogInfo(item, kFSCatInfoNone, nullptr, &name, nullptr, nullptr);
  if (error == noErr) *displayName = name.View();
  return error;
}
