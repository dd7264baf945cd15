#include "app/cli/exit_status.h"

#include "app/report_words.h"
#include "platform/linux/tree/item_location.h"
#include "platform/terminal/terminal.h"

namespace {

class CExitStatus final : public CRunObserver {
 public:
  void BeginFolder(const FSRef &folder) noexcept override { folder_ = folder; }

  void EndFolder(const FolderReport &report) noexcept override {
    const Shortfalls shortfalls = ShortfallsOf(report.counts);
    if (shortfalls != Shortfalls{}) NoteAnythingLeft();
    if (shortfalls.notPutBack != 0 || shortfalls.lost != 0) NoteFailure();
    if (report.outcome == RunOutcome::kNotAFolder || report.outcome == RunOutcome::kNoJournal) {
      Tell(WhyLeftAlone(report.outcome));
    }
  }

 private:
  void Tell(const char *problem) const noexcept {
    try {
      ReportUnusable(PathOnDisk(folder_), problem);
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
