#include "app/cli/exit_status.h"

#include "app/cli/report_words.h"
#include "platform/linux/tree/item_location.h"
#include "platform/terminal/terminal.h"

namespace {

class CExitStatus final : public CRunObserver {
 public:
  void BeginFolder(const FSRef &folder) noexcept override { folder_ = folder; }

  void EndFolder(const FolderReport &report) noexcept override {
    if (ShortfallsOf(report.counts) != Shortfalls{}) NoteAnythingLeft();
    if (report.outcome == RunOutcome::kNotAFolder) TellThatItIsNone();
  }

 private:
  void TellThatItIsNone() const noexcept {
    try {
      ReportUnusable(PathOnDisk(folder_), "it is no folder any more");
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
