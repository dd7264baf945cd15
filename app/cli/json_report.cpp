#include "app/cli/json_report.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "app/cli/json_writer.h"
#include "app/report_words.h"
#include "platform/linux/tree/item_location.h"
#include "platform/plan.h"
#include "platform/terminal/terminal.h"

namespace {

using Json = CJsonWriter::Json;

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

Json Describe(const KeptNote &note, const FSRef *nowItem, const KeptPaths *paths) {
  Json item;
  const std::string path = paths != nullptr ? paths->path : PathOnDisk(note.item);
  SetText(item, "path", path);
  if (paths != nullptr && !paths->oldPath.empty()) SetText(item, "oldPath", paths->oldPath);
  if (note.event == RunEvent::kCollated) item["items"] = note.count;
  if (note.error != noErr) {
    const ResultWords words = WordsOf(note.error);
    item["reason"] = words.reason;
    item["code"] = note.error;
    item["error"] = words.name;
  }
  if (nowItem == nullptr) return item;
  const std::string now = PathOnDisk(*nowItem);
  if (note.event == RunEvent::kRenamed) {
    SetText(item, "newName", now.substr(now.rfind('/') + 1));
  } else if (now != path) {
    SetText(item, "now", now);
  }
  return item;
}

const char *WordOf(PlannedKind kind) {
  switch (kind) {
    case PlannedKind::kMoved:
      return "moved";
    case PlannedKind::kAliased:
      return "aliased";
    case PlannedKind::kTrashed:
      return "trashed";
    case PlannedKind::kMade:
      return "made";
    case PlannedKind::kDeleted:
      break;
  }
  return "deleted";
}

void Write(CJsonWriter &writer, const PlannedChange &change) {
  writer.Open('{');
  writer.Text("change", WordOf(change.kind));
  writer.Text("path", change.path);
  if (change.kind == PlannedKind::kMoved) writer.Text("newPath", change.newPath);
  if (change.kind == PlannedKind::kAliased) writer.Text("target", change.newPath);
  writer.Close();
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
    CJsonWriter writer(WriteOutput);
    writer.Open('{');
    writer.Member("format", 1);
    writer.Member("program", program_);
    if (IsPlanning()) writer.Member("preview", true);
    writer.Member("complete", isComplete_);
    writer.Key("folders");
    writer.Open('[');
    std::size_t firstNote = 0;
    std::size_t firstChange = 0;
    for (const KeptFolder &folder : folders_) {
      writer.Open('{');
      WriteFolder(writer, folder, firstNote);
      if (IsPlanning()) WriteChanges(writer, firstChange, folder.planned);
      writer.Close();
      firstNote = folder.end;
      firstChange = folder.planned;
    }
    writer.Close();
    writer.Key("errors");
    writer.Open('[');
    for (const auto &[folder, reason] : errors_) {
      Json error;
      SetText(error, "folder", folder);
      SetText(error, "reason", reason);
      writer.Value(error);
    }
    writer.Close();
    writer.Close();
    writer.End();
  }

  void WriteFolder(CJsonWriter &writer, const KeptFolder &folder, std::size_t firstNote) const {
    Json head;
    SetText(head, "path", PathOnDisk(folder.folder));
    head["ended"] = WordsOf(folder.report.outcome);
    head["seconds"] = folder.report.seconds;
    Json &counts = head["counts"];
    for (std::size_t i = 0; i < kRunEventCount; ++i)
      counts[kEventWords[i].key] = folder.report.counts[i];
    for (const auto &[key, value] : head.items()) writer.Member(key, value);
    for (const EventWords &words : kEventWords) {
      if (!IsToldOneByOne(words.event)) continue;
      writer.Key(words.key);
      writer.Open('[');
      for (std::size_t note = firstNote; note < folder.end && writer.IsTaken(); ++note) {
        if (notes_[note].event == words.event) WriteNote(writer, notes_[note]);
      }
      writer.Close();
    }
  }

  static void WriteChanges(CJsonWriter &writer, std::size_t begin, std::size_t end) {
    writer.Key("changes");
    writer.Open('[');
    PlannedChange change;
    for (std::size_t number = begin; number < end && writer.IsTaken(); ++number) {
      PlannedChangeAt(number, &change);
      Write(writer, change);
    }
    writer.Close();
  }

  void WriteNote(CJsonWriter &writer, const KeptNote &note) const {
    writer.Value(Describe(note, note.now != 0 ? &nowItems_[note.now - 1] : nullptr,
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
