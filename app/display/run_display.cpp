#include "app/display/run_display.h"

#include <algorithm>

#include "app/display/elapsed_time.h"
#include "app/display/main_window.h"
#include "app/display/quit_timer.h"
#include "app/display/status_display.h"
#include "engine/run_observers.h"
#include "fsutil/item_info.h"
#include "platform/launch_services.h"
#include "platform/plan.h"
#include "platform/utilities.h"
#include "prefs/preferences.h"

namespace {

constexpr std::int32_t kItemsBetweenYields = 100;

void ShowFolderInTitle(const FSRef &folder) {
  std::u16string displayName;
  if (LSCopyDisplayNameForRef(folder, &displayName) != noErr) return;
  (void)SetWindowTitleWithCFString(MainWindow.window, displayName);
  FSSpec spec;
  if (GetItemFSSpec(folder, &spec) != noErr) return;
  (void)SetWindowProxyFSSpec(MainWindow.window, spec);
  (void)SetWindowModified(MainWindow.window, false);
}

void ShowBusyControls() {
  ShowControl(MainWindow.busyIndicator);
  HideControl(MainWindow.idleElement);
  (void)EnableControl(MainWindow.stopButton);
  ShowControl(MainWindow.stopButton);
}

void ShowIdleControls() {
  HideControl(MainWindow.busyIndicator);
  ShowControl(MainWindow.idleElement);
  HideControl(MainWindow.stopButton);
  (void)DisableControl(MainWindow.stopButton);
}

void ShowProgress() {
  SetControlMaximum(MainWindow.progressBar, kProgressMaximum);
  SetControlMinimum(MainWindow.progressBar, 0);
  ShowControl(MainWindow.progressBar);
  ShowControl(MainWindow.statusLine2);
}

void ShowElapsedTime(std::uint32_t startTime) {
  std::uint32_t endTime;
  GetDateTime(&endTime);
  ShortString elapsed = "";
  FormatElapsedTime(endTime - startTime, elapsed);
  FormatStatusText(2, "Elapsed time: %s", elapsed);
}

class CRunDisplay final : public CRunObserver {
 public:
  void BeginRun(std::int32_t items) noexcept override {
    items_ = items;
    item_ = 0;
  }

  void BeginFolder(const FSRef & /*folder*/) noexcept override { ++item_; }

  void BeginWork(const FSRef &folder) noexcept override {
    ShowFolderInTitle(folder);
    GetDateTime(&startTime_);
    ShowBusyControls();
    if (items_ > 1) ShowWhichFolder();
  }

  void BeginPhase(RunPhase phase, const char *folderName) noexcept override {
    phase_ = phase;
    const bool isCounting = phase == RunPhase::kCounting || phase == RunPhase::kCollecting;
    if (IsPlanning() && !isCounting) return ShowPlanning();
    switch (phase) {
      case RunPhase::kWaiting:
        SetStatusText("Waiting for another Vannerly to end its work in this folder...", 1);
        break;
      case RunPhase::kCounting:
        FormatStatusText(1, "Counting files in %s...", folderName);
        break;
      case RunPhase::kCollecting:
        FormatStatusText(1, "Collecting files in %s...", folderName);
        ShowProgress();
        break;
      case RunPhase::kHandling:
        ShowProgress();
        break;
      case RunPhase::kDeleting:
        SetStatusText("Deleting emptied folders...", 1);
        break;
      case RunPhase::kCollating:
        SetStatusText("Collating files...", 1);
        break;
      case RunPhase::kUndoing:
        SetStatusText("Putting files back...", 1);
        ShowProgress();
        break;
      case RunPhase::kRedoing:
        SetStatusText("Moving files again...", 1);
        ShowProgress();
        break;
    }
  }

  void TakeInHand(const char *name) noexcept override {
    // It is not moved, only looked at; and so fast that there is nothing to read.
    if (IsPlanning()) return YieldToEvents();
    FormatStatusText(1, "Moving File: %s", name);
  }

  void Advance(std::int32_t done, std::int32_t count) noexcept override {
    if (phase_ == RunPhase::kCollecting) {
      SetControlValue(MainWindow.progressBar, ProgressValue(done, count));
      FormatStatusText(2, "(%d of %d)", done, count);
    } else if (phase_ == RunPhase::kHandling || IsTakingBack(phase_)) {
      FormatStatusText(2, "(%d of %d)", done, count);
      // What was done before this file, on purpose: the bar never reaches its end.
      SetControlValue(MainWindow.progressBar, ProgressValue(done - 1, count));
    }
    const bool isScan = phase_ == RunPhase::kCounting || phase_ == RunPhase::kCollecting;
    if (isScan && done % kItemsBetweenYields == 0) YieldToEvents();
  }

  void EndPhase() noexcept override {
    if (phase_ == RunPhase::kCollecting || phase_ == RunPhase::kHandling || IsTakingBack(phase_)) {
      HideControl(MainWindow.progressBar);
    }
    if (phase_ == RunPhase::kCollecting) HideControl(MainWindow.statusLine2);
  }

  void CallOffDeletion() noexcept override { YieldToEvents(); }

  void EndFolder(const FolderReport &report) noexcept override {
    if (report.outcome == RunOutcome::kNotAFolder) return;
    ShowIdleControls();
    if (items_ > 1) HideWhichFolder();
    const bool isDone = !IsPlanning() && report.outcome != RunOutcome::kInUse &&
                        report.outcome != RunOutcome::kAsksFirst;
    if (isDone) {
      ShowElapsedTime(startTime_);
    } else if (report.outcome != RunOutcome::kInUse) {
      SetStatusText("", 2);
    }
    SetStatusText(kIdleHint, 1);
    // Whoever takes a run back wants to see what came of it.
    if (isDone && !IsTakingBack(phase_) && GetQuitWhenDone()) {
      (void)InstallEventLoopTimer(GetCurrentEventLoop(), 1.0, 0,
                                  NewEventLoopTimerUPP(QuitTimerProc), nullptr, nullptr);
    }
  }

 private:
  void ShowPlanning() {
    SetStatusText("Planning what would happen...", 1);
    if (phase_ == RunPhase::kHandling) ShowProgress();
  }

  void ShowWhichFolder() const {
    ShortString text;
    PascalString pascalText;
    FormatCString(text, "Folder %d of %d", {FormatValue(item_), FormatValue(items_)});
    CopyCStringToPascal(text, pascalText);
    (void)SetControlTextAndDraw(MainWindow.whichFolder, pascalText, true);
    ShowControl(MainWindow.whichFolder);
    ShowControl(MainWindow.stopAllButton);
  }

  static void HideWhichFolder() {
    HideControl(MainWindow.whichFolder);
    HideControl(MainWindow.stopAllButton);
  }

  std::int32_t items_ = 0;  ///< of the run
  std::int32_t item_ = 0;   ///< in hand, 1 for the first
  RunPhase phase_ = RunPhase::kWaiting;
  std::uint32_t startTime_ = 0;
};

}  // namespace

void ShowRunsInWindow() {
  static CRunDisplay display;
  AddRunObserver(&display);
}

std::int16_t ProgressValue(std::int32_t done, std::int32_t count) {
  // In 64 bits, or the bar would lie from 65,539 items on.
  const std::int64_t value = std::int64_t{done} * kProgressMaximum / count;
  return static_cast<std::int16_t>(std::min<std::int64_t>(value, kProgressMaximum));
}
