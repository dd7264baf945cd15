#include "platform/linux/tree/known_items.h"

#include "platform/linux/tree/folder_listing.h"
#include "platform/linux/tree/folder_table.h"

namespace {

FSRef seenLast = {};

}  // namespace

void NoteSeenItem(const FSRef &item) {
  seenLast = item;
}

bool IsKnownToExist(const FSRef &item) {
  const ItemReference &reference = ReferenceIn(item);
  const bool isFromListing = reference.inode == 0;
  return (isFromListing && HasListingHeld(reference.folder)) || IsSameReference(item, seenLast);
}

void ForgetSeenItems() {
  seenLast = {};
  ForgetListings();
}
