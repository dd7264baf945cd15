#include "app/results/result_selection.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <utility>

#include "app/results/result_texts.h"
#include "platform/strings.h"

namespace {

/// A letter without its case; only of ASCII, as a million names are compared.
unsigned char Folded(char byte) {
  return static_cast<unsigned char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
}

int CompareNames(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference = Folded(a[i]) - Folded(b[i]);
    if (difference != 0) return difference;
  }
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a.compare(b);
}

/// The places of all folders when each stands before what lies in it, and folders that lie in the
/// same one stand by name.
std::vector<std::uint32_t> RankFolders(const CResultRows &rows) {
  const std::size_t count = rows.FolderCount();
  std::vector<ResultFolder> order(count);
  std::iota(order.begin(), order.end(), ResultFolder{0});
  const auto parent = [&](ResultFolder folder) { return rows.ParentOf(folder) + 1; };  // none is 0
  std::ranges::sort(order, [&](ResultFolder a, ResultFolder b) {
    if (parent(a) != parent(b)) return parent(a) < parent(b);
    return CompareNames(rows.NameOf(a), rows.NameOf(b)) < 0;
  });
  // Where those of a parent begin in that order.
  std::vector<std::uint32_t> begin(count + 2, 0);
  for (const ResultFolder folder : order) ++begin[parent(folder) + 1];
  std::partial_sum(begin.begin(), begin.end(), begin.begin());
  std::vector<std::uint32_t> ranks(count);
  std::vector<ResultFolder> waiting(order.rend() - static_cast<std::ptrdiff_t>(begin[1]),
                                    order.rend());
  for (std::uint32_t rank = 0; !waiting.empty(); ++rank) {
    const ResultFolder folder = waiting.back();
    waiting.pop_back();
    ranks[folder] = rank;
    for (std::uint32_t next = begin[folder + 2]; next > begin[folder + 1]; --next) {
      waiting.push_back(order[next - 1]);
    }
  }
  return ranks;
}

/// What a row is sorted by: most are told apart by the beginning of the name.
struct SortKey {
  std::uint64_t rank;
  std::array<std::uint64_t, 2> head;
  std::uint32_t row;
};

std::array<std::uint64_t, 2> HeadOf(std::string_view name) {
  std::array<std::uint64_t, 2> head{};
  for (std::size_t i = 0; i < 16; ++i) {
    head[i / 8] = head[i / 8] << 8 | (i < name.size() ? Folded(name[i]) : 0U);
  }
  return head;
}

class CSorter {
 public:
  CSorter(const CResultRows &rows, ResultColumn column)
      : rows_(rows), column_(column), ranks_(RankFolders(rows)) {}

  SortKey KeyOf(std::uint32_t row) const {
    const ResultRow told = rows_[row];
    if (column_ == ResultColumn::kHappened)
      return {static_cast<std::uint64_t>(told.event), {}, row};
    const ResultPlace &place = PlaceOf(told);
    std::uint64_t rank = place.IsSet() ? ranks_[place.folder] + 1 : 0;
    // Reasons come first, each kind by itself.
    if (column_ == ResultColumn::kWhere && told.error == noErr) rank += std::uint64_t{1} << 48;
    if (column_ == ResultColumn::kWhere) {
      rank += static_cast<std::uint64_t>(static_cast<std::uint16_t>(told.error)) << 32;
    }
    return {rank, HeadOf(place.name), row};
  }

  bool IsBefore(const SortKey &a, const SortKey &b) const {
    if (a.rank != b.rank) return a.rank < b.rank;
    if (a.head != b.head) return a.head < b.head;
    if (column_ != ResultColumn::kHappened) {
      const ResultRow first = rows_[a.row];
      const ResultRow second = rows_[b.row];
      const int difference = CompareNames(PlaceOf(first).name, PlaceOf(second).name);
      if (difference != 0) return difference < 0;
    }
    return a.row < b.row;
  }

 private:
  const ResultPlace &PlaceOf(const ResultRow &row) const {
    return column_ == ResultColumn::kItem ? row.item : row.to;
  }

  const CResultRows &rows_;
  ResultColumn column_;
  std::vector<std::uint32_t> ranks_;
};

}  // namespace

bool CResultSelection::IsWanted(std::size_t row) {
  const ResultRow told = rows_[row];
  if (event_ && told.event != *event_) return false;
  if (search_.empty()) return true;
  text_.clear();
  AppendResultText(rows_, told, ResultColumn::kItem, &text_);
  // So that nothing is found across the border of two texts.
  text_.push_back('\0');
  AppendResultText(rows_, told, ResultColumn::kWhere, &text_);
  FoldCase(text_, &folded_);
  return folded_.find(search_) != std::string::npos;
}

void CResultSelection::Select(std::optional<RunEvent> event, const std::string &search) {
  std::string folded;
  FoldCase(search, &folded);
  const bool isNarrower = (!event_ || event == event_) && folded.find(search_) != std::string::npos;
  event_ = event;
  search_ = std::move(folded);
  if (isNarrower) {
    std::erase_if(shown_, [this](std::uint32_t row) { return !IsWanted(row); });
    return;
  }
  taken_ = 0;
  shown_.clear();
  (void)TakeNewRows();
}

void CResultSelection::SortBy(std::optional<ResultColumn> column, bool isDescending) {
  if (column_ != column || !column) {
    column_ = column;
    isDescending_ = isDescending;
    return Sort();
  }
  if (std::exchange(isDescending_, isDescending) != isDescending) std::ranges::reverse(shown_);
}

ResultNews CResultSelection::TakeNewRows() {
  const std::size_t before = shown_.size();
  for (; taken_ < rows_.Count(); ++taken_) {
    if (IsWanted(taken_)) shown_.push_back(static_cast<std::uint32_t>(taken_));
  }
  if (shown_.size() == before) return ResultNews::kNone;
  if (!column_) return ResultNews::kMoreRows;
  Sort();
  return ResultNews::kOtherRows;
}

void CResultSelection::Sort() {
  if (!column_) {
    std::ranges::sort(shown_);
    return;
  }
  const CSorter sorter(rows_, *column_);
  std::vector<SortKey> keys;
  keys.reserve(shown_.size());
  for (const std::uint32_t row : shown_) keys.push_back(sorter.KeyOf(row));
  std::ranges::sort(keys,
                    [&](const SortKey &a, const SortKey &b) { return sorter.IsBefore(a, b); });
  std::ranges::transform(keys, shown_.begin(), &SortKey::row);
  if (isDescending_) std::ranges::reverse(shown_);
}
