#include "app/cli/plan_report.h"

#include <initializer_list>
#include <string>
#include <string_view>

#include "app/cli/event_lines.h"
#include "app/display/status_display.h"
#include "app/listed_counts.h"
#include "app/report_words.h"
#include "engine/flatten_run.h"
#include "platform/linux/tree/item_location.h"
#include "platform/plan.h"
#include "platform/terminal/terminal.h"
#include "platform/terminal/terminal_text.h"

namespace {

constexpr std::size_t kBytesAtOnce = std::size_t{64} * 1024;

class CPlanReport final : public CRunObserver {
 public:
  CPlanReport(bool isListed, bool isQuiet, bool hasSeveralFolders)
      : isListed_(isListed), isQuiet_(isQuiet), hasSeveralFolders_(hasSeveralFolders) {}

  void BeginWork(const FSRef &folder) noexcept override {
    Write([&] {
      const std::string path = PathOnDisk(folder);
      prefix_ = path == "/" ? path : path + "/";
      if (!hasSeveralFolders_) return;
      if (printed_++ > 0) text_ += "\n";
      AddLine({path, ":"});
    });
  }

  /// Nothing is shown meanwhile, so it is here that signals arrive.
  void Advance(std::int32_t done, std::int32_t /*count*/) noexcept override {
    constexpr std::int32_t kItemsBetweenYields = 100;
    Write([] {});
    if (done % kItemsBetweenYields == 0) YieldToEvents();
  }

  void TakeNote(const RunNote &note) noexcept override {
    Write([&] {
      const char *const words = kEventWords[static_cast<std::size_t>(note.event)].planned;
      if (words == nullptr) return;
      const std::string path = PathOnDisk(note.item);
      AddLine({Relative(path), ": ", Expanded(words, note, path)});
    });
  }

  void EndFolder(const FolderReport &report) noexcept override {
    Write([] {});
    YieldToEvents();
    for (std::size_t i = 0; i < kRunEventCount; ++i) totals_[i] += report.counts[i];
    isStopped_ = isStopped_ || report.outcome == RunOutcome::kStopped;
  }

  void EndRun() noexcept override {
    HandOver();
    if (isQuiet_) return;
    try {
      PrintNotice(Summary());
    } catch (...) {
      NoteAnythingLeft();  // There is not even memory for the line.
    }
  }

 private:
  /// Prints the changes planned since the last time, and then what `add` has to say.
  template <typename Add>
  void Write(Add add) noexcept {
    if (!isListed_) return;
    try {
      for (; told_ < PlannedChangeCount(); ++told_) {
        PlannedChangeAt(told_, &change_);
        AddLineOf(change_);
        if (text_.size() >= kBytesAtOnce) HandOver();
      }
      add();
      if (text_.size() >= kBytesAtOnce) HandOver();
    } catch (...) {
      End("not enough memory for the rest of the list");
    }
  }

  /// Without its list a preview is of no use.
  void End(const char *problem) noexcept {
    isListed_ = false;
    FlattenRun.QuitRequested = true;
    if (problem != nullptr) ReportUnusable("standard output", problem);
  }

  void HandOver() noexcept {
    if (isListed_ && !text_.empty() && !WriteOutput(text_)) End(nullptr);
    text_.clear();
  }

  void AddLine(std::initializer_list<std::string_view> texts) {
    for (const std::string_view text : texts) {
      if (IsPlainForTerminal(text)) {
        text_ += text;
      } else {
        text_ += TerminalTextFromDisk(text);
      }
    }
    text_ += '\n';
  }

  /// Behind the folder in hand.
  std::string_view Relative(std::string_view path) const {
    if (path.size() <= prefix_.size() || !path.starts_with(prefix_)) return path;
    return path.substr(prefix_.size());
  }

  void AddLineOf(const PlannedChange &change) {
    const std::string_view path = Relative(change.path);
    const std::string_view newPath = Relative(change.newPath);
    switch (change.kind) {
      case PlannedKind::kMoved:
        return AddLine({path, " -> ", newPath});
      case PlannedKind::kAliased:
        return AddLine({newPath, " -> ", path, " (alias)"});
      case PlannedKind::kTrashed:
        return AddLine({path, ": would be moved to the trash with all that is in it"});
      case PlannedKind::kMade:
        return AddLine({path, ": would be made"});
      case PlannedKind::kFileDeleted:
      case PlannedKind::kFolderDeleted:
        return AddLine({path, ": would be deleted"});
    }
  }

  std::string Summary() const {
    const std::string done = ListPlannedCounts(totals_, Digits::kPlain);
    const std::string begin = isStopped_ ? "The preview was stopped. Nothing was done"  //
                                         : "Nothing was done";
    return done.empty() ? begin + ", and nothing would be." : begin + ". " + done + ".";
  }

  bool isListed_;
  bool isQuiet_;
  bool hasSeveralFolders_;
  bool isStopped_ = false;
  int printed_ = 0;       ///< folders
  std::size_t told_ = 0;  ///< changes
  std::string prefix_;    ///< of the paths in the folder in hand
  PlannedChange change_;  ///< in hand; it keeps its memory
  std::string text_;      ///< to be printed
  RunCounts totals_{};
};

}  // namespace

void StartPlanReport(bool isListed, bool isQuiet, bool hasSeveralFolders) {
  static CPlanReport report(isListed, isQuiet, hasSeveralFolders);
  AddRunObserver(&report);
}
