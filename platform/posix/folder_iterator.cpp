#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "platform/posix/directory_listing.h"
#include "platform/posix/disk_names.h"
#include "platform/posix/errors.h"
#include "platform/posix/folder_table.h"
#include "platform/posix/item_location.h"
#include "platform/posix/item_status.h"

namespace {

/// One listed item; its name stands in the iterator's text.
struct ListedItem {
  std::uint64_t sortKey;  ///< eight bytes of the name, so that most comparisons need no look at the
                          ///< text
  std::uint32_t nameStart;
  std::uint8_t nameLength;
  ItemKind kind;
};

std::uint64_t SortKey(std::string_view name) {
  std::array<unsigned char, 8> bytes{};
  std::copy_n(name.begin(), std::min(name.size(), bytes.size()), bytes.begin());
  std::uint64_t key = 0;
  for (const unsigned char byte : bytes) key = key << 8 | byte;
  return key;
}

ItemKind KindFromListing(unsigned char type) {
  if (type == DT_DIR) return ItemKind::kFolder;
  return type == DT_UNKNOWN ? ItemKind::kUnknown : ItemKind::kOther;
}

}  // namespace

struct FolderIterator {
  FolderIndex folder = 0;
  FSIteratorFlags flags = kFSIterateFlat;
  OSErr listingError = noErr;
  std::vector<char> text;
  std::vector<ListedItem> items;
  std::size_t next = 0;

  std::string_view NameOf(const ListedItem &item) const {
    return {text.data() + item.nameStart, item.nameLength};
  }

  void Add(std::string_view name, unsigned char type) {
    items.push_back({0, static_cast<std::uint32_t>(text.size()),
                     static_cast<std::uint8_t>(name.size()), KindFromListing(type)});
    text.insert(text.end(), name.begin(), name.end());
    text.push_back('\0');
  }

  /// How many bytes all names begin with alike: names in a large folder often differ only after
  /// "document " or "IMG_".
  std::size_t CommonPrefixLength() const {
    const std::string_view first = NameOf(items.front());
    std::size_t length = first.size();
    for (const ListedItem &item : items) {
      const std::string_view name = NameOf(item);
      length = std::min(length, name.size());
      while (!name.starts_with(first.substr(0, length))) --length;
    }
    return length;
  }

  void Sort() {
    if (items.empty()) return;
    const std::size_t prefixLength = CommonPrefixLength();
    for (ListedItem &item : items) item.sortKey = SortKey(NameOf(item).substr(prefixLength));
    const auto isBefore = [this](const ListedItem &a, const ListedItem &b) {
      return a.sortKey != b.sortKey ? a.sortKey < b.sortKey : NameOf(a) < NameOf(b);
    };
    if (!std::is_sorted(items.begin(), items.end(), isBefore)) {
      std::sort(items.begin(), items.end(), isBefore);
    }
  }

  OSErr List(int descriptor) {
    const int error = VisitDirectory(
        descriptor, [this](std::string_view name, unsigned char type) { Add(name, type); });
    if (error == 0) Sort();
    return ErrorFromErrno(error);
  }
};

namespace {

std::uint64_t listingCount = 0;

OSErr OpenAndList(const FSRef &container, FolderIterator *iterator) {
  const ItemReference &reference = ReferenceIn(container);
  if (reference.folder == 0) return paramErr;
  const bool isRoot = reference.folder == kRootFolder && reference.NameView() == "/";
  int descriptor = -1;
  OSErr error = isRoot ? EnterRootForListing(&iterator->folder, &descriptor)
                       : EnterFolder(reference.folder, reference.Name(), O_RDONLY, &reference,
                                     &iterator->folder, &descriptor);
  if (error == afpAccessDenied) {
    iterator->listingError = error;
    return noErr;
  }
  if (error != noErr) return error;

  if (iterator->flags == kFSIterateDelete) {
    ItemStatus status;
    if (int failed = ReadItemStatus(descriptor, "", &status); failed != 0) {
      return ErrorFromErrno(failed);
    }
    if (status.isMountPoint || status.device != EntryOf(reference.folder).device) return fBsyErr;
  }
  NoteListing(iterator->folder, descriptor);
  iterator->listingError = iterator->List(descriptor);
  return noErr;
}

/// Completes what the listing left open: the kind where it was unknown and the locked bit where it
/// will be needed. Answers false for an item that has vanished since.
bool ReadFlags(FSIteratorFlags flags, const FSRef &ref, ItemReference *item,
               std::uint16_t *nodeFlags) {
  bool isLocked = false;
  if (item->kind == ItemKind::kUnknown || flags == kFSIterateDelete) {
    ItemStatus status;
    ItemLocation location;
    const OSErr error = ReadItemStatus(ref, &status, &location);
    if (error == fnfErr) return false;
    if (error == noErr) {
      item->kind = status.IsFolder() ? ItemKind::kFolder : ItemKind::kOther;
      isLocked = status.IsLocked();
    }
  }
  *nodeFlags =
      static_cast<std::uint16_t>((item->kind == ItemKind::kFolder ? kFSNodeIsDirectoryMask : 0) |
                                 (isLocked ? kFSNodeLockedMask : 0));
  return true;
}

}  // namespace

void FolderIteratorCloser::operator()(FolderIterator *iterator) const {
  delete iterator;
}

std::uint64_t FolderListingCount() {
  return listingCount;
}

OSErr FSOpenIterator(const FSRef &container, FSIteratorFlags flags, FSIterator *iterator) {
  ++listingCount;
  try {
    FSIterator opened(new FolderIterator);
    opened->flags = flags;
    if (OSErr error = OpenAndList(container, opened.get()); error != noErr) return error;
    *iterator = std::move(opened);
    return noErr;
  } catch (const std::bad_alloc &) {
    return memFullErr;
  }
}

OSErr FSCloseIterator(FSIterator &iterator) {
  iterator.reset();
  return noErr;
}

OSErr FSGetCatalogInfoBulk(const FSIterator &iterator, std::uint32_t maximum, std::uint32_t *actual,
                           bool *containerChanged, FSCatalogInfoBitmap whichInfo,
                           FSCatalogInfo *infos, FSRef *refs, FSSpec *specs, HFSUniStr255 *names) {
  *actual = 0;
  if (containerChanged != nullptr) *containerChanged = false;
  if (iterator == nullptr || maximum == 0) return paramErr;
  if (iterator->listingError != noErr) return iterator->listingError;

  while (*actual < maximum) {
    if (iterator->next == iterator->items.size()) return errFSNoMoreItems;
    const ListedItem &listed = iterator->items[iterator->next++];
    ItemReference item{};
    item.device = EntryOf(iterator->folder).device;
    item.folder = iterator->folder;
    item.kind = listed.kind;
    item.SetName(iterator->NameOf(listed));
    std::uint16_t nodeFlags = 0;
    if (!ReadFlags(iterator->flags, RefHolding(item), &item, &nodeFlags)) continue;

    const FSRef ref = RefHolding(item);
    if (infos != nullptr) {
      const FSCatalogInfoBitmap others = whichInfo & ~kFSCatInfoNodeFlags;
      if (others != 0)
        (void)FSGetCatalogInfo(ref, others, &infos[*actual], nullptr, nullptr, nullptr);
      infos[*actual].nodeFlags = nodeFlags;
    }
    if (refs != nullptr) refs[*actual] = ref;
    if (specs != nullptr) specs[*actual] = SpecOfItem(item);
    if (names != nullptr) NameFromDisk(item.NameView(), &names[*actual]);
    ++*actual;
  }
  return noErr;
}
