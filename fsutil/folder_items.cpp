#include "fsutil/folder_items.h"

#include <new>

namespace {

constexpr std::uint32_t kItemsPerRead = 10;

OSErr AppendFolderItems(const FSRef &folder, std::vector<FSRef> *items, bool *containerChanged) {
  FSIterator iterator;
  if (const OSErr error = FSOpenIterator(folder, kFSIterateFlat, &iterator); error != noErr) {
    return error;
  }
  while (true) {
    FSRef batch[kItemsPerRead];
    std::uint32_t count = 0;
    bool changed = false;
    const OSErr error = FSGetCatalogInfoBulk(iterator, kItemsPerRead, &count, &changed,
                                             kFSCatInfoNone, nullptr, batch, nullptr, nullptr);
    if (changed) *containerChanged = true;
    if (error != noErr && error != errFSNoMoreItems) return error;
    items->insert(items->end(), batch, batch + count);
    if (error == errFSNoMoreItems) return noErr;
  }
}

}  // namespace

OSErr GetFolderItemRefs(const FSRef &folder, std::vector<FSRef> *items, bool *containerChanged) {
  if (items == nullptr || containerChanged == nullptr) return paramErr;
  items->clear();
  *containerChanged = false;
  OSErr error = noErr;
  try {
    error = AppendFolderItems(folder, items, containerChanged);
  } catch (const std::bad_alloc &) {
    error = memFullErr;
  }
  if (error != noErr) items->clear();
  return error;
}
