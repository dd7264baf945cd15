#include "app/display/run_summary.h"

#include <utility>

#include "app/display/main_window.h"
#include "app/display/status_display.h"
#include "app/listed_counts.h"
#include "engine/run_observers.h"
#include "platform/plan.h"

namespace {

class CRunSummary final : public CRunObserver {
 public:
  void BeginWork(const FSRef & /*folder*/) noexcept override {
    if (IsPlanning() || std::exchange(isRunOn_, true)) return;
    isAnythingDone_ = false;
    totals_ = {};
    isRedo_ = false;
    HideControl(MainWindow.summaryLine);
    HideControl(MainWindow.resultsButton);
  }

  void BeginPhase(RunPhase phase, const char * /*folderName*/) noexcept override {
    isRedo_ = isRedo_ || phase == RunPhase::kRedoing;
  }

  void EndFolder(const FolderReport &report) noexcept override {
    if (IsPlanning() || report.outcome == RunOutcome::kAsksFirst) return;
    isAnythingDone_ = true;
    for (std::size_t i = 0; i < kRunEventCount; ++i) totals_[i] += report.counts[i];
  }

  void EndRun() noexcept override {
    if (!std::exchange(isRunOn_, false) || !isAnythingDone_) return;
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
  bool isAnythingDone_ = false;  ///< or has been tried
  RunCounts totals_{};
};

}  // namespace

std::string SummaryOf(const RunCounts &counts, bool isRedo) {
  const auto count = [&counts](RunEvent event) { return counts[static_cast<std::size_t>(event)]; };
  const Shortfalls left = ShortfallsOf(counts);
  std::string text = ListCounts({
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
