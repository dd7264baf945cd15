/// The items of one folder, listed once for all who ask for them in a row.
///
/// A scan asks of a folder first whether it is a package, which depends on what it holds, and for
/// its items right after that. Both are answered from one listing.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/posix/item_reference.h"

/// One listed item; its name stands in the listing's text.
struct ListedItem {
  std::uint64_t sortKey;  ///< eight bytes of the name, so that most comparisons need no look at the
                          ///< text
  std::uint32_t nameStart;
  std::uint8_t nameLength;
  ItemKind kind;
};

class CFolderListing {
 public:
  /// Reads the folder that is open for reading as `descriptor`, with its position at the start.
  /// Throws std::bad_alloc.
  CFolderListing(FolderIndex folder, int descriptor);
  /// The listing of a folder that refused to be listed.
  explicit CFolderListing(OSErr error) : error_(error) {}

  FolderIndex Folder() const { return folder_; }
  OSErr Error() const { return error_; }

  /// In byte order of their names.
  const std::vector<ListedItem> &Items() const { return items_; }
  std::string_view NameOf(const ListedItem &item) const {
    return {text_.data() + item.nameStart, item.nameLength};
  }
  bool Holds(std::string_view name) const;

 private:
  std::size_t CommonPrefixLength() const;
  void Sort();

  FolderIndex folder_ = 0;
  OSErr error_ = noErr;
  std::vector<char> text_;
  std::vector<ListedItem> items_;
};

/// Lists `folder`, unless LookIntoFolder has just done so and it has not changed since. A folder
/// that may not be listed has a listing too, with the error afpAccessDenied. The folder is then
/// open in the table of folders.
OSErr ListFolder(const FSRef &folder, std::unique_ptr<CFolderListing> *listing);

/// The same, but the listing stays here for who lists the folder next; it is good until then.
OSErr LookIntoFolder(const FSRef &folder, const CFolderListing **listing);

/// Lets go of the listing that is kept.
void ForgetListing();
