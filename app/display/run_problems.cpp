#include "app/display/run_problems.h"

#include <string>

#include "app/report_words.h"
#include "engine/flatten_run.h"
#include "engine/run_observers.h"
#include "fsutil/item_info.h"
#include "platform/notices.h"
#include "platform/plan.h"

namespace {

class CRunProblems final : public CRunObserver {
 public:
  void BeginRun(std::int32_t items) noexcept override { unseen_ = items; }

  void BeginFolder(const FSRef &folder) noexcept override {
    folder_ = folder;
    lacksTrash_ = false;
    --unseen_;
  }

  void TakeNote(const RunNote &note) noexcept override {
    if (note.event == RunEvent::kNotDeleted && note.error == errFSOperationNotSupported)
      lacksTrash_ = true;
  }

  void EndFolder(const FolderReport &report) noexcept override {
    if (IsPlanning()) return;  // Its list tells.
    Tell([&]() -> std::string {
      if (const char *reason = WhyLeftAlone(report.outcome)) return reason;
      // Whoever quits knows that nothing more was begun.
      if (report.outcome == RunOutcome::kInUse && !FlattenRun.QuitRequested)
        return "was left alone, as " + report.reason;
      if (lacksTrash_) return "sub-folders stay, as there is no trash for them that can be used";
      return {};
    });
  }

  /// A dropped item that is gone when its turn comes has no folder to be named by.
  void EndRun() noexcept override {
    if (unseen_ <= 0 || FlattenRun.StopAllRequested) return;
    folder_ = {};
    Tell([this] {
      return unseen_ == 1 ? std::string("a dropped folder is no longer there")
                          : std::to_string(unseen_) + " dropped folders are no longer there";
    });
  }

 private:
  template <typename Text>
  void Tell(Text text) const noexcept {
    try {
      const std::string problem = text();
      if (problem.empty()) return;
      const std::string path = GetItemPath(folder_);
      TellProblem(path.empty() ? problem : path + ": " + problem);
    } catch (...) {
      return;  // There is no memory for the line.
    }
  }

  FSRef folder_{};
  std::int32_t unseen_ = 0;  ///< items of the run whose turn has not come
  bool lacksTrash_ = false;
};

}  // namespace

void TellProblemsOfRuns() {
  static CRunProblems problems;
  AddRunObserver(&problems);
}
