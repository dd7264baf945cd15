#include <new>

#include "platform/linux/files/item_specs.h"
#include "platform/linux/system/disk_names.h"
#include "platform/linux/system/errors.h"
#include "platform/linux/system/meanwhile.h"
#include "platform/linux/tree/folder_listing.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/item_location.h"
#include "platform/linux/tree/item_status.h"
#include "platform/linux/tree/tree_memory.h"

struct FolderIterator {
  FSIteratorFlags flags = kFSIterateFlat;
  std::unique_ptr<CFolderListing> listing;
  std::size_t place = 0;  ///< of the next item in the listing

  ~FolderIterator() {
    if (listing != nullptr && IsOfScan()) Memory().listings.Keep(std::move(listing));
  }

  bool IsOfScan() const { return (flags & kFSIterateScan) != 0; }
};

namespace {

void NoteScan(const FSRef &container, const CFolderListing &listing) {
  const ItemReference &reference = ReferenceIn(container);
  if (listing.Error() == noErr) {
    NoteFolderRead(listing.Folder());
  } else if (reference.folder != 0) {
    NoteFolderUnread(reference.folder, reference.NameView(), listing.Error());
  }
}

/// What the scan could not read, and what another volume holds, is never deleted: such a folder may
/// not even be opened for that.
OSErr RefuseDeletion(const FSRef &container, const CFolderListing &listing) {
  if (listing.Error() != noErr) return noErr;
  if (OSErr error = CheckReadByScan(listing.Folder()); error != noErr) return error;
  int descriptor = -1;
  if (OSErr error = OpenTableFolder(listing.Folder(), &descriptor); error != noErr) return error;
  ItemStatus status;
  if (int error = Tree().Look(descriptor, "", &status); error != 0) return ErrorFromErrno(error);
  const FolderEntry &parent = EntryOf(ReferenceIn(container).folder);
  return status.isMountPoint || status.device != parent.device ? fBsyErr : noErr;
}

/// Makes the reference to a listed item in the bytes of `ref`.
const ItemReference &MakeReference(FSRef &ref, const CFolderListing &listing,
                                   const CFolderListing::Item &listed) {
  auto *item = new (ref.hidden) ItemReference;
  item->device = EntryOf(listing.Folder()).device;
  item->inode = listed.inode;
  item->folder = listing.Folder();
  item->kind = listed.kind;
  item->sight = Sight::kListed;
  item->SetName(listed.name);
  return *item;
}

/// Completes the kind of an item where the listing left it open. Answers false for one that has
/// vanished since.
bool CompleteKind(FSRef *ref) {
  if (ReferenceIn(*ref).kind != ItemKind::kUnknown) return true;
  ItemStatus status;
  ItemLocation location;
  const OSErr error = ReadItemStatus(*ref, &status, &location);
  if (error == noErr) {
    ItemReference seen = ReferenceIn(*ref);
    seen.kind = status.IsFolder() ? ItemKind::kFolder : ItemKind::kOther;
    *ref = RefHolding(seen);
  }
  return error != fnfErr;
}

}  // namespace

void FolderIteratorCloser::operator()(FolderIterator *iterator) const {
  delete iterator;
}

OSErr FSOpenIterator(const FSRef &container, FSIteratorFlags flags, FSIterator *iterator) {
  GoOnMeanwhile();
  Memory().BeginStep();
  try {
    FSIterator opened(new FolderIterator);
    opened->flags = flags;
    opened->listing = opened->IsOfScan() ? Memory().listings.ListForScan(container)
                                         : Memory().listings.List(container);
    if (opened->IsOfScan()) NoteScan(container, *opened->listing);
    if (flags == kFSIterateDelete) {
      if (OSErr error = RefuseDeletion(container, *opened->listing); error != noErr) return error;
    }
    *iterator = std::move(opened);
    return noErr;
  } catch (const std::bad_alloc &) {
    return memFullErr;
  }
}

OSErr FSGetIteratorError(const FSIterator &iterator) {
  return iterator == nullptr ? paramErr : iterator->listing->Error();
}

OSErr FSGetCatalogInfoBulk(const FSIterator &iterator, std::uint32_t maximum, std::uint32_t *actual,
                           bool *containerChanged, FSCatalogInfoBitmap whichInfo,
                           FSCatalogInfo *infos, FSRef *refs, FSSpec *specs, HFSUniStr255 *names) {
  GoOnMeanwhile();
  *actual = 0;
  if (containerChanged != nullptr) *containerChanged = false;
  if (iterator == nullptr || maximum == 0) return paramErr;
  const CFolderListing &listing = *iterator->listing;
  if (listing.Error() != noErr) return iterator->IsOfScan() ? afpAccessDenied : listing.Error();

  while (*actual < maximum) {
    CFolderListing::Item listed;
    if (!listing.ReadNext(&iterator->place, &listed)) return errFSNoMoreItems;
    FSRef local;
    FSRef &ref = refs != nullptr ? refs[*actual] : local;
    const ItemReference &item = MakeReference(ref, listing, listed);
    if (!CompleteKind(&ref)) continue;

    if (infos != nullptr) {
      const FSCatalogInfoBitmap others = whichInfo & ~kFSCatInfoNodeFlags;
      if (others != 0)
        (void)FSGetCatalogInfo(ref, others, &infos[*actual], nullptr, nullptr, nullptr);
      infos[*actual].nodeFlags = item.kind == ItemKind::kFolder ? kFSNodeIsDirectoryMask : 0;
    }
    if (specs != nullptr) specs[*actual] = SpecOfItem(item);
    if (names != nullptr && !NameFromDisk(item.NameView(), &names[*actual])) return bdNamErr;
    ++*actual;
  }
  return noErr;
}
