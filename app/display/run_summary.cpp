#include "app/display/run_summary.h"

#include <initializer_list>
#include <utility>

#include "app/display/main_window.h"
#include "app/display/status_display.h"
#include "engine/run_observers.h"

namespace {

/// In groups of three digits.
std::string NumberText(std::int64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, ",");
  return text;
}

struct Part {
  std::int64_t count;
  const char *one;
  const char *several;
};

std::string Joined(std::initializer_list<Part> parts) {
  std::string text;
  for (const auto &[count, one, several] : parts) {
    if (count == 0) continue;
    if (!text.empty()) text += ", ";
    text.append(NumberText(count)).append(count == 1 ? one : several);
  }
  return text;
}

class CRunSummary final : public CRunObserver {
 public:
  void BeginWork(const FSRef & /*folder*/) noexcept override {
    if (std::exchange(isRunOn_, true)) return;
    totals_ = {};
    isRedo_ = false;
    HideControl(MainWindow.summaryLine);
    HideControl(MainWindow.resultsButton);
  }

  void BeginPhase(RunPhase phase, const char * /*folderName*/) noexcept override {
    isRedo_ = isRedo_ || phase == RunPhase::kRedoing;
  }

  void EndFolder(const FolderReport &report) noexcept override {
    for (std::size_t i = 0; i < kRunEventCount; ++i) totals_[i] += report.counts[i];
  }

  void EndRun() noexcept override {
    if (!std::exchange(isRunOn_, false)) return;
    try {
      const std::string summary = SummaryOf(totals_, isRedo_);
      PascalString text;
      CopyCStringToPascal(summary.c_str(), text);
      (void)SetControlTextAndDraw(MainWindow.summaryLine, text, true);
    } catch (...) {
      return;  // There is no memory for it; the results have all of it.
    }
    ShowControl(MainWindow.summaryLine);
    ShowControl(MainWindow.resultsButton);
  }

 private:
  bool isRunOn_ = false;
  bool isRedo_ = false;
  RunCounts totals_{};
};

}  // namespace

std::string SummaryOf(const RunCounts &counts, bool isRedo) {
  const auto count = [&counts](RunEvent event) { return counts[static_cast<std::size_t>(event)]; };
  const Shortfalls left = ShortfallsOf(counts);
  std::string text = Joined({
      {count(RunEvent::kMoved), " moved", " moved"},
      {count(RunEvent::kRenamed), " of them renamed", " of them renamed"},
      {count(RunEvent::kAliased), " alias made", " aliases made"},
      {count(RunEvent::kPutBack), isRedo ? " moved again" : " put back",
       isRedo ? " moved again" : " put back"},
      {left.leftInPlace, " left in place", " left in place"},
      {left.notReached, " not reached", " not reached"},
      {left.notRead, " folder not looked into", " folders not looked into"},
      {left.deleted, " file deleted", " files deleted"},
      {left.notDeleted, " not deleted", " not deleted"},
      {left.notCollated, " not sorted", " not sorted"},
      {left.notPutBack, " not put back", " not put back"},
      {left.lost, " deleted for good", " deleted for good"},
      {count(RunEvent::kFolderDeleted), " folder deleted", " folders deleted"},
      {count(RunEvent::kTrashed), " folder moved to the trash", " folders moved to the trash"},
      {count(RunEvent::kCollated), " sorted by extension", " sorted by extension"},
  });
  return text.empty() ? "Nothing to move" : text;
}

void SummarizeRunsInWindow() {
  static CRunSummary summary;
  AddRunObserver(&summary);
}
