#include "app/cli/json_report.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "app/report_document.h"
#include "app/report_words.h"
#include "platform/linux/tree/item_location.h"
#include "platform/plan.h"
#include "platform/terminal/terminal.h"

namespace {

/// A note that is kept until it is printed. The items' paths are made then: a reference leads to
/// the place that it has led to for the life of the process, and a path can be any length.
struct KeptNote {
  FSRef item;
  std::uint32_t now;    ///< which of those kept is the item as it is now, plus 1; 0 for none
  std::uint32_t paths;  ///< which of those kept are in place of the item, plus 1; 0 for none
  std::int32_t count;
  OSErr error;
  RunEvent event;
};

struct KeptFolder {
  FSRef folder;
  FolderReport report;
  std::size_t end;      ///< the place behind its last note
  std::size_t planned;  ///< the same of its planned changes
};

/// Where no reference leads to an item.
struct KeptPaths {
  std::string path;
  std::string oldPath;  ///< empty when there is none
};

ReportedItem Describe(const KeptNote &note, const FSRef *nowItem, const KeptPaths *paths) {
  ReportedItem item{.event = note.event, .error = note.error, .count = note.count};
  item.path = paths != nullptr ? paths->path : PathOnDisk(note.item);
  if (paths != nullptr) item.oldPath = paths->oldPath;
  if (nowItem != nullptr) item.now = PathOnDisk(*nowItem);
  return item;
}

void Add(CReportDocument &document, const PlannedChange &change) {
  switch (change.kind) {
    case PlannedKind::kMoved:
      return document.AddChange(ReportedChange::kMoved, change.path, change.newPath);
    case PlannedKind::kAliased:
      return document.AddChange(ReportedChange::kAliased, change.path, change.newPath);
    case PlannedKind::kTrashed:
      return document.AddChange(ReportedChange::kTrashed, change.path, {});
    case PlannedKind::kMade:
      return document.AddChange(ReportedChange::kMade, change.path, {});
    case PlannedKind::kFileDeleted:
    case PlannedKind::kFolderDeleted:
      return document.AddChange(ReportedChange::kDeleted, change.path, {});
  }
}

class CJsonReport final : public CRunObserver {
 public:
  explicit CJsonReport(std::string program) : program_(std::move(program)) {}

  void AddError(const std::string &folder, const std::string &reason) noexcept {
    TakeDown([&] { errors_.push_back({folder, reason}); });
  }

  void BeginFolder(const FSRef &folder) noexcept override { folder_ = folder; }

  void TakeNote(const RunNote &note) noexcept override {
    TakeDown([&] {
      std::uint32_t now = 0;
      if (note.now != nullptr && !HasSameBytes(*note.now, note.item)) {
        nowItems_.push_back(*note.now);
        now = static_cast<std::uint32_t>(nowItems_.size());
      }
      std::uint32_t paths = 0;
      if (note.path != nullptr) {
        paths_.push_back({*note.path, note.oldPath != nullptr ? *note.oldPath : std::string()});
        paths = static_cast<std::uint32_t>(paths_.size());
      }
      notes_.push_back({note.item, now, paths, note.count, note.error, note.event});
    });
  }

  void EndFolder(const FolderReport &report) noexcept override {
    TakeDown([&] {
      if (report.outcome == RunOutcome::kInUse) {
        errors_.push_back({PathOnDisk(folder_), report.reason});
      } else {
        folders_.push_back({folder_, report, notes_.size(), PlannedChangeCount()});
      }
    });
  }

  void EndRun() noexcept override { Print(); }

  void Print() noexcept {
    if (std::exchange(isPrinted_, true)) return;
    try {
      WriteDocument();
    } catch (...) {
      // The document breaks off, and is no JSON. Telling so takes memory too.
      notes_.clear();
      ReportUnusable("standard output", "not enough memory for the rest of the document");
    }
  }

 private:
  static bool HasSameBytes(const FSRef &first, const FSRef &second) {
    return std::ranges::equal(first.hidden, second.hidden);
  }

  /// Lets the run go on whatever happens here, as when memory is short. What comes later is not
  /// taken down either: with a gap in it, a list would look whole.
  template <typename Work>
  void TakeDown(Work work) noexcept {
    if (!isComplete_) return;
    try {
      work();
    } catch (...) {
      isComplete_ = false;
    }
  }

  void WriteDocument() const {
    CReportDocument document(WriteOutput, program_, IsPlanning(), isComplete_);
    std::size_t firstNote = 0;
    std::size_t firstChange = 0;
    for (const KeptFolder &folder : folders_) {
      WriteFolder(document, folder, firstNote);
      if (IsPlanning()) WriteChanges(document, firstChange, folder.planned);
      document.EndFolder();
      firstNote = folder.end;
      firstChange = folder.planned;
    }
    document.BeginErrors();
    for (const auto &[folder, reason] : errors_) document.AddError(folder, reason);
    (void)document.End();  // The exit status tells whether it could be written.
  }

  void WriteFolder(CReportDocument &document, const KeptFolder &folder,
                   std::size_t firstNote) const {
    const FolderReport &report = folder.report;
    document.BeginFolder({.path = PathOnDisk(folder.folder),
                          .time = {},
                          .ended = WordsOf(report.outcome),
                          .seconds = report.seconds,
                          .counts = report.counts},
                         [&](RunEvent event) {
                           for (std::size_t note = firstNote;
                                note < folder.end && document.IsTaken(); ++note) {
                             if (notes_[note].event == event) AddNote(document, notes_[note]);
                           }
                         });
  }

  static void WriteChanges(CReportDocument &document, std::size_t begin, std::size_t end) {
    document.BeginChanges();
    PlannedChange change;
    for (std::size_t number = begin; number < end && document.IsTaken(); ++number) {
      PlannedChangeAt(number, &change);
      Add(document, change);
    }
    document.EndChanges();
  }

  void AddNote(CReportDocument &document, const KeptNote &note) const {
    document.AddItem(Describe(note, note.now != 0 ? &nowItems_[note.now - 1] : nullptr,
                              note.paths != 0 ? &paths_[note.paths - 1] : nullptr));
  }

  std::string program_;
  FSRef folder_{};  ///< in hand
  // In pieces, unlike a vector's: none has to be copied, and so be there twice, when there are
  // more.
  std::deque<KeptNote> notes_;
  std::deque<FSRef> nowItems_;
  std::deque<KeptPaths> paths_;
  std::deque<KeptFolder> folders_;
  std::vector<UnusableOperand> errors_;
  bool isComplete_ = true;
  bool isPrinted_ = false;
};

std::unique_ptr<CJsonReport> report;

}  // namespace

void StartJsonReport(const std::string &program) {
  report = std::make_unique<CJsonReport>(program);
  AddRunObserver(report.get());
}

void AddUnusableToJsonReport(const std::string &folder, const std::string &reason) {
  if (report != nullptr) report->AddError(folder, reason);
}

void PrintJsonReport() {
  if (report != nullptr) report->Print();
}
