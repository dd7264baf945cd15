#include "platform/linux/plan/planned_tree.h"

#include <dirent.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/linux/system/plain_text.h"
#include "platform/strings.h"

namespace {

/// No file system gives such inode numbers.
constexpr std::uint64_t kInventedInodes = std::uint64_t{0xFFFF'FFF0} << 32;

std::string Folded(std::string_view name) {
  std::string folded;
  FoldCase(name, &folded);
  return folded;
}

}  // namespace

PlanPlace::PlanPlace(PlanFolder itsFolder, const char *itsName) : folder(itsFolder), name(itsName) {
  constexpr std::uint64_t kCaseOfLetters = 0x2020'2020'2020'2020;
  const std::string_view text(name);
  hash = IsPlainText(text) ? HashOfName(text, kCaseOfLetters) : HashOfName(Folded(text));
  hash = std::max<std::uint32_t>(hash ^ folder * 0x85EBCA77, 1);
}

CPlannedTree::CPlannedTree() {
  items_.emplace_back();
  folders_.resize(kRoot + 1);
}

PlanFolder CPlannedTree::FindFolder(const PlanPlace &disk) const {
  const Slot *const found = foldersOnDisk_.Find(disk.hash, [&](const Slot &slot) {
    const PlanPlace &place = folders_[slot.number].disk;
    return IsAt(place.folder, place.name, disk);
  });
  return found != nullptr ? found->number : 0;
}

PlanFolder CPlannedTree::AddFolder(const PlanPlace &disk) {
  const auto added = static_cast<PlanFolder>(folders_.size());
  folders_.push_back({.disk = {disk.folder, Keep(disk.name)},
                      .item = FindLeftItem(disk),
                      .ignoresCase = folders_[disk.folder].ignoresCase});
  foldersOnDisk_.Insert({disk.hash, added});
  return added;
}

bool CPlannedTree::IsMade(PlanFolder folder) const {
  return folder != kRoot && folders_[folder].disk.folder == 0;
}

PlanFolder CPlannedTree::ParentOf(PlanFolder folder) const {
  if (folder == kRoot) return kRoot;
  const Folder &found = folders_[folder];
  return found.item != 0 ? items_[found.item].folder : found.disk.folder;
}

const CPlannedTree::Item *CPlannedTree::FindArrived(const PlanPlace &place) const {
  const PlanItem item = FindArrivedItem(place);
  return item != 0 ? &items_[item] : nullptr;
}

bool CPlannedTree::HasLeft(const PlanPlace &disk) const {
  return FindLeftItem(disk) != 0;
}

CPlannedTree::MovedNames CPlannedTree::Move(const PlanPlace &from, const PlanPlace &to,
                                            const DiskItem &found) {
  const PlanItem moved = ItemToChange(from, found);
  const char *const oldName = items_[moved].name;
  TakeAway(moved, from);
  PutAt(moved, to);
  return {oldName, items_[moved].name};
}

const char *CPlannedTree::Remove(const PlanPlace &place, const DiskItem &found) {
  const PlanItem removed = ItemToChange(place, found);
  const char *const name = items_[removed].name;
  TakeAway(removed, place);
  items_[removed].folder = 0;
  return name;
}

const CPlannedTree::Item &CPlannedTree::Make(const PlanPlace &place, unsigned char type,
                                             const char *target) {
  const auto made = static_cast<PlanItem>(items_.size());
  items_.push_back(
      {nullptr, target != nullptr ? Keep(target) : nullptr, kInventedInodes + made, 0, 0, 0, type});
  PutAt(made, place);
  if (type == DT_DIR) {
    items_[made].madeFolder = static_cast<PlanFolder>(folders_.size());
    folders_.push_back(
        {.disk = {}, .item = made, .ignoresCase = folders_[place.folder].ignoresCase});
  }
  return items_[made];
}

bool CPlannedTree::IsAt(PlanFolder folder, const char *name, const PlanPlace &place) const {
  if (folder != place.folder) return false;
  if (std::strcmp(name, place.name) == 0) return true;
  return folders_[folder].ignoresCase && Folded(name) == Folded(place.name);
}

PlanItem CPlannedTree::FindArrivedItem(const PlanPlace &place) const {
  if (folders_[place.folder].arrived == 0) return 0;
  const Slot *const found = arrived_.Find(place.hash, [&](const Slot &slot) {
    return IsAt(items_[slot.number].folder, items_[slot.number].name, place);
  });
  return found != nullptr ? found->number : 0;
}

PlanItem CPlannedTree::FindLeftItem(const PlanPlace &disk) const {
  if (folders_[disk.folder].left == 0) return 0;
  const Slot *const found = left_.Find(disk.hash, [&](const Slot &slot) {
    return IsAt(items_[slot.number].diskFolder, items_[slot.number].diskName, disk);
  });
  return found != nullptr ? found->number : 0;
}

/// The item that is at a place, new to the plan or not.
PlanItem CPlannedTree::ItemToChange(const PlanPlace &place, const DiskItem &found) {
  if (const PlanItem known = FindArrivedItem(place); known != 0) return known;
  const auto item = static_cast<PlanItem>(items_.size());
  const char *const name = Keep(place.name);
  items_.push_back({name, name, found.inode, place.folder, place.folder, 0, found.type});
  if (found.type == DT_DIR) {
    if (const PlanFolder own = FindFolder(place); own != 0) folders_[own].item = item;
  }
  return item;
}

/// Takes an item away from where it is, which is `place`; it has to be put somewhere then, or be
/// nowhere.
void CPlannedTree::TakeAway(PlanItem number, const PlanPlace &place) {
  if (items_[number].IsAtHome()) {
    left_.Insert({place.hash, number});
    ++folders_[place.folder].left;
  } else {
    arrived_.Erase({place.hash, number});
    --folders_[place.folder].arrived;
  }
}

void CPlannedTree::PutAt(PlanItem number, const PlanPlace &place) {
  Item &item = items_[number];
  if (item.diskFolder == place.folder && std::strcmp(item.diskName, place.name) == 0) {
    left_.Erase({place.hash, number});
    --folders_[place.folder].left;
    item.folder = item.diskFolder;
    item.name = item.diskName;
    return;
  }
  if (item.name == nullptr || std::strcmp(item.name, place.name) != 0) item.name = Keep(place.name);
  item.folder = place.folder;
  arrived_.Insert({place.hash, number});
  ++folders_[place.folder].arrived;
}

const char *CPlannedTree::Keep(std::string_view text) {
  char *const kept = static_cast<char *>(texts_.allocate(text.size() + 1, 1));
  *std::copy(text.begin(), text.end(), kept) = '\0';
  return kept;
}
