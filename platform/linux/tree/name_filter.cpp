#include "platform/linux/tree/name_filter.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

/// Lookups in one folder before it is listed, and for each of them so many bytes of the folder's
/// size, which go with the number of its items: for fewer the listing would cost more than it
/// saves.
constexpr int kLookupsBeforeListing = 32;
constexpr std::uint64_t kBytesForLookup = 1024;

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

}  // namespace

void CHashSet::Clear() {
  slots_.assign(kSmallest, 0);
  count_ = 0;
}

void CHashSet::Insert(std::uint32_t hash) {
  if (4 * (count_ + 1) > 3 * slots_.size()) Grow();
  std::uint32_t &slot = slots_[Find(hash)];
  if (slot == 0) ++count_;
  slot = hash;
}

void CHashSet::Erase(std::uint32_t hash) {
  const std::size_t mask = slots_.size() - 1;
  std::size_t gap = Find(hash);
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

std::size_t CHashSet::Find(std::uint32_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  while (slots_[at] != 0 && slots_[at] != hash) at = (at + 1) & mask;
  return at;
}

void CHashSet::Grow() {
  std::vector<std::uint32_t> old(2 * slots_.size(), 0);
  old.swap(slots_);
  for (const std::uint32_t hash : old) {
    if (hash != 0) slots_[Find(hash)] = hash;
  }
}

void CNameFilter::Forget() {
  folder_ = 0;
  lookups_ = 0;
  isListed_ = false;
  otherFolder_ = 0;
}

bool CNameFilter::IsOther(FolderIndex folder, std::string_view name) const {
  return folder == otherFolder_ && HashOf(name) == otherName_;
}

bool CNameFilter::ListNames(int descriptor) {
  int readable = -1;
  if (Tree().OpenFolder(descriptor, ".", FolderUse::kListing, &readable) != 0) return false;
  bool isListed = false;
  try {
    names_.Clear();
    isListed = Tree().List(readable, [this](std::string_view name, unsigned char, std::uint64_t) {
      names_.Insert(HashOf(name));
    }) == 0;
  } catch (const std::bad_alloc &) {
    isListed = false;
  }
  Tree().CloseFolder(readable);
  return isListed;
}

bool CNameFilter::IsFree(FolderIndex folder, int descriptor, std::string_view name) {
  // The folder looked into first keeps the filter: it is the one that everything is moved into.
  if (folder_ == 0) folder_ = folder;
  if (folder != folder_) return isOtherFree_ && IsOther(folder, name);
  if (!isListed_) {
    if (++lookups_ % kLookupsBeforeListing != 0) return false;
    ItemStatus status;
    isListed_ = Tree().Look(descriptor, "", &status) == 0 &&
                status.size <= lookups_ * kBytesForLookup && ListNames(descriptor);
    if (!isListed_) return false;
  }
  return !names_.Contains(HashOf(name));
}

void CNameFilter::NoteFree(FolderIndex folder, std::string_view name) {
  if (folder_ == 0 || folder == folder_) return;
  otherFolder_ = folder;
  otherName_ = HashOf(name);
  isOtherFree_ = true;
}

void CNameFilter::NoteTaken(FolderIndex folder, std::string_view name) {
  if (folder == folder_ && isListed_) {
    try {
      names_.Insert(HashOf(name));
    } catch (const std::bad_alloc &) {
      // Without this name the filter would say too much.
      isListed_ = false;
    }
  } else if (folder != folder_ && IsOther(folder, name)) {
    isOtherFree_ = false;
  }
}

void CNameFilter::NoteGone(FolderIndex folder, std::string_view name) {
  if (folder == folder_) {
    if (isListed_) names_.Erase(HashOf(name));
  } else if (IsOther(folder, name)) {
    isOtherFree_ = true;
  }
}

void CNameFilter::PrepareLookup(std::string_view name) const {
  if (isListed_) names_.Prefetch(HashOf(name));
}
