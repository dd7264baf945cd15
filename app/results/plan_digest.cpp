#include "app/results/plan_digest.h"

#include <functional>
#include <string_view>

namespace {

/// MurmurHash3's last step, by which each bit comes to count for all others.
std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
  std::uint64_t mixed = a * 0x9E3779B97F4A7C15U + b;
  mixed = (mixed ^ (mixed >> 33U)) * 0xFF51AFD7ED558CCDU;
  mixed = (mixed ^ (mixed >> 33U)) * 0xC4CEB9FE1A85EC53U;
  return mixed ^ (mixed >> 33U);
}

std::uint64_t ValueOfText(std::string_view text) {
  return std::hash<std::string_view>()(text);
}

}  // namespace

std::uint64_t CPlanDigest::ValueOf(const CResultRows &rows, ResultFolder folder) {
  if (folder == kNoResultFolder) return 1;
  if (folder >= folders_.size()) folders_.resize(rows.FolderCount());
  if (folders_[folder] == 0) {
    const std::uint64_t above = ValueOf(rows, rows.ParentOf(folder));
    folders_[folder] = Mix(above, ValueOfText(rows.NameOf(folder)));
  }
  return folders_[folder];
}

std::uint64_t CPlanDigest::ValueOf(const CResultRows &rows, const ResultPlace &place) {
  return Mix(ValueOf(rows, place.folder), ValueOfText(place.name));
}

void CPlanDigest::Add(const CResultRows &rows, const ResultRow &row) {
  std::uint64_t item = ValueOf(rows, row.item);
  std::uint64_t to = ValueOf(rows, row.to);
  if (row.event == RunEvent::kRenamed) {
    renamed_.emplace(to, item);
    to = ValueOf(rows, row.to.folder);
  } else if (const auto renamed = renamed_.find(item); renamed != renamed_.end()) {
    item = renamed->second;
    if (row.to.name == row.item.name) to = ValueOf(rows, row.to.folder);
  }
  const auto told = static_cast<std::uint64_t>(row.event) << 16U |
                    static_cast<std::uint64_t>(static_cast<std::uint16_t>(row.error));
  sum_ += Mix(Mix(item, to), told);
}
