#include "app/results/result_rows.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr std::size_t kMostPieces = (std::size_t{1} << 32) / kPiece;

std::uint16_t ShortLength(std::size_t length) {
  if (length > std::numeric_limits<std::uint16_t>::max()) throw std::length_error("a name");
  return static_cast<std::uint16_t>(length);
}

}  // namespace

CResultRows::CResultRows(Tense tense)
    : tense_(tense), lastPieceUsed_(kPiece), byName_(0, FolderHash{this}, FolderEqual{this}) {}

CResultRows::Text CResultRows::Keep(std::string_view text) {
  if (text.size() > kPiece) throw std::length_error("a name");
  if (lastPieceUsed_ + text.size() > kPiece) {
    if (names_.size() == kMostPieces) throw std::length_error("too many names");
    names_.push_back(std::make_unique_for_overwrite<char[]>(kPiece));
    lastPieceUsed_ = 0;
  }
  std::ranges::copy(text, names_.back().get() + lastPieceUsed_);
  const Text kept{static_cast<std::uint32_t>((names_.size() - 1) * kPiece + lastPieceUsed_),
                  static_cast<std::uint32_t>(text.size())};
  lastPieceUsed_ += text.size();
  return kept;
}

std::string_view CResultRows::View(const Text &text) const {
  if (text.length == 0) return {};
  return {names_[text.at / kPiece].get() + text.at % kPiece, text.length};
}

std::string_view CResultRows::NameOf(ResultFolder folder) const {
  return View(folders_[folder].name);
}

void CResultRows::Add(const ResultRow &row) {
  if (rows_.size() >= std::numeric_limits<std::uint32_t>::max()) throw std::length_error("rows");
  const Text name = Keep(row.item.name);
  Text toName{static_cast<std::uint32_t>(row.count), 0};
  if (row.to.IsSet()) toName = row.to.name == row.item.name ? name : Keep(row.to.name);
  rows_.push_back({row.item.folder, row.to.folder, name.at, toName.at, ShortLength(name.length),
                   ShortLength(toName.length), row.error, row.event});
  ++counts_[static_cast<std::size_t>(row.event)];
}

std::pair<std::size_t, std::size_t> CResultRows::Section(std::size_t number) const {
  const auto begin = [this](std::size_t section) {
    return section < sections_.size() ? sections_[section] : rows_.size();
  };
  return {begin(number), begin(number + 1)};
}

ResultRow CResultRows::operator[](std::size_t row) const {
  const Row &kept = rows_[row];
  ResultRow result{kept.event, {kept.folder, View({kept.name, kept.nameLength})}, {}, kept.error};
  if (kept.toFolder != kNoResultFolder) {
    result.to = {kept.toFolder, View({kept.toName, kept.toNameLength})};
  } else {
    result.count = static_cast<std::int32_t>(kept.toName);
  }
  return result;
}

void CResultRows::AddFrom(const CResultRows &other, std::size_t first, std::size_t end) {
  ResultFolder last = kNoResultFolder;
  ResultFolder own = kNoResultFolder;
  std::vector<ResultFolder> way;
  const auto ownFolder = [&](ResultFolder folder) {
    for (; folder != kNoResultFolder; folder = other.ParentOf(folder)) way.push_back(folder);
    ResultFolder found = kNoResultFolder;
    for (; !way.empty(); way.pop_back()) {
      found = AddFolder(found, other.NameOf(way.back()), other.folders_[way.back()].isDropped);
    }
    return found;
  };
  for (std::size_t next = first; next < end; ++next) {
    ResultRow row = other[next];
    if (row.item.folder != last) own = ownFolder(last = row.item.folder);
    row.item.folder = own;
    row.to.folder = ownFolder(row.to.folder);
    Add(row);
  }
}

ResultFolder CResultRows::AddFolder(ResultFolder parent, std::string_view name, bool isDropped) {
  const auto known = byName_.find(FolderKey{parent, name});
  ResultFolder folder = known != byName_.end() ? *known : kNoResultFolder;
  if (folder == kNoResultFolder) {
    folder = static_cast<ResultFolder>(folders_.size());
    if (folder == kNoResultFolder) throw std::length_error("folders");
    folders_.push_back({parent, Keep(name), false});
    byName_.insert(folder);
  }
  if (isDropped && !folders_[folder].isDropped) {
    folders_[folder].isDropped = true;
    ++dropped_;
    lastFolder_ = kNoResultFolder;
  }
  return folder;
}

ResultFolder CResultRows::DroppedFolder(std::string_view path) {
  return AddFolder(kNoResultFolder, path, true);
}

ResultFolder CResultRows::FolderIn(ResultFolder parent, std::string_view name) {
  return AddFolder(parent, name, false);
}

ResultPlace CResultRows::PlaceOf(std::string_view path, ResultFolder dropped) {
  const std::string_view root = NameOf(dropped);
  if (path == root) return {dropped};
  const std::size_t slash = path.rfind('/');
  const ResultPlace place{kNoResultFolder, path.substr(slash + 1)};
  const std::string_view folderPath = path.substr(0, slash);
  if (folderPath == root) return {dropped, place.name};
  if (lastFolder_ != kNoResultFolder && folderPath == lastPath_) return {lastFolder_, place.name};
  const std::size_t rootLength = root == "/" ? 0 : root.size();
  ResultFolder folder = dropped;
  if (!folderPath.starts_with(root.substr(0, rootLength)) ||
      (folderPath.size() > rootLength && folderPath[rootLength] != '/')) {
    folder = FolderIn(kNoResultFolder, folderPath);
  } else {
    for (std::size_t at = rootLength + 1; at < folderPath.size();) {
      const std::size_t end = std::min(folderPath.find('/', at), folderPath.size());
      folder = FolderIn(folder, folderPath.substr(at, end - at));
      at = end + 1;
    }
  }
  lastPath_ = folderPath;
  lastFolder_ = folder;
  return {folder, place.name};
}

/// Writes the names of the folders up to the one at which `stop` says so, that one's included, from
/// the last to the first.
template <typename Stop>
void CResultRows::AppendPathUpTo(const ResultPlace &place, std::string *path, Stop stop) const {
  if (!place.IsSet()) return;
  const std::size_t begin = path->size();
  const auto prepend = [&](std::string_view name) {
    if (path->size() > begin && !name.ends_with('/')) path->push_back('/');
    path->append(name.rbegin(), name.rend());
  };
  path->append(place.name.rbegin(), place.name.rend());
  for (ResultFolder folder = place.folder; folder != kNoResultFolder; folder = ParentOf(folder)) {
    const std::string_view name = NameOf(folder);
    if (!stop(folder)) {
      prepend(name);
      continue;
    }
    // The name of what was dropped is all of its path that is wanted, where it is wanted.
    const std::string_view ownName = name.size() > 1 ? name.substr(name.rfind('/') + 1) : name;
    if (dropped_ > 1 || path->size() == begin) prepend(ownName);
    break;
  }
  std::reverse(path->begin() + static_cast<std::ptrdiff_t>(begin), path->end());
}

void CResultRows::AppendPath(const ResultPlace &place, std::string *path) const {
  AppendPathUpTo(place, path, [](ResultFolder) { return false; });
}

void CResultRows::AppendShortPath(const ResultPlace &place, std::string *path) const {
  AppendPathUpTo(place, path, [this](ResultFolder folder) { return folders_[folder].isDropped; });
}
