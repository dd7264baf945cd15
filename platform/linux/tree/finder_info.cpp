#include "platform/linux/tree/finder_info.h"

#include "platform/linux/tree/item_location.h"

FinderInfo ReadFinderInfo(const FSRef &item) {
  ItemLocation location;
  if (LocateItem(item, &location) != noErr) return {};
  return Tree().ReadFinderInfo({location.folder, ReferenceIn(item).folder}, location.name);
}
