/// The items of a folder, listed once for all the walks of a scan while it does not change.
///
/// A scan asks of a folder first whether it is a package, which depends on what it holds, and for
/// its items right after that; and it walks through every folder twice, to count and to collect.
/// Each walk looks at each folder anew, but reads its items again only when the folder has changed:
/// with every item added, removed or renamed in it the time of its last change goes on.
///
/// Listings are kept for scans alone and no longer than a scan goes on: the first change that the
/// program makes ends it, and so does listing a folder for anything else. What is deleted or sorted
/// is always listed anew, and where a volume's times cannot be relied on no listing is kept from
/// one walk to the other.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/linux/tree/item_reference.h"

class CFolderListing {
 public:
  struct Item {
    std::string_view name;
    ItemKind kind;
    std::uint64_t inode;
  };

  /// Reads the folder that is open for reading as `descriptor`, with its position at the start.
  /// Throws std::bad_alloc.
  CFolderListing(FolderIndex folder, int descriptor);
  /// The listing of a folder that could not be opened.
  explicit CFolderListing(OSErr error) : error_(error) {}

  FolderIndex Folder() const { return folder_; }
  OSErr Error() const { return error_; }

  /// Reads the item at `*place`, 0 for the first, and goes on to the next; false after the last.
  /// Items come in byte order of their names.
  bool ReadNext(std::size_t *place, Item *item) const;
  bool Holds(std::string_view name) const;
  /// How much memory it takes, in bytes.
  std::size_t Size() const;

 private:
  friend class CListingStore;

  FolderIndex folder_ = 0;
  OSErr error_ = noErr;
  bool isKeptOnce_ = false;  ///< a second walk uses it, and hardly ever a third
  std::int64_t state_ = 0;   ///< of the folder as it was listed
  std::string records_;      ///< of each item the length of its name, kind, inode number, and name
};

/// Makes listings, and keeps those of a scan: one that was just made for a look at what a folder
/// holds, and those of the folders that one walk has been through, for the next.
class CListingStore {
 public:
  /// Lists a folder anew, and lets go of all listings that are kept. A folder that cannot be opened
  /// or read has a listing too, with the error; otherwise it is open in the table of folders, for
  /// reading. Throws std::bad_alloc.
  std::unique_ptr<CFolderListing> List(const FSRef &folder);

  /// The same for a walk of a scan, which may be given a listing that is kept and still holds.
  std::unique_ptr<CFolderListing> ListForScan(const FSRef &folder);

  /// The same for a look at what a folder holds. The listing stays here for the walk that may come
  /// right after it; it is good until the next call.
  const CFolderListing &LookInto(const FSRef &folder);

  /// Takes a listing back for the next walk, as long as all that are kept stay small.
  void Keep(std::unique_ptr<CFolderListing> listing);

  /// Lets go of all listings that are kept.
  void Forget();

 private:
  std::unique_ptr<CFolderListing> OpenAndList(const FSRef &folder);
  std::unique_ptr<CFolderListing> TakeKept(FolderIndex folder);

  FSRef latestFolder_ = {};
  std::unique_ptr<CFolderListing> latest_;
  std::unordered_map<FolderIndex, std::unique_ptr<CFolderListing>> kept_;
  std::size_t size_ = 0;  ///< of those in the map
};
