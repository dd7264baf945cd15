#include "platform/posix/folder_listing.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <unordered_map>
#include <vector>

#include "platform/posix/directory_listing.h"
#include "platform/posix/errors.h"
#include "platform/posix/folder_table.h"

namespace {

/// An item as it is read; its name stands in the text of all.
struct ReadItem {
  std::uint64_t sortKey;  ///< eight bytes of the name, so that most comparisons need no look at the
                          ///< text
  std::uint32_t nameStart;
  std::uint8_t nameLength;
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

}  // namespace

/// The listings that are kept: one that was just made for LookIntoFolder, and those of the folders
/// that one walk has been through, for the next.
class CListingStore {
 public:
  OSErr Take(const FSRef &folder, std::unique_ptr<CFolderListing> *listing) {
    // A refusal is always asked for anew: there is no state that could tell of a change.
    const bool isCurrent = latest_ != nullptr && latest_->Error() == noErr &&
                           IsSameReference(latestFolder_, folder) &&
                           IsListingCurrent(latest_->Folder());
    if (!isCurrent) return OpenAndList(folder, listing);
    *listing = std::move(latest_);
    return noErr;
  }

  OSErr LookInto(const FSRef &folder, const CFolderListing **listing) {
    latest_.reset();
    if (OSErr error = OpenAndList(folder, &latest_); error != noErr) return error;
    latestFolder_ = folder;
    *listing = latest_.get();
    return noErr;
  }

  void Keep(std::unique_ptr<CFolderListing> listing) {
    if (listing->isKeptOnce_ || listing->state_ == 0) return;
    const std::size_t size = SizeOf(*listing);
    if (size_ + size > kMostKept) return;
    listing->isKeptOnce_ = true;
    const FolderIndex folder = listing->folder_;
    const auto [place, isNew] = kept_.try_emplace(folder);
    if (!isNew) size_ -= SizeOf(*place->second);
    place->second = std::move(listing);
    size_ += size;
  }

  void Forget() {
    latest_.reset();
    kept_.clear();
    size_ = 0;
  }

 private:
  /// Enough for a hundred thousand files, and little beside what as many references take.
  static constexpr std::size_t kMostKept = std::size_t{4} * 1024 * 1024;

  static std::size_t SizeOf(const CFolderListing &listing) {
    constexpr std::size_t kPlaceInMap = 64;
    return sizeof listing + listing.records_.capacity() + kPlaceInMap;
  }

  OSErr OpenAndList(const FSRef &folder, std::unique_ptr<CFolderListing> *listing) {
    const ItemReference &reference = ReferenceIn(folder);
    if (reference.folder == 0) return paramErr;
    FolderIndex index = 0;
    int descriptor = -1;
    const OSErr error = EnterFolderForListing(reference, &index, &descriptor);
    if (error != noErr && error != afpAccessDenied) return error;
    try {
      if (error != noErr) {
        *listing = std::make_unique<CFolderListing>(error);
      } else if (*listing = TakeKept(index); *listing == nullptr) {
        *listing = std::make_unique<CFolderListing>(index, descriptor);
      }
      return noErr;
    } catch (const std::bad_alloc &) {
      return memFullErr;
    }
  }

  /// The kept listing of a folder that has just been entered; null when it was changed since.
  std::unique_ptr<CFolderListing> TakeKept(FolderIndex folder) {
    auto found = kept_.extract(folder);
    if (found.empty()) return nullptr;
    size_ -= SizeOf(*found.mapped());
    const bool isCurrent = found.mapped()->state_ == EntryOf(folder).listedState;
    return isCurrent ? std::move(found.mapped()) : nullptr;
  }

  FSRef latestFolder_ = {};
  std::unique_ptr<CFolderListing> latest_;
  std::unordered_map<FolderIndex, std::unique_ptr<CFolderListing>> kept_;
  std::size_t size_ = 0;  ///< of those in the map
};

namespace {

CListingStore &Store() {
  static CListingStore store;
  return store;
}

}  // namespace

CFolderListing::CFolderListing(FolderIndex folder, int descriptor)
    : folder_(folder), state_(EntryOf(folder).listedState) {
  static ReadItems read;
  read.text.clear();
  read.items.clear();
  const int error = VisitDirectory(descriptor, [](std::string_view name, unsigned char type) {
    read.items.push_back({0, static_cast<std::uint32_t>(read.text.size()),
                          static_cast<std::uint8_t>(name.size()), KindFromListing(type)});
    read.text += name;
  });
  error_ = ErrorFromErrno(error);
  if (error != 0) return;
  Sort(&read);
  records_.reserve(read.text.size() + 2 * read.items.size());
  for (const ReadItem &item : read.items) {
    records_ += static_cast<char>(item.nameLength);
    records_ += static_cast<char>(item.kind);
    records_ += read.NameOf(item);
  }
  constexpr std::size_t kLarge = std::size_t{1} << 20;
  if (read.text.capacity() > kLarge) read = {};
}

bool CFolderListing::ReadNext(std::size_t *place, Item *item) const {
  if (*place == records_.size()) return false;
  const char *record = records_.data() + *place;
  const auto length = static_cast<unsigned char>(record[0]);
  *item = {{record + 2, length}, static_cast<ItemKind>(record[1])};
  *place += 2 + std::size_t{length};
  return true;
}

bool CFolderListing::Holds(std::string_view name) const {
  Item item;
  for (std::size_t place = 0; ReadNext(&place, &item);) {
    if (item.name == name) return true;
  }
  return false;
}

OSErr ListFolder(const FSRef &folder, std::unique_ptr<CFolderListing> *listing) {
  return Store().Take(folder, listing);
}

OSErr LookIntoFolder(const FSRef &folder, const CFolderListing **listing) {
  return Store().LookInto(folder, listing);
}

void KeepListing(std::unique_ptr<CFolderListing> listing) {
  try {
    Store().Keep(std::move(listing));
  } catch (const std::bad_alloc &) {
    // The folder is listed once more instead.
    Store().Forget();
  }
}

void ForgetListings() {
  Store().Forget();
}
