#include "platform/posix/folder_listing.h"

#include <algorithm>
#include <array>
#include <new>

#include "platform/posix/directory_listing.h"
#include "platform/posix/errors.h"
#include "platform/posix/folder_table.h"

namespace {

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

OSErr OpenAndList(const FSRef &folder, std::unique_ptr<CFolderListing> *listing) {
  const ItemReference &reference = ReferenceIn(folder);
  if (reference.folder == 0) return paramErr;
  FolderIndex index = 0;
  int descriptor = -1;
  const OSErr error = EnterFolderForListing(reference, &index, &descriptor);
  if (error != noErr && error != afpAccessDenied) return error;
  try {
    *listing = error == noErr ? std::make_unique<CFolderListing>(index, descriptor)
                              : std::make_unique<CFolderListing>(error);
    return noErr;
  } catch (const std::bad_alloc &) {
    return memFullErr;
  }
}

/// The listing that was made last, and of what.
FSRef keptFolder = {};
std::unique_ptr<CFolderListing> keptListing;

/// A refusal is always asked for anew: no state of the folder is known that could tell a change.
bool IsKeptListingOf(const FSRef &folder) {
  return keptListing != nullptr && keptListing->Error() == noErr &&
         IsSameReference(keptFolder, folder) && IsListingCurrent(keptListing->Folder());
}

}  // namespace

CFolderListing::CFolderListing(FolderIndex folder, int descriptor) : folder_(folder) {
  const int error = VisitDirectory(descriptor, [this](std::string_view name, unsigned char type) {
    items_.push_back({0, static_cast<std::uint32_t>(text_.size()),
                      static_cast<std::uint8_t>(name.size()), KindFromListing(type)});
    text_.insert(text_.end(), name.begin(), name.end());
  });
  error_ = ErrorFromErrno(error);
  if (error == 0) Sort();
}

bool CFolderListing::Holds(std::string_view name) const {
  const auto found = std::ranges::lower_bound(
      items_, name, {}, [this](const ListedItem &item) { return NameOf(item); });
  return found != items_.end() && NameOf(*found) == name;
}

/// How many bytes all names begin with alike: names in a large folder often differ only after
/// "document " or "IMG_".
std::size_t CFolderListing::CommonPrefixLength() const {
  const std::string_view first = NameOf(items_.front());
  std::size_t length = first.size();
  for (const ListedItem &item : items_) {
    const std::string_view name = NameOf(item);
    length = std::min(length, name.size());
    while (!name.starts_with(first.substr(0, length))) --length;
  }
  return length;
}

void CFolderListing::Sort() {
  if (items_.empty()) return;
  const std::size_t prefixLength = CommonPrefixLength();
  for (ListedItem &item : items_) item.sortKey = SortKey(NameOf(item).substr(prefixLength));
  const auto isBefore = [this](const ListedItem &a, const ListedItem &b) {
    return a.sortKey != b.sortKey ? a.sortKey < b.sortKey : NameOf(a) < NameOf(b);
  };
  if (!std::is_sorted(items_.begin(), items_.end(), isBefore)) {
    std::sort(items_.begin(), items_.end(), isBefore);
  }
}

OSErr ListFolder(const FSRef &folder, std::unique_ptr<CFolderListing> *listing) {
  if (!IsKeptListingOf(folder)) return OpenAndList(folder, listing);
  *listing = std::move(keptListing);
  return noErr;
}

OSErr LookIntoFolder(const FSRef &folder, const CFolderListing **listing) {
  ForgetListing();
  if (OSErr error = OpenAndList(folder, &keptListing); error != noErr) return error;
  keptFolder = folder;
  *listing = keptListing.get();
  return noErr;
}

void ForgetListing() {
  keptListing.reset();
}
