#include "app/exit_status.h"

#include "app/report_words.h"
#include "platform/terminal/terminal.h"

namespace {

class CExitStatus final : public CRunObserver {
 public:
  void BeginFolder(const FSRef &folder) noexcept override { folder_ = folder; }

  void TakeNote(const RunNote &) noexcept override {}

  void EndFolder(const FolderReport &report) noexcept override {
    if (ShortfallsOf(report.counts) != Shortfalls{}) NoteAnythingLeft();
    if (report.outcome == RunOutcome::kNotAFolder) TellThatItIsNone();
  }

  void EndRun() noexcept override {}

 private:
  void TellThatItIsNone() const noexcept {
    try {
      ReportUnusable(ItemPath(folder_), "it is no folder any more");
    } catch (...) {
      NoteAnythingLeft();  // There is not even memory for the line.
    }
  }

  FSRef folder_{};
};

}  // namespace

void WatchRunsForExitStatus() {
  static CExitStatus watcher;
  AddRunObserver(&watcher);
}
