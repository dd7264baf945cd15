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
#include "app/results/latest_run.h"
#include "app/results/past_run.h"
#include "app/results/result_document.h"
#include "app/results/result_rows.h"
#include "app/results/result_selection.h"
#include "app/results/result_texts.h"
#include "platform/menus.h"
#include "platform/results_window.h"

namespace {

using Clock = std::chrono::steady_clock;

/// What is there only while the window is open.
struct Shown {
  explicit Shown(CResultSource *source)
      : version(source->Version()), rows(source->OwnRows()), selection(Rows()) {}

  CResultRows &Rows() {
    if (rows == nullptr) rows = std::make_shared<CResultRows>();
    return *rows;
  }

  unsigned version;  ///< of the source
  std::shared_ptr<CResultRows> rows;
  CResultSelection selection;
  bool isFull = false;  ///< there was no memory for more
};

class CRunResults final : public CResultList {
 public:
  CLatestRun &LatestRun() { return latestRun_; }
  CPastRun &AnyPastRun() { return pastRun_; }

  /// What is shown from now on, also in a window that is open.
  void SetSource(CResultSource *source) {
    if (source != source_) {
      source_->LetGo(false);
      source_->Rewind();
    }
    isOtherSource_ = isOtherSource_ || source != source_;
    source_ = source;
    if (wakeUp_) wakeUp_();
  }

  void Open(std::function<void()> wakeUp) override {
    wakeUp_ = std::move(wakeUp);
    wanted_ = {};
    Restart();
  }

  void Close() override {
    wakeUp_ = nullptr;
    source_->LetGo(true);
    source_->Rewind();
    shown_.reset();
  }

  ResultNews Follow(int milliseconds, ResultsToCome *toCome) override {
    *toCome = source_->IsOver() ? ResultsToCome::kNone : ResultsToCome::kLater;
    ResultNews news = ResultNews::kOtherRows;
    WithMemory([&] {
      const bool isOther = IsOtherThanShown();
      if (isOther) Restart();
      const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
      while (!shown_->isFull && source_->TakeIn(shown_->rows.get())) {
        if (Clock::now() < end) continue;
        *toCome = ResultsToCome::kNow;
        break;
      }
      const ResultNews found = shown_->selection.TakeNewRows();
      if (!isOther) news = found;
    });
    return news;
  }

  std::vector<std::string> Folders() const override { return source_->Folders(); }

  std::optional<PlanQuestion> Question() const override {
    std::optional<PlanQuestion> question = source_->Question();
    if (question && shown_->isFull) question->canBeCarriedOut = false;
    return question;
  }

  void CarryOut() override {
    // Nothing but what has been seen.
    if (!IsOtherThanShown()) source_->CarryOut();
  }

  std::string WhatIsMissing() const override {
    return shown_->isFull ? "There is not enough memory for all items." : source_->WhatIsMissing();
  }

  std::vector<ResultKind> Kinds() const override {
    std::vector<ResultKind> kinds;
    for (unsigned event = 0; event < kRunEventCount; ++event) {
      const std::size_t count = shown_->rows->CountOf(static_cast<RunEvent>(event));
      if (count == 0) continue;
      const bool isPlanned = shown_->rows->AreOfPlan();
      kinds.push_back({event, HappenedInWords(static_cast<RunEvent>(event), isPlanned), count});
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
    AppendResultText(*shown_->rows, (*shown_->rows)[NumberOf(row)], column, &text);
    return text;
  }

  std::string PathOf(std::size_t row) const override {
    const ResultRow told = (*shown_->rows)[NumberOf(row)];
    // What was not put back, or is lost, is told with where it belongs.
    // Nothing in a plan has come anywhere.
    const bool isElsewhere = told.event == RunEvent::kNotPutBack || told.event == RunEvent::kLost ||
                             shown_->rows->AreOfPlan();
    std::string path;
    shown_->rows->AppendPath(told.to.IsSet() && !isElsewhere ? told.to : told.item, &path);
    return path;
  }

  bool Save(ResultFormat format, const std::function<bool(std::string_view text)> &write) override {
    return format == ResultFormat::kJson ? SaveDocument(write) : SaveShown(write);
  }

 private:
  bool SaveDocument(const std::function<bool(std::string_view text)> &write) {
    // Of a run that has begun since the last look the list shows nothing yet.
    Shown others(source_);
    const bool isOther = IsOtherThanShown();
    if (isOther) source_->Rewind();
    CResultRows &rows = isOther ? others.Rows() : shown_->Rows();
    WithMemory([&] {
      while (!shown_->isFull && source_->TakeIn(&rows)) continue;
    });
    return WriteResultDocument(*source_, rows, !shown_->isFull, write);
  }

  bool SaveShown(const std::function<bool(std::string_view text)> &write) const {
    constexpr std::size_t kPiece = std::size_t{1} << 16;
    std::array<std::string, 4> fields{
        "Item", shown_->rows->AreOfPlan() ? "What would happen" : "What happened",
        "Where to or why", "Path"};
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

  bool IsOtherThanShown() const { return isOtherSource_ || shown_->version != source_->Version(); }

  /// A run goes on when there is no memory for what is shown of it; that is told.
  template <typename Work>
  void WithMemory(Work work) {
    try {
      work();
    } catch (const std::exception &) {
      shown_->isFull = true;
      source_->Rewind();
    }
  }

  void Restart() {
    source_->Rewind();
    shown_ = std::make_unique<Shown>(source_);
    isOtherSource_ = false;
    shown_->selection.SortBy(wanted_.column, wanted_.isDescending);
    shown_->selection.Select(wanted_.event, wanted_.search);
  }

  struct Wanted {
    std::optional<RunEvent> event;
    std::string search;
    std::optional<ResultColumn> column;
    bool isDescending = false;
  };

  CLatestRun latestRun_{[this] {
    EnableMenuCommand(nullptr, kShowResultsCommand);
    if (wakeUp_) wakeUp_();
  }};
  CPastRun pastRun_;
  CResultSource *source_ = &latestRun_;
  bool isOtherSource_ = false;
  std::function<void()> wakeUp_;
  Wanted wanted_;
  std::unique_ptr<Shown> shown_;  ///< while the window is open
};

CRunResults &Results() {
  static CRunResults results;
  return results;
}

}  // namespace

void WatchRunsForResults() {
  AddRunObserver(&Results().LatestRun().Log());
}

void ShowRunResults() {
  Results().SetSource(&Results().LatestRun());
  ShowResultsWindow(&Results());
}

std::vector<RunOfFolder> LatestRunByFolder() {
  std::vector<RunOfFolder> runs;
  for (const CRunLog::Folder &folder : Results().LatestRun().Log().Folders()) {
    runs.push_back({folder.path, folder.journal});
  }
  return runs;
}

void ShowPlan(CResultSource *plan) {
  Results().SetSource(plan);
  ShowResultsWindow(&Results());
}

void GoOnToLatestRun() {
  Results().SetSource(&Results().LatestRun());
}

void ShowResultsOf(const PastRun &run) {
  Results().AnyPastRun().Set(run);
  Results().SetSource(&Results().AnyPastRun());
  ShowResultsWindow(&Results());
}
