/// The items of a folder, listed once for all who ask for them while it does not change.
///
/// A scan asks of a folder first whether it is a package, which depends on what it holds, and for
/// its items right after that; and it walks through every folder twice, to count and to collect.
/// Each walk looks at each folder anew, but reads its items again only when the folder has changed:
/// with every item added, removed or renamed in it the time of its last change goes on.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/posix/item_reference.h"

class CFolderListing {
 public:
  struct Item {
    std::string_view name;
    ItemKind kind;
  };

  /// Reads the folder that is open for reading as `descriptor`, with its position at the start.
  /// Throws std::bad_alloc.
  CFolderListing(FolderIndex folder, int descriptor);
  /// The listing of a folder that refused to be listed.
  explicit CFolderListing(OSErr error) : error_(error) {}

  FolderIndex Folder() const { return folder_; }
  OSErr Error() const { return error_; }

  /// Reads the item at `*place`, 0 for the first, and goes on to the next; false after the last.
  /// Items come in byte order of their names.
  bool ReadNext(std::size_t *place, Item *item) const;
  bool Holds(std::string_view name) const;

 private:
  friend class CListingStore;

  FolderIndex folder_ = 0;
  OSErr error_ = noErr;
  bool isKeptOnce_ = false;  ///< a second walk uses it, and hardly ever a third
  std::int64_t state_ = 0;   ///< of the folder as it was listed
  std::string records_;      ///< of each item the length and kind, a byte each, and the name
};

/// Lists `folder`, unless a listing is kept that still holds. A folder that may not be listed has a
/// listing too, with the error afpAccessDenied. The folder is then open in the table of folders,
/// for reading.
OSErr ListFolder(const FSRef &folder, std::unique_ptr<CFolderListing> *listing);

/// The same, but the listing stays here for who lists the folder next; it is good until then.
OSErr LookIntoFolder(const FSRef &folder, const CFolderListing **listing);

/// Takes a listing back for the next walk, as long as all that are kept stay small.
void KeepListing(std::unique_ptr<CFolderListing> listing);

/// Lets go of all listings that are kept.
void ForgetListings();
