#include "platform/linux/plan/planned_tree.h"

#include <dirent.h>

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <string>

#include "platform/linux/system/disk_names.h"
#include "platform/linux/system/unicode_locale.h"

namespace {

/// No file system gives such inode numbers.
constexpr std::uint64_t kInventedInodes = std::uint64_t{0xFFFF'FFF0} << 32;

/// Calls `take` for each character, in lower case; a byte that is no text counts as one.
template <typename Take>
void VisitFolded(std::string_view name, Take take) {
  for (std::size_t at = 0; at < name.size();) {
    char32_t character = static_cast<unsigned char>(name[at]);
    std::size_t length = 1;
    if (character >= 0x80) {
      length = Utf8SequenceLength(name, at, &character);
      if (length == 0) {
        character = 0x110000 | static_cast<unsigned char>(name[at]);
        length = 1;
      } else if (UnicodeLocale() != nullptr) {
        character = towlower_l(static_cast<wint_t>(character), UnicodeLocale());
      }
    } else if (character >= 'A' && character <= 'Z') {
      character += 'a' - 'A';
    }
    take(character);
    at += length;
  }
}

std::u32string Folded(std::string_view name) {
  std::u32string folded;
  VisitFolded(name, [&folded](char32_t character) { folded += character; });
  return folded;
}

}  // namespace

CPlannedTree::CPlannedTree() {
  items_.emplace_back();
  folders_.resize(kRoot + 1);
}

PlanFolder CPlannedTree::FindFolder(const PlanPlace &disk) const {
  const auto [first, last] = foldersOnDisk_.equal_range(HashOf(disk));
  const auto found = std::find_if(
      first, last, [&](const auto &entry) { return AreSame(folders_[entry.second].disk, disk); });
  return found == last ? 0 : found->second;
}

PlanFolder CPlannedTree::AddFolder(const PlanPlace &disk) {
  const auto added = static_cast<PlanFolder>(folders_.size());
  folders_.push_back({.disk = {disk.folder, Keep(disk.name)},
                      .item = Find(left_, &Item::disk, disk),
                      .ignoresCase = folders_[disk.folder].ignoresCase});
  foldersOnDisk_.emplace(HashOf(disk), added);
  return added;
}

bool CPlannedTree::IsMade(PlanFolder folder) const {
  return folder != kRoot && folders_[folder].disk.folder == 0;
}

PlanFolder CPlannedTree::ParentOf(PlanFolder folder) const {
  if (folder == kRoot) return kRoot;
  const Folder &found = folders_[folder];
  return found.item != 0 ? items_[found.item].now.folder : found.disk.folder;
}

const CPlannedTree::Item *CPlannedTree::FindArrived(const PlanPlace &place) const {
  if (folders_[place.folder].arrived == 0) return nullptr;
  const PlanItem item = Find(arrived_, &Item::now, place);
  return item != 0 ? &items_[item] : nullptr;
}

bool CPlannedTree::HasLeft(const PlanPlace &disk) const {
  return folders_[disk.folder].left != 0 && Find(left_, &Item::disk, disk) != 0;
}

CPlannedTree::MovedNames CPlannedTree::Move(const PlanPlace &from, const PlanPlace &to,
                                            const DiskItem &found) {
  const PlanItem moved = ItemToChange(from, found);
  const char *const oldName = items_[moved].now.name;
  TakeAway(moved);
  PutAt(moved, to);
  return {oldName, items_[moved].now.name};
}

const char *CPlannedTree::Remove(const PlanPlace &place, const DiskItem &found) {
  const PlanItem removed = ItemToChange(place, found);
  const char *const name = items_[removed].now.name;
  TakeAway(removed);
  items_[removed].now = {};
  return name;
}

const CPlannedTree::Item &CPlannedTree::Make(const PlanPlace &place, unsigned char type,
                                             const char *target) {
  const auto made = static_cast<PlanItem>(items_.size());
  items_.push_back({.now = {},
                    .disk = {},
                    .target = target != nullptr ? Keep(target) : nullptr,
                    .inode = kInventedInodes + made,
                    .type = type});
  PutAt(made, place);
  if (type == DT_DIR) {
    items_[made].madeFolder = static_cast<PlanFolder>(folders_.size());
    folders_.push_back(
        {.disk = {}, .item = made, .ignoresCase = folders_[place.folder].ignoresCase});
  }
  return items_[made];
}

/// Equal for what may be the same name in some folder.
std::uint64_t CPlannedTree::HashOf(const PlanPlace &place) const {
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
  std::uint64_t hash = place.folder * kMultiplier;
  VisitFolded(place.name, [&hash](char32_t character) {
    hash = (hash ^ character) * kMultiplier;
    hash ^= hash >> 32;
  });
  return hash;
}

bool CPlannedTree::AreSame(const PlanPlace &a, const PlanPlace &b) const {
  if (a.folder != b.folder) return false;
  if (std::strcmp(a.name, b.name) == 0) return true;
  return folders_[a.folder].ignoresCase && Folded(a.name) == Folded(b.name);
}

PlanItem CPlannedTree::Find(const Index &index, PlanPlace Item::*which,
                            const PlanPlace &place) const {
  const auto [first, last] = index.equal_range(HashOf(place));
  const auto found = std::find_if(
      first, last, [&](const auto &entry) { return AreSame(items_[entry.second].*which, place); });
  return found == last ? 0 : found->second;
}

/// The item that is at a place, new to the plan or not.
PlanItem CPlannedTree::ItemToChange(const PlanPlace &place, const DiskItem &found) {
  const Folder &folder = folders_[place.folder];
  if (folder.arrived != 0) {
    if (const PlanItem known = Find(arrived_, &Item::now, place); known != 0) return known;
  }
  const auto item = static_cast<PlanItem>(items_.size());
  const PlanPlace kept{place.folder, Keep(place.name)};
  items_.push_back({.now = kept, .disk = kept, .inode = found.inode, .type = found.type});
  if (const PlanFolder own = FindFolder(kept); own != 0) folders_[own].item = item;
  return item;
}

/// Takes an item away from where it is; it has to be put somewhere then, or be nowhere.
void CPlannedTree::TakeAway(PlanItem number) {
  const Item &item = items_[number];
  if (item.IsAtHome()) {
    left_.emplace(HashOf(item.disk), number);
    ++folders_[item.disk.folder].left;
  } else {
    Erase(arrived_, HashOf(item.now), number);
    --folders_[item.now.folder].arrived;
  }
}

void CPlannedTree::PutAt(PlanItem number, const PlanPlace &place) {
  Item &item = items_[number];
  if (item.disk.folder == place.folder && std::strcmp(item.disk.name, place.name) == 0) {
    Erase(left_, HashOf(item.disk), number);
    --folders_[place.folder].left;
    item.now = item.disk;
    return;
  }
  const bool isSameName = std::strcmp(item.now.name, place.name) == 0;
  item.now = {place.folder, isSameName ? item.now.name : Keep(place.name)};
  arrived_.emplace(HashOf(place), number);
  ++folders_[place.folder].arrived;
}

void CPlannedTree::Erase(Index &index, std::uint64_t hash, std::uint32_t number) {
  const auto [first, last] = index.equal_range(hash);
  const auto found =
      std::find_if(first, last, [number](const auto &entry) { return entry.second == number; });
  if (found != last) index.erase(found);
}

const char *CPlannedTree::Keep(std::string_view text) {
  char *const kept = static_cast<char *>(texts_.allocate(text.size() + 1, 1));
  *std::copy(text.begin(), text.end(), kept) = '\0';
  return kept;
}
