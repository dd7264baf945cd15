#include "platform/linux/tree/name_filter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "platform/linux/tree/item_location.h"

namespace {

/// A set of 32-bit hashes in one block: open addressing, at most three quarters full.
class CHashSet {
 public:
  void Clear() {
    slots_.assign(kSmallest, 0);
    count_ = 0;
  }

  void Insert(std::uint32_t hash) {
    if (4 * (count_ + 1) > 3 * slots_.size()) Grow();
    std::uint32_t &slot = *Find(hash);
    if (slot == 0) ++count_;
    slot = hash;
  }

  bool Contains(std::uint32_t hash) { return *Find(hash) == hash; }

  void Erase(std::uint32_t hash) {
    const std::size_t mask = slots_.size() - 1;
    auto gap = static_cast<std::size_t>(Find(hash) - slots_.data());
    if (slots_[gap] == 0) return;
    // What follows without a gap was perhaps put there only because its own place was taken.
    for (std::size_t at = (gap + 1) & mask; slots_[at] != 0; at = (at + 1) & mask) {
      const std::size_t fromHome = (at - slots_[at]) & mask;
      if (fromHome < ((at - gap) & mask)) continue;
      slots_[gap] = slots_[at];
      gap = at;
    }
    slots_[gap] = 0;
    --count_;
  }

  void Prefetch(std::uint32_t hash) const {
    __builtin_prefetch(&slots_[hash & (slots_.size() - 1)]);
  }

 private:
  static constexpr std::size_t kSmallest = 1024;

  std::uint32_t *Find(std::uint32_t hash) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    while (slots_[at] != 0 && slots_[at] != hash) at = (at + 1) & mask;
    return &slots_[at];
  }

  void Grow() {
    std::vector<std::uint32_t> old(2 * slots_.size(), 0);
    old.swap(slots_);
    for (const std::uint32_t hash : old) {
      if (hash != 0) *Find(hash) = hash;
    }
  }

  std::vector<std::uint32_t> slots_ = std::vector<std::uint32_t>(kSmallest, 0);
  std::size_t count_ = 0;
};

/// Lookups in one folder before it is listed: for fewer the listing would cost more than it saves.
constexpr int kLookupsBeforeListing = 32;

struct NameFilter {
  FolderIndex folder = 0;
  std::uint64_t listingCount = 0;
  int lookups = 0;
  bool isListed = false;
  CHashSet names;

  /// The name looked up last in another folder.
  FolderIndex otherFolder = 0;
  std::uint32_t otherName = 0;
  bool isOtherFree = false;
};
NameFilter filter;

std::uint32_t HashOf(std::string_view name) {
  // Four are asked for with each file, so eight bytes are mixed in at once. The multiplier is 2^64
  // over the golden ratio (Knuth, The Art of Computer Programming, 6.4).
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
  const auto mix = [](std::uint64_t hash, std::uint64_t word) {
    hash = (hash ^ word) * kMultiplier;
    return hash ^ hash >> 32;
  };
  std::uint64_t hash = name.size();
  std::uint64_t word = 0;
  for (; name.size() > sizeof word; name.remove_prefix(sizeof word)) {
    std::memcpy(&word, name.data(), sizeof word);
    hash = mix(hash, word);
  }
  word = 0;
  for (const char character : name) word = word << 8 | static_cast<unsigned char>(character);
  // 0 stands for an empty slot.
  return std::max<std::uint32_t>(static_cast<std::uint32_t>(mix(hash, word)), 1);
}

bool IsCurrent() {
  return filter.listingCount == FolderListingCount();
}

void StartAnew(FolderIndex folder) {
  filter.folder = folder;
  filter.listingCount = FolderListingCount();
  filter.lookups = 0;
  filter.isListed = false;
  filter.otherFolder = 0;
}

bool IsOther(FolderIndex folder, std::string_view name) {
  return folder == filter.otherFolder && HashOf(name) == filter.otherName;
}

bool ListNames(int descriptor) {
  int readable = -1;
  if (Tree().OpenFolder(descriptor, ".", FolderUse::kListing, &readable) != 0) return false;
  bool isListed = false;
  try {
    filter.names.Clear();
    isListed = Tree().List(readable, [](std::string_view name, unsigned char, std::uint64_t) {
      filter.names.Insert(HashOf(name));
    }) == 0;
  } catch (const std::bad_alloc &) {
    isListed = false;
  }
  Tree().CloseFolder(readable);
  return isListed;
}

void InsertName(std::uint32_t hash) {
  try {
    filter.names.Insert(hash);
  } catch (const std::bad_alloc &) {
    // Without this name the filter would say too much.
    filter.isListed = false;
  }
}

}  // namespace

bool IsNameKnownToBeFree(FolderIndex folder, int descriptor, std::string_view name) {
  // The folder looked into first keeps the filter: it is the one that everything is moved into.
  if (!IsCurrent()) StartAnew(folder);
  if (folder != filter.folder) return filter.isOtherFree && IsOther(folder, name);
  if (!filter.isListed) {
    if (++filter.lookups % kLookupsBeforeListing != 0) return false;
    filter.isListed = ListNames(descriptor);
    if (!filter.isListed) return false;
  }
  return !filter.names.Contains(HashOf(name));
}

void NoteFreeName(FolderIndex folder, std::string_view name) {
  if (!IsCurrent() || folder == filter.folder) return;
  filter.otherFolder = folder;
  filter.otherName = HashOf(name);
  filter.isOtherFree = true;
}

void NoteNameInFolder(FolderIndex folder, std::string_view name) {
  if (!IsCurrent()) return;
  if (folder == filter.folder) {
    if (filter.isListed) InsertName(HashOf(name));
  } else if (IsOther(folder, name)) {
    filter.isOtherFree = false;
  }
}

void NoteNameGone(FolderIndex folder, std::string_view name) {
  if (!IsCurrent()) return;
  if (folder == filter.folder) {
    if (filter.isListed) filter.names.Erase(HashOf(name));
  } else if (IsOther(folder, name)) {
    filter.isOtherFree = true;
  }
}

void PrepareLookup(std::string_view name) {
  if (IsCurrent() && filter.isListed) filter.names.Prefetch(HashOf(name));
}
