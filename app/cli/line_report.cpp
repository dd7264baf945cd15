#include "app/cli/line_report.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "app/cli/event_lines.h"
#include "app/report_words.h"
#include "platform/linux/tree/item_location.h"
#include "platform/terminal/terminal.h"

namespace {

std::string LineOf(const RunNote &note) {
  const std::string path = note.path != nullptr ? *note.path : PathOnDisk(note.item);
  return path + ": " + Expanded(kEventWords[static_cast<std::size_t>(note.event)].line, note, path);
}

std::string SummaryOf(const std::string &path, const FolderReport &report) {
  char seconds[32];
  (void)std::snprintf(seconds, sizeof seconds, " after %.3f s", report.seconds);
  std::string line = path + ": " + WordsOf(report.outcome) + seconds;
  const char *separator = ": ";
  for (std::size_t i = 0; i < kRunEventCount; ++i) {
    if (report.counts[i] == 0) continue;
    line.append(separator).append(std::to_string(report.counts[i])).append(" ");
    line.append(kEventWords[i].counted);
    separator = ", ";
  }
  return line;
}

/// What a user has to know who has not asked for anything.
struct Concern {
  std::int64_t Shortfalls::*count;
  const char *one;
  const char *several;
};

constexpr Concern kConcerns[] = {
    {&Shortfalls::leftInPlace, " file was left in place", " files were left in place"},
    {&Shortfalls::notReached, " file was not reached", " files were not reached"},
    {&Shortfalls::notRead, " folder could not be looked into", " folders could not be looked into"},
    {&Shortfalls::deleted, " file was deleted with its folder",
     " files were deleted with their folders"},
    {&Shortfalls::notDeleted, " item could not be deleted", " items could not be deleted"},
    {&Shortfalls::notCollated, " item could not be collated", " items could not be collated"},
    {&Shortfalls::notPutBack, " item could not be put back", " items could not be put back"},
    {&Shortfalls::lost, " file was deleted for good and can't be put back",
     " files were deleted for good and can't be put back"},
};

class CLineReport final : public CRunObserver {
 public:
  explicit CLineReport(bool isVerbose) : isVerbose_(isVerbose) {}

  void BeginFolder(const FSRef &folder) noexcept override { folder_ = folder; }

  void TakeNote(const RunNote &note) noexcept override {
    if (isVerbose_) Print([&] { return LineOf(note); });
  }

  void EndFolder(const FolderReport &report) noexcept override {
    for (std::size_t i = 0; i < kRunEventCount; ++i) totals_[i] += report.counts[i];
    // That a folder could not be used has been told.
    const bool isTold = report.outcome == RunOutcome::kInUse ||
                        report.outcome == RunOutcome::kNotAFolder ||
                        report.outcome == RunOutcome::kNoJournal;
    if (!isVerbose_ || isTold) return;
    Print([&] { return SummaryOf(PathOnDisk(folder_), report); });
  }

  void EndRun() noexcept override {
    if (!isVerbose_) Print([this] { return ClosingLine(); });
  }

 private:
  /// A line that cannot be made, for want of memory, is left out; the run goes on.
  template <typename Text>
  static void Print(Text text) noexcept {
    try {
      const std::string line = text();
      if (!line.empty()) PrintNotice(line);
    } catch (...) {
    }
  }

  std::string ClosingLine() const {
    const Shortfalls shortfalls = ShortfallsOf(totals_);
    std::string line;
    for (const auto &[member, one, several] : kConcerns) {
      const std::int64_t count = shortfalls.*member;
      if (count == 0) continue;
      if (!line.empty()) line += ", ";
      line.append(std::to_string(count)).append(count == 1 ? one : several);
    }
    return line.empty() ? line : line + "; --verbose tells more.";
  }

  bool isVerbose_;
  FSRef folder_{};
  RunCounts totals_{};
};

}  // namespace

void StartLineReport(bool isVerbose) {
  static CLineReport report(isVerbose);
  AddRunObserver(&report);
}
