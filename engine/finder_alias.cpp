#include "engine/finder_alias.h"

#include <string>
#include <unordered_map>
#include <vector>

#include "engine/run_observers.h"
#include "fsutil/item_info.h"
#include "platform/aliases.h"

namespace {

struct FinderAlias {
  FSRef alias;
  FSRef file;
};

/// The aliases of the run, and which of them an item of their folder concerns.
class CFinderAliases {
 public:
  void Add(const FinderAlias &alias) {
    aliases_.push_back(alias);
    isIndexed_ = false;
  }

  void Forget() { *this = CFinderAliases(); }

  void Follow(const FSRef &before, const FSRef &now) {
    if (aliases_.empty()) return;
    if (!isIndexed_) MakeIndex();
    const std::string oldPath = PathOf(before);
    const std::string newPath = PathOf(now);
    if (const auto moved = byAliasPath_.find(oldPath); moved != byAliasPath_.end()) {
      aliases_[moved->second].alias = now;
    }
    const auto [first, last] = byItemPath_.equal_range(oldPath);
    for (auto next = first; next != last; ++next) Retarget(next->second, oldPath, newPath);
  }

 private:
  static std::string PathOf(const FSRef &item) {
    std::string path(4096, '\0');
    const auto size = static_cast<std::uint32_t>(path.size());
    if (FSRefMakePath(item, path.data(), size) != noErr) return {};
    path.resize(path.find('\0'));
    return path;
  }

  /// Made when the first item moves, for most runs move none.
  void MakeIndex() {
    byAliasPath_.clear();
    byItemPath_.clear();
    for (std::size_t i = 0; i < aliases_.size(); ++i) {
      const std::string aliasPath = PathOf(aliases_[i].alias);
      const std::string filePath = PathOf(aliases_[i].file);
      // The item directly in the folder of the aliases that the file is, or lies in.
      const std::size_t start = aliasPath.rfind('/') + 1;
      byItemPath_.emplace(filePath.substr(0, filePath.find('/', start)), i);
      byAliasPath_.emplace(aliasPath, i);
    }
    isIndexed_ = true;
  }

  void Retarget(std::size_t index, const std::string &oldItem, const std::string &newItem) {
    const FinderAlias &alias = aliases_[index];
    const std::string oldPath = PathOf(alias.file);
    const std::string newPath = newItem + oldPath.substr(oldItem.size());
    if (const OSErr error = RetargetAliasFile(alias.alias, oldPath, newPath); error != noErr) {
      NoteRunEvent({RunEvent::kNotCollated, alias.alias, error});
    }
  }

  std::vector<FinderAlias> aliases_;
  bool isIndexed_ = false;
  std::unordered_map<std::string, std::size_t> byAliasPath_;
  std::unordered_multimap<std::string, std::size_t> byItemPath_;
};

CFinderAliases aliases;

}  // namespace

bool MakeFinderAlias(const FSRef &file, const FSRef &folder, OSErr *error) {
  FinderAlias made{{}, file};
  *error = MakeAliasFile(file, folder, &made.alias);
  if (*error == noErr) aliases.Add(made);
  return *error == noErr;
}

void ForgetFinderAliases() {
  aliases.Forget();
}

void FollowMovedItem(const FSRef &before, const FSRef &now) {
  aliases.Follow(before, now);
}
