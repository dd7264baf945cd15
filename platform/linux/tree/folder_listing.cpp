#include "platform/linux/tree/folder_listing.h"

#include <dirent.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <vector>

#include "platform/linux/system/errors.h"
#include "platform/linux/tree/folder_table.h"

namespace {

/// Two bytes for the length of the name, one for the kind, eight for the inode number.
constexpr std::size_t kHeadOfRecord = 11;

/// An item as it is read; its name stands in the text of all.
struct ReadItem {
  std::uint64_t sortKey;  ///< eight bytes of the name, so that most comparisons need no look at the
                          ///< text
  std::uint64_t inode;
  std::uint32_t nameStart;
  std::uint16_t nameLength;
  ItemKind kind;
};

/// What a folder's entries are read into and sorted in; used again for every folder.
struct ReadItems {
  std::string text;
  std::vector<ReadItem> items;

  std::string_view NameOf(const ReadItem &item) const {
    return {text.data() + item.nameStart, item.nameLength};
  }
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

/// How many bytes all names begin with alike: names in a large folder often differ only after
/// "document " or "IMG_".
std::size_t CommonPrefixLength(const ReadItems &read) {
  const std::string_view first = read.NameOf(read.items.front());
  std::size_t length = first.size();
  for (const ReadItem &item : read.items) {
    const std::string_view name = read.NameOf(item);
    length = std::min(length, name.size());
    while (std::memcmp(name.data(), first.data(), length) != 0) --length;
  }
  return length;
}

void Sort(ReadItems *read) {
  if (read->items.empty()) return;
  const std::size_t prefixLength = CommonPrefixLength(*read);
  for (ReadItem &item : read->items) {
    item.sortKey = SortKey(read->NameOf(item).substr(prefixLength));
  }
  const auto isBefore = [read](const ReadItem &a, const ReadItem &b) {
    return a.sortKey != b.sortKey ? a.sortKey < b.sortKey : read->NameOf(a) < read->NameOf(b);
  };
  if (!std::is_sorted(read->items.begin(), read->items.end(), isBefore)) {
    std::sort(read->items.begin(), read->items.end(), isBefore);
  }
}

/// Enough for a hundred thousand files, and little beside what as many references take.
constexpr std::size_t kMostKept = std::size_t{5} * 1024 * 1024;

}  // namespace

CFolderListing::CFolderListing(FolderIndex folder, int descriptor)
    : folder_(folder), state_(EntryOf(folder).listedState) {
  static ReadItems read;
  read.text.clear();
  read.items.clear();
  const int error =
      Tree().List(descriptor, [](std::string_view name, unsigned char type, std::uint64_t inode) {
        read.items.push_back({0, inode, static_cast<std::uint32_t>(read.text.size()),
                              static_cast<std::uint16_t>(name.size()), KindFromListing(type)});
        read.text += name;
      });
  error_ = ErrorFromErrno(error);
  if (error != 0) return;
  Sort(&read);
  records_.reserve(read.text.size() + kHeadOfRecord * read.items.size());
  for (const ReadItem &item : read.items) {
    records_ += static_cast<char>(item.nameLength & 0xFF);
    records_ += static_cast<char>(item.nameLength >> 8);
    records_ += static_cast<char>(item.kind);
    records_.append(reinterpret_cast<const char *>(&item.inode), sizeof item.inode);
    records_ += read.NameOf(item);
  }
  constexpr std::size_t kLarge = std::size_t{1} << 20;
  if (read.text.capacity() > kLarge) read = {};
}

bool CFolderListing::ReadNext(std::size_t *place, Item *item) const {
  if (*place == records_.size()) return false;
  const char *record = records_.data() + *place;
  const auto byteAt = [record](int i) {
    return std::size_t{static_cast<unsigned char>(record[i])};
  };
  const std::size_t length = byteAt(0) | byteAt(1) << 8;
  *item = {{record + kHeadOfRecord, length}, static_cast<ItemKind>(record[2]), 0};
  std::memcpy(&item->inode, record + 3, sizeof item->inode);
  *place += kHeadOfRecord + length;
  return true;
}

bool CFolderListing::Holds(std::string_view name) const {
  Item item;
  for (std::size_t place = 0; ReadNext(&place, &item);) {
    if (item.name == name) return true;
  }
  return false;
}

std::size_t CFolderListing::Size() const {
  constexpr std::size_t kPlaceInMap = 64;
  return sizeof *this + records_.capacity() + kPlaceInMap;
}

std::unique_ptr<CFolderListing> CListingStore::List(const FSRef &folder) {
  Forget();
  return OpenAndList(folder);
}

std::unique_ptr<CFolderListing> CListingStore::ListForScan(const FSRef &folder) {
  // What is put into a folder after the look could as well have come right after the listing. A
  // refusal is always asked for anew.
  const bool isOfFolder =
      latest_ != nullptr && latest_->Error() == noErr && IsSameReference(latestFolder_, folder);
  if (isOfFolder) return std::move(latest_);
  latest_.reset();
  return OpenAndList(folder);
}

const CFolderListing &CListingStore::LookInto(const FSRef &folder) {
  latest_.reset();
  latest_ = OpenAndList(folder);
  latestFolder_ = folder;
  return *latest_;
}

void CListingStore::Keep(std::unique_ptr<CFolderListing> listing) {
  if (listing->isKeptOnce_ || listing->state_ == 0) return;
  const std::size_t size = listing->Size();
  if (size_ + size > kMostKept) return;
  listing->isKeptOnce_ = true;
  try {
    const auto [place, isNew] = kept_.try_emplace(listing->folder_);
    if (!isNew) size_ -= place->second->Size();
    place->second = std::move(listing);
    size_ += size;
  } catch (const std::bad_alloc &) {
    // The folder is listed once more instead.
    Forget();
  }
}

void CListingStore::Forget() {
  if (latest_ == nullptr && kept_.empty()) return;
  latest_.reset();
  kept_.clear();
  size_ = 0;
}

std::unique_ptr<CFolderListing> CListingStore::OpenAndList(const FSRef &folder) {
  const ItemReference &reference = ReferenceIn(folder);
  FolderIndex index = 0;
  int descriptor = -1;
  OSErr error = paramErr;
  if (reference.folder != 0) error = EnterFolderForListing(reference, &index, &descriptor);
  if (error != noErr) return std::make_unique<CFolderListing>(error);
  std::unique_ptr<CFolderListing> listing = TakeKept(index);
  if (listing == nullptr) listing = std::make_unique<CFolderListing>(index, descriptor);
  return listing;
}

/// The kept listing of a folder that has just been entered; null when it was changed since.
std::unique_ptr<CFolderListing> CListingStore::TakeKept(FolderIndex folder) {
  auto found = kept_.extract(folder);
  if (found.empty()) return nullptr;
  size_ -= found.mapped()->Size();
  const bool isCurrent = found.mapped()->state_ == EntryOf(folder).listedState;
  return isCurrent ? std::move(found.mapped()) : nullptr;
}
