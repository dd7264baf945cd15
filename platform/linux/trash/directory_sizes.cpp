#include "platform/linux/trash/directory_sizes.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/trash/trash_info.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/linux/tree/tree_changes.h"

namespace {

constexpr char kListName[] = "directorysizes";
constexpr std::size_t kLongestList = std::size_t{1} << 20;
/// Folders in folders that are gone into: each takes a descriptor.
constexpr int kMostLevels = 64;

/// Sums up what a folder and all in it take up, each item with several names once. Each call
/// answers false when it cannot be told.
class CDiskUse {
 public:
  bool Add(int folder, const char *name, int level = 0) {
    ItemStatus status;
    if (Tree().Look(folder, name, &status) != 0) return false;
    if (!status.IsFolder()) {
      if (status.linkCount == 1 || seen_.insert(status.identity.inode).second) {
        bytes_ += status.diskUse;
      }
      return true;
    }
    bytes_ += status.diskUse;
    int descriptor = -1;
    if (level == kMostLevels ||
        Tree().OpenFolder(folder, name, FolderUse::kListing, &descriptor) != 0) {
      return false;
    }
    std::vector<std::string> items;
    bool isKnown =
        Tree().List(descriptor, [&items](std::string_view item, unsigned char, std::uint64_t) {
          items.emplace_back(item);
        }) == 0;
    for (const std::string &item : items)
      isKnown = isKnown && Add(descriptor, item.c_str(), level + 1);
    Tree().CloseFolder(descriptor);
    return isKnown;
  }
  std::uint64_t Bytes() const { return bytes_; }

 private:
  std::uint64_t bytes_ = 0;
  std::set<std::uint64_t> seen_;
};

/// The line of a folder in the trash; it holds as long as the .trashinfo file is the same.
std::optional<std::string> LineOf(const TrashFolder &trash, const std::string &name) {
  int folder = -1;
  ItemStatus info;
  CDiskUse use;
  if (OpenTableFolder(trash.info, &folder) != noErr ||
      Tree().Look(folder, (name + std::string(kTrashInfoSuffix)).c_str(), &info) != 0 ||
      OpenTableFolder(trash.files, &folder) != noErr || !use.Add(folder, name.c_str())) {
    return std::nullopt;
  }
  return std::to_string(use.Bytes()) + " " + std::to_string(info.modified / 1'000'000'000) + " " +
         PercentEncoded(name) + "\n";
}

/// Calls `edit` with the list, and puts there what that makes of it. Not for one that is missing,
/// or cannot be read whole.
template <typename Edit>
void EditList(const TrashFolder &trash, Edit edit) {
  OpenedFolder folder{-1, trash.folder};
  ItemStatus status;
  std::string list;
  if (OpenTableFolder(folder.index, &folder.descriptor) != noErr ||
      Tree().Look(folder.descriptor, kListName, &status) != 0 || !status.IsFile() ||
      Tree().ReadFile(folder.descriptor, kListName, kLongestList, &list) != 0 ||
      list.size() != status.size) {
    return;
  }
  const std::string before = list;
  edit(list);
  if (list == before || OpenTableFolder(folder.index, &folder.descriptor) != noErr) return;
  (void)ReplaceSmallFile(folder, kListName, list);
}

void RemoveLine(std::string &list, std::string_view name) {
  const std::string end = " " + PercentEncoded(name);
  std::string kept;
  for (std::string_view rest = list; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (!line.ends_with(end)) kept.append(line).append("\n");
  }
  list = std::move(kept);
}

}  // namespace

void AddDirectorySize(const TrashFolder &trash, std::string_view name) {
  EditList(trash, [&](std::string &list) {
    RemoveLine(list, name);
    list += LineOf(trash, std::string(name)).value_or("");
  });
}

void RemoveDirectorySize(const TrashFolder &trash, std::string_view name) {
  EditList(trash, [&](std::string &list) { RemoveLine(list, name); });
}
