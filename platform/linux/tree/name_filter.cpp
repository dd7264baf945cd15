#include "platform/linux/tree/name_filter.h"

#include <new>

namespace {

/// Lookups in one folder before it is listed, and for each of them so many bytes of the folder's
/// size, which go with the number of its items: for fewer the listing would cost more than it
/// saves.
constexpr int kLookupsBeforeListing = 32;
constexpr std::uint64_t kBytesForLookup = 1024;

}  // namespace

void CNameFilter::Forget() {
  folder_ = 0;
  lookups_ = 0;
  isListed_ = false;
  otherFolder_ = 0;
}

bool CNameFilter::IsOther(FolderIndex folder, std::string_view name) const {
  return folder == otherFolder_ && HashOfName(name) == otherName_;
}

bool CNameFilter::ListNames(int descriptor) {
  int readable = -1;
  if (Tree().OpenFolder(descriptor, ".", FolderUse::kListing, &readable) != 0) return false;
  bool isListed = false;
  try {
    names_.Clear();
    isListed = Tree().List(readable, [this](std::string_view name, unsigned char, std::uint64_t) {
      names_.Insert(HashOfName(name));
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
  return !names_.Contains(HashOfName(name));
}

void CNameFilter::NoteFree(FolderIndex folder, std::string_view name) {
  if (folder_ == 0 || folder == folder_) return;
  otherFolder_ = folder;
  otherName_ = HashOfName(name);
  isOtherFree_ = true;
}

void CNameFilter::NoteTaken(FolderIndex folder, std::string_view name) {
  if (folder == folder_ && isListed_) {
    try {
      names_.Insert(HashOfName(name));
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
    if (isListed_) names_.Erase(HashOfName(name));
  } else if (IsOther(folder, name)) {
    isOtherFree_ = true;
  }
}

void CNameFilter::PrepareLookup(std::string_view name) const {
  if (isListed_) names_.Prefetch(HashOfName(name));
}
