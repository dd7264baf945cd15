#include "platform/launch_services.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <string>
#include <string_view>

#include "platform/posix/descriptor.h"
#include "platform/posix/finder_info.h"
#include "platform/posix/folder_listing.h"
#include "platform/posix/folder_table.h"
#include "platform/posix/item_location.h"
#include "platform/posix/package_types.h"
#include "platform/posix/property_list.h"
#include "platform/posix/safe_file.h"
#include "platform/urls.h"

namespace {

constexpr std::size_t kLargestPropertyList = std::size_t{1024} * 1024;
constexpr const char *kContents = "Contents";
constexpr const char *kAppRun = "AppRun";
/// What is said of a folder of which nothing is known: kept whole it loses nothing.
constexpr std::uint32_t kUnknownFolder = kLSItemInfoIsContainer | kLSItemInfoIsPackage;

bool IsExecutableFile(const struct stat &status) {
  return S_ISREG(status.st_mode) && (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
}

/// Whether something could not be opened for want of descriptors or memory, which says nothing of
/// what it is. Such a folder is taken for a package: kept whole, it loses nothing.
bool IsExhaustion(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM;
}

/// Whether the link `name` in `folder` leads to an executable file, on a way that never leaves the
/// folder: an absolute link, a way above the folder or into another volume is refused by the
/// kernel. Nothing is opened for reading. A kernel that cannot promise this finds nothing.
bool LeadsToExecutableInside(int folder, const char *name) {
  open_how how{};
  how.flags = O_PATH | O_CLOEXEC;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS | RESOLVE_NO_XDEV;
  const CDescriptor item(static_cast<int>(syscall(SYS_openat2, folder, name, &how, sizeof how)));
  if (!item.IsOpen()) return IsExhaustion(errno);
  struct stat status;
  return fstat(item.Get(), &status) == 0 && IsExecutableFile(status);
}

/// Whether `folder` holds an executable `AppRun`. Often that is a link to the program proper,
/// deeper in the folder; a link that leads elsewhere does not count.
bool HasAppRun(int folder) {
  struct stat status;
  if (fstatat(folder, kAppRun, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
  return S_ISLNK(status.st_mode) ? LeadsToExecutableInside(folder, kAppRun)
                                 : IsExecutableFile(status);
}

/// The content of a regular file that is open as a place only (O_PATH); empty when it cannot be
/// read or is too large. Going through the place makes sure that nothing else is ever opened, a
/// pipe put there meanwhile for one.
std::string ReadFileAtPlace(int place) {
  std::string content;
  struct stat status;
  const std::string path = "/proc/self/fd/" + std::to_string(place);
  if (ReadWholeFile(path, kLargestPropertyList, &content, &status) != 0) content.clear();
  return content;
}

/// The flags that `Contents/Info.plist` in a folder gives it; 0 without one.
std::uint32_t BundleFlags(int folder) {
  const CDescriptor contents(
      openat(folder, kContents, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!contents.IsOpen()) return IsExhaustion(errno) ? kLSItemInfoIsPackage : 0;
  const CDescriptor place(openat(contents.Get(), "Info.plist", O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!place.IsOpen()) return IsExhaustion(errno) ? kLSItemInfoIsPackage : 0;
  struct stat status;
  if (fstat(place.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  const bool isApplication =
      StringInPropertyList(ReadFileAtPlace(place.Get()), "CFBundlePackageType") == "APPL";
  return kLSItemInfoIsPackage | (isApplication ? kLSItemInfoIsApplication : 0);
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
  std::uint64_t listingCount = 0;
  LSItemInfoRecord info{};
  OSStatus status = noErr;
};

/// Looks at an item that may be a folder. What the folder holds is taken from a listing, which a
/// walk that enters the folder needs anyway; one that cannot be listed is asked for each name.
OSStatus ReadItemInfo(const FSRef &item, LSItemInfoRecord *info) {
  const CFolderListing &listing = LookIntoFolder(item);
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
  std::uint32_t flags = kLSItemInfoIsContainer;
  if (mayHold(kContents)) flags |= BundleFlags(folder);
  if (mayHold(kAppRun) && HasAppRun(folder)) flags |= kLSItemInfoIsApplication;
  // What costs most comes last, and only while it matters.
  if ((flags & kLSItemInfoIsPackage) == 0 &&
      (HasRegisteredExtension(item) ||
       HasBundleBit(listing.Error() == noErr ? ReadFinderInfo(folder) : ReadFinderInfo(item)))) {
    flags |= kLSItemInfoIsPackage;
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
  if (last.listingCount != FolderListingCount() || !IsSameReference(last.item, item)) {
    try {
      last.status = ReadItemInfo(item, &last.info);
    } catch (const std::bad_alloc &) {
      last.info.flags = kUnknownFolder;
      last.status = noErr;
    }
    last.item = item;
    last.listingCount = FolderListingCount();
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
