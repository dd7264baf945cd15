#include "app/display/run_in_background.h"

#include <chrono>
#include <string>

#include "app/display/run_summary.h"
#include "engine/flatten_run.h"
#include "engine/run_observers.h"
#include "platform/background.h"
#include "platform/launch_services.h"
#include "platform/plan.h"

namespace {

using Clock = std::chrono::steady_clock;

/// As often as docks draw it.
constexpr std::chrono::milliseconds kBetweenUpdates{200};
/// Whoever waits for less looks at the window.
constexpr std::chrono::seconds kLongRun{10};

/// ASCII as UTF-16.
std::u16string Text(const std::string &text) {
  return {text.begin(), text.end()};
}

class CRunInBackground final : public CRunObserver {
 public:
  void BeginRun(std::int32_t items) noexcept override {
    *this = {};
    items_ = items;
    began_ = updated_ = Clock::now();
  }

  void BeginFolder(const FSRef &folder) noexcept override { folder_ = folder; }

  void BeginPhase(RunPhase phase, const char * /*folderName*/) noexcept override {
    isCounted_ = phase == RunPhase::kHandling || IsTakingBack(phase);
    // A run does one of the three with all its folders.
    if (phase == RunPhase::kUndoing) done_ = u" put back";
    isRedo_ = isRedo_ || phase == RunPhase::kRedoing;
  }

  void Advance(std::int32_t done, std::int32_t count) noexcept override {
    if (!isCounted_ || count <= 0 || items_ <= 0) return;
    const std::int64_t inFolder = std::int64_t{100} * done / count;
    const auto percent = static_cast<int>((std::int64_t{100} * itemsOver_ + inFolder) / items_);
    // A million files are no more than a hundred looks at the clock.
    if (percent == percent_) return;
    percent_ = percent;
    if (const auto now = Clock::now(); now - updated_ >= kBetweenUpdates) {
      updated_ = now;
      isIconUsed_ = true;
      ShowProgressOnIcon(percent);
    }
  }

  void EndFolder(const FolderReport &report) noexcept override {
    ++itemsOver_;
    for (std::size_t i = 0; i < kRunEventCount; ++i) totals_[i] += report.counts[i];
    isStopped_ = isStopped_ || report.outcome == RunOutcome::kStopped;
    const bool isDone =
        report.outcome == RunOutcome::kFinished || report.outcome == RunOutcome::kNothingFound;
    if (isDone && foldersDone_++ == 0) firstDone_ = folder_;
  }

  void EndRun() noexcept override {
    if (isIconUsed_) RemoveProgressFromIcon();
    // A plan waits to be read, and whoever quits knows it.
    if (IsPlanning() || FlattenRun.QuitRequested || Clock::now() - began_ < kLongRun) return;
    try {
      NotifyInBackground(Title(), SummaryOf(totals_, isRedo_));
    } catch (...) {
      return;  // There is no memory for it; the window has it all.
    }
  }

 private:
  std::u16string Title() const {
    if (foldersDone_ == 0) return isStopped_ ? u"Stopped" : u"Nothing was done";
    std::u16string title;
    if (LSCopyDisplayNameForRef(firstDone_, &title) != noErr) title = u"1 folder";
    if (foldersDone_ > 1) {
      const int others = foldersDone_ - 1;
      title +=
          Text(" and " + std::to_string(others) + (others == 1 ? " more folder" : " more folders"));
    }
    return title + done_ + (isRedo_ ? u" again" : u"");
  }

  std::int32_t items_ = 0;
  std::int32_t itemsOver_ = 0;
  std::int32_t foldersDone_ = 0;
  FSRef folder_{};     ///< in hand
  FSRef firstDone_{};  ///< of those done
  RunCounts totals_{};
  bool isCounted_ = false;  ///< in the phase in hand it is known how much there is to do
  const char16_t *done_ = u" flattened";  ///< with the folders
  bool isRedo_ = false;
  bool isStopped_ = false;
  bool isIconUsed_ = false;
  int percent_ = 0;
  Clock::time_point began_;
  Clock::time_point updated_;
};

}  // namespace

void ShowRunsInBackground() {
  static CRunInBackground observer;
  AddRunObserver(&observer);
}
