#include "platform/posix/known_items.h"

#include <functional>
#include <new>
#include <string>
#include <unordered_map>

#include "platform/posix/coarse_time.h"
#include "platform/posix/folder_table.h"
#include "platform/posix/item_location.h"

namespace {

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>{}(text);
  }
};

struct KnownItems {
  FSRef seenLast = {};
  bool arePathsKnown = false;
  FSRef pathMadeLastOf = {};
  std::string pathMadeLast;
  std::unordered_map<std::string, FSRef, TextHash, std::equal_to<>> folders;
  std::int64_t pathsSince = 0;  ///< when the first of the paths was noted
};
KnownItems known;

/// What a path leads to may change at any time; for this long, in nanoseconds, it is not asked
/// again.
constexpr std::int64_t kTrustInPaths = 20'000'000;

/// More than anyone has extensions; beyond that the paths are forgotten.
constexpr std::size_t kMostFolders = 1024;

void ForgetOldPaths() {
  const std::int64_t now = CoarseTime();
  if (now - known.pathsSince < kTrustInPaths && known.folders.size() < kMostFolders) return;
  known.folders.clear();
  known.pathMadeLast.clear();
  known.pathsSince = now;
}

}  // namespace

void NoteSeenItem(const FSRef &item) {
  known.seenLast = item;
}

bool IsKnownToExist(const FSRef &item) {
  const ItemReference &reference = ReferenceIn(item);
  const bool isFromListing = reference.inode == 0;
  return (isFromListing && HasListingHeld(reference.folder)) ||
         IsSameReference(item, known.seenLast);
}

void KnowPaths(bool areKnown) {
  known.arePathsKnown = areKnown;
  known.folders.clear();
  known.pathMadeLast.clear();
}

void NotePath(std::string_view path, const FSRef &item) {
  if (!known.arePathsKnown || ReferenceIn(item).kind == ItemKind::kUnknown) return;
  ForgetOldPaths();
  try {
    if (!ReferenceIn(item).isIdentified) {
      known.pathMadeLast = path;
      known.pathMadeLastOf = item;
    } else if (!known.folders.contains(path)) {
      known.folders.emplace(path, item);
    }
  } catch (const std::bad_alloc &) {
    ForgetSeenItems();
  }
}

bool FindItemOfPath(std::string_view path, FSRef *item) {
  if (!known.arePathsKnown || path.empty()) return false;
  ForgetOldPaths();
  if (path == known.pathMadeLast && IsKnownToExist(known.pathMadeLastOf)) {
    *item = known.pathMadeLastOf;
    return true;
  }
  const auto found = known.folders.find(path);
  if (found == known.folders.end()) return false;
  *item = found->second;
  return true;
}

void ForgetSeenItems() {
  known.seenLast = {};
  known.pathMadeLast.clear();
}
