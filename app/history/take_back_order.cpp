#include "app/history/take_back_order.h"

namespace {

std::optional<FSRef> FolderAt(const std::string &path) {
  FSRef folder;
  bool isFolder = false;
  if (FSPathMakeRef(path.c_str(), &folder, &isFolder) != noErr || !isFolder) return std::nullopt;
  return folder;
}

}  // namespace

std::optional<TakeBackOrder> FindTakeBackOrder(TakeBack how, const FSRef *folder, std::string *path,
                                               std::string *reason) {
  TakeBackOrder order{};
  path->clear();
  if (FindRunToTakeBack(how, folder, &order.run, reason) != noErr) return std::nullopt;
  *path = order.run.folder;
  const std::optional<FSRef> found = folder != nullptr ? *folder : FolderAt(order.run.folder);
  if (!found || !IsFolderOfRun(*found, order.run)) {
    *reason = "is not there any more, or is another folder";
    return std::nullopt;
  }
  order.folder = *found;
  return order;
}
