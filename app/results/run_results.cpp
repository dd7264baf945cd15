#include "app/results/run_results.h"

#include <array>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/report_words.h"
#include "app/results/csv.h"
#include "app/results/result_rows.h"
#include "app/results/result_selection.h"
#include "app/results/result_texts.h"
#include "app/results/run_log.h"
#include "platform/menus.h"
#include "platform/results_window.h"
#include "platform/run_changes.h"

namespace {

using Clock = std::chrono::steady_clock;

RunEvent EventOf(const RunChange &change, bool isTakingBack) {
  switch (change.kind) {
    case RunChangeKind::kMovedUp:
      if (isTakingBack) return RunEvent::kPutBack;
      return change.item.name == change.to.name ? RunEvent::kMoved : RunEvent::kRenamed;
    case RunChangeKind::kMovedDown:
      return isTakingBack ? RunEvent::kPutBack : RunEvent::kCollated;
    case RunChangeKind::kMoved:
      return isTakingBack ? RunEvent::kPutBack : RunEvent::kMoved;
    case RunChangeKind::kAliasMade:
      return isTakingBack ? RunEvent::kPutBack : RunEvent::kAliased;
    case RunChangeKind::kAliasRemoved:
      return isTakingBack ? RunEvent::kAliasTakenAway : RunEvent::kFileDeleted;
    case RunChangeKind::kFolderMade:
      return isTakingBack ? RunEvent::kFolderPutBack : RunEvent::kFolderMade;
    case RunChangeKind::kFolderDeleted:
      return isTakingBack ? RunEvent::kFolderTakenAway : RunEvent::kFolderDeleted;
    case RunChangeKind::kTrashed:
      return isTakingBack ? RunEvent::kPutBack : RunEvent::kTrashed;
    case RunChangeKind::kTakenOutOfTrash:
      return RunEvent::kPutBack;
    case RunChangeKind::kFileDeleted:
      break;
  }
  return RunEvent::kFileDeleted;
}

/// Puts the changes of one dropped folder into the rows.
class CChangesToRows final : public CRunChangeTaker {
 public:
  CChangesToRows(std::unique_ptr<CRunChanges> changes, CResultRows *rows)
      : changes_(std::move(changes)), rows_(*rows) {}

  RunReading ReadOn() { return changes_->ReadOn(this); }
  bool HasGap() const { return changes_->HasGap(); }

  void TakeFolder(std::uint32_t /*number*/, std::uint32_t parent, std::string_view name) override {
    folders_.push_back(folders_.empty() ? rows_.DroppedFolder(name)
                                        : rows_.FolderIn(folders_[parent], name));
  }

  void TakeChange(const RunChange &change) override {
    ResultRow row{EventOf(change, changes_->IsTakingBack()), PlaceOf(change.item)};
    switch (change.kind) {
      case RunChangeKind::kMovedUp:
      case RunChangeKind::kMovedDown:
      case RunChangeKind::kMoved:
        row.to = PlaceOf(change.to);
        break;
      case RunChangeKind::kTrashed:
        row.to = rows_.PlaceOf(change.path, folders_[0]);
        break;
      case RunChangeKind::kAliasMade:
        // The file is what something has happened to.
        if (row.event == RunEvent::kAliased) {
          row.to = std::exchange(row.item, rows_.PlaceOf(change.path, folders_[0]));
        }
        break;
      default:
        break;
    }
    rows_.Add(row);
  }

 private:
  ResultPlace PlaceOf(const RunPlace &place) const { return {folders_[place.folder], place.name}; }

  std::unique_ptr<CRunChanges> changes_;
  CResultRows &rows_;
  std::vector<ResultFolder> folders_;  ///< by the journal's number
};

/// What is there only while the window is open.
struct Shown {
  unsigned run = 0;
  CResultRows rows;
  CResultSelection selection{rows};
  std::size_t folder = 0;      ///< of the log, which is being read
  std::size_t notesTaken = 0;  ///< of all of the log
  bool isBegun = false;        ///< the folder's journal has been opened if there is one
  std::unique_ptr<CChangesToRows> changes;
  std::size_t withoutJournal = 0;  ///< folders
  bool hasGap = false;
  bool isFull = false;  ///< there was no memory for more
};

class CRunResults final : public CResultList {
 public:
  CRunLog &Log() { return log_; }

  void Open(std::function<void()> runBegins) override {
    runBegins_ = std::move(runBegins);
    wanted_ = {};
    Restart();
  }

  void Close() override {
    runBegins_ = nullptr;
    shown_.reset();
  }

  ResultNews Follow(int milliseconds, ResultsToCome *toCome) override {
    *toCome = log_.IsRunOver() ? ResultsToCome::kNone : ResultsToCome::kLater;
    ResultNews news = ResultNews::kOtherRows;
    WithMemory([&] {
      const bool isOther = shown_->run != log_.Run();
      if (isOther) Restart();
      const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
      while (!shown_->isFull && TakeIn()) {
        if (Clock::now() < end) continue;
        *toCome = ResultsToCome::kNow;
        break;
      }
      const ResultNews found = shown_->selection.TakeNewRows();
      if (!isOther) news = found;
    });
    return news;
  }

  std::vector<std::string> Folders() const override {
    std::vector<std::string> paths;
    for (const CRunLog::Folder &folder : log_.Folders()) paths.push_back(folder.path);
    return paths;
  }

  std::string WhatIsMissing() const override {
    if (shown_->isFull || !log_.IsComplete()) return "There is not enough memory for all items.";
    if (shown_->withoutJournal > 0) {
      return "No journal was kept, or it is no longer there: what was simply moved is not listed.";
    }
    return shown_->hasGap ? "The journal breaks off: what came after that is not listed." : "";
  }

  std::vector<ResultKind> Kinds() const override {
    std::vector<ResultKind> kinds;
    for (unsigned event = 0; event < kRunEventCount; ++event) {
      const std::size_t count = shown_->rows.CountOf(static_cast<RunEvent>(event));
      if (count > 0) kinds.push_back({event, kEventWords[event].happened, count});
    }
    return kinds;
  }

  void Select(std::optional<unsigned> kind, const std::string &search) override {
    wanted_.event.reset();
    if (kind) wanted_.event = static_cast<RunEvent>(*kind);
    wanted_.search = search;
    WithMemory([this] { shown_->selection.Select(wanted_.event, wanted_.search); });
  }

  void SortBy(std::optional<ResultColumn> column, bool isDescending) override {
    wanted_.column = column;
    wanted_.isDescending = isDescending;
    WithMemory([&] { shown_->selection.SortBy(column, isDescending); });
  }

  std::size_t Count() const override { return shown_->selection.Count(); }
  std::size_t NumberOf(std::size_t row) const override { return shown_->selection.RowAt(row); }

  std::string TextOf(std::size_t row, ResultColumn column) const override {
    std::string text;
    AppendResultText(shown_->rows, shown_->rows[NumberOf(row)], column, &text);
    return text;
  }

  std::string PathOf(std::size_t row) const override {
    const ResultRow told = shown_->rows[NumberOf(row)];
    // What was not put back, or is lost, is told with where it belongs.
    const bool isElsewhere = told.event == RunEvent::kNotPutBack || told.event == RunEvent::kLost;
    std::string path;
    shown_->rows.AppendPath(told.to.IsSet() && !isElsewhere ? told.to : told.item, &path);
    return path;
  }

  bool Save(ResultFormat /*format*/,
            const std::function<bool(std::string_view text)> &write) const override {
    constexpr std::size_t kPiece = std::size_t{1} << 16;
    std::array<std::string, 4> fields{"Item", "What happened", "Where to or why", "Path"};
    std::string text;
    AppendCsvRecord(fields, &text);
    for (std::size_t row = 0; row < Count(); ++row) {
      for (std::size_t column = 0; column < kResultColumns; ++column) {
        fields[column] = TextOf(row, static_cast<ResultColumn>(column));
      }
      fields[kResultColumns] = PathOf(row);
      AppendCsvRecord(fields, &text);
      if (text.size() < kPiece) continue;
      if (!write(text)) return false;
      text.clear();
    }
    return write(text);
  }

 private:
  /// A run goes on when there is no memory for what is shown of it; that is told.
  template <typename Work>
  void WithMemory(Work work) {
    try {
      work();
    } catch (const std::exception &) {
      shown_->isFull = true;
      shown_->changes.reset();
    }
  }

  void Restart() {
    shown_ = std::make_unique<Shown>();
    shown_->run = log_.Run();
    shown_->selection.SortBy(wanted_.column, wanted_.isDescending);
    shown_->selection.Select(wanted_.event, wanted_.search);
  }

  /// Takes in a little; false when nothing is left for now.
  bool TakeIn() {
    if (shown_->folder == log_.Folders().size()) return false;
    const CRunLog::Folder &folder = log_.Folders()[shown_->folder];
    if (!shown_->isBegun && (folder.hasBegun || folder.isOver)) BeginReading(folder);
    const std::size_t endOfNotes = log_.EndOfNotes(shown_->folder);
    shown_->rows.AddFrom(log_.Notes(), shown_->notesTaken, endOfNotes);
    shown_->notesTaken = endOfNotes;
    if (shown_->changes != nullptr) {
      const RunReading reading = shown_->changes->ReadOn();
      if (reading == RunReading::kGoesOn) return true;
      if (reading == RunReading::kIsUpToDate && !folder.isOver) return false;
      shown_->hasGap = shown_->hasGap || shown_->changes->HasGap();
      shown_->changes.reset();
    }
    if (!folder.isOver) return false;
    shown_->isBegun = false;
    ++shown_->folder;
    return true;
  }

  void BeginReading(const CRunLog::Folder &folder) {
    shown_->isBegun = true;
    // That several have been dropped shows in the paths of all.
    (void)shown_->rows.DroppedFolder(folder.path);
    auto changes = folder.journal.empty() ? nullptr : OpenRunChanges(folder.journal);
    if (changes != nullptr) {
      shown_->changes = std::make_unique<CChangesToRows>(std::move(changes), &shown_->rows);
    } else if (folder.hasBegun) {
      ++shown_->withoutJournal;
    }
  }

  struct Wanted {
    std::optional<RunEvent> event;
    std::string search;
    std::optional<ResultColumn> column;
    bool isDescending = false;
  };

  CRunLog log_{[this] {
    EnableMenuCommand(nullptr, kShowResultsCommand);
    if (runBegins_) runBegins_();
  }};
  std::function<void()> runBegins_;
  Wanted wanted_;
  std::unique_ptr<Shown> shown_;  ///< while the window is open
};

CRunResults &Results() {
  static CRunResults results;
  return results;
}

}  // namespace

void WatchRunsForResults() {
  AddRunObserver(&Results().Log());
}

void ShowRunResults() {
  ShowResultsWindow(&Results());
}
