#include "app/listed_counts.h"

namespace {

std::string NumberText(std::int64_t number, Digits digits) {
  std::string text = std::to_string(number);
  if (digits == Digits::kPlain) return text;
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, ",");
  return text;
}

}  // namespace

std::string ListCounts(std::initializer_list<CountInWords> counts, Digits digits) {
  std::string text;
  for (const auto &[count, one, several] : counts) {
    if (count == 0) continue;
    if (!text.empty()) text += ", ";
    text.append(NumberText(count, digits)).append(count == 1 ? one : several);
  }
  return text;
}

std::string ListPlannedCounts(const RunCounts &counts, Digits digits) {
  const auto count = [&counts](RunEvent event) { return counts[static_cast<std::size_t>(event)]; };
  const Shortfalls left = ShortfallsOf(counts);
  return ListCounts(
      {
          {count(RunEvent::kMoved), " file would be moved", " files would be moved"},
          {count(RunEvent::kRenamed), " of them under a new name", " of them under new names"},
          {count(RunEvent::kAliased), " alias would be made", " aliases would be made"},
          {count(RunEvent::kFolderDeleted), " folder would be deleted",
           " folders would be deleted"},
          {count(RunEvent::kTrashed), " folder would be moved to the trash",
           " folders would be moved to the trash"},
          {count(RunEvent::kCollated), " item would be collated", " items would be collated"},
          {left.deleted, " file would be deleted with its folder",
           " files would be deleted with their folders"},
          {left.leftInPlace, " file would be left in place", " files would be left in place"},
          {left.notReached, " file was not reached", " files were not reached"},
          {left.notRead, " folder could not be looked into", " folders could not be looked into"},
          {left.notDeleted, " item would not be deleted", " items would not be deleted"},
          {left.notCollated, " item would not be collated", " items would not be collated"},
      },
      digits);
}
