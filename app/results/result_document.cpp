#include "app/results/result_document.h"

#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "app/report_document.h"

namespace {

constexpr char kProgram[] = "vannerly " VANNERLY_VERSION;

/// Nothing for a row that tells of no change.
std::optional<ReportedChange> ChangeOf(const ResultRow &row) {
  switch (row.event) {
    case RunEvent::kMoved:
    case RunEvent::kRenamed:
    case RunEvent::kCollated:
      return ReportedChange::kMoved;
    case RunEvent::kAliased:
      return ReportedChange::kAliased;
    case RunEvent::kFileDeleted:
    case RunEvent::kFolderDeleted:
    case RunEvent::kAliasTakenAway:
    case RunEvent::kFolderTakenAway:
      return ReportedChange::kDeleted;
    case RunEvent::kTrashed:
      return ReportedChange::kTrashed;
    case RunEvent::kFolderMade:
    case RunEvent::kFolderPutBack:
      return ReportedChange::kMade;
    case RunEvent::kPutBack:
      // What has come from where no path leads to is only told to be there again.
      return row.to.IsSet() ? ReportedChange::kMoved : ReportedChange::kRestored;
    default:
      return std::nullopt;
  }
}

/// Writes the rows of one folder, which are some of all.
class CSectionWriter {
 public:
  CSectionWriter(const CResultRows &rows, std::size_t section, CReportDocument *document)
      : rows_(rows), document_(*document) {
    std::tie(begin_, end_) = rows.Section(section);
  }

  RunCounts Count() const {
    RunCounts counts{};
    const auto countOf = [&](RunEvent event) -> std::int64_t & {
      return counts[static_cast<std::size_t>(event)];
    };
    ForEach([&](const ResultRow &row) { countOf(row.event) += row.count; });
    countOf(RunEvent::kMoved) += countOf(RunEvent::kRenamed);
    return counts;
  }

  void AddItems(RunEvent event) const {
    if (rows_.CountOf(event) == 0) return;
    if (event == RunEvent::kCollated) return AddCollated();
    const bool isElsewhere = event == RunEvent::kNotPutBack || event == RunEvent::kLost;
    ForEach([&](const ResultRow &row) {
      if (row.event != event) return;
      ReportedItem item{.event = event, .path = PathOf(row.item), .error = row.error};
      (isElsewhere ? item.oldPath : item.now) = PathOf(row.to);
      document_.AddItem(item);
    });
  }

  void AddChanges() const {
    document_.BeginChanges();
    ForEach([this](const ResultRow &row) {
      const auto change = ChangeOf(row);
      if (!change) return;
      // What the row is about is the file, what has been made is the alias.
      const bool isAlias = change == ReportedChange::kAliased;
      document_.AddChange(*change, PathOf(isAlias ? row.to : row.item),
                          PathOf(isAlias ? row.item : row.to));
    });
    document_.EndChanges();
  }

 private:
  template <typename Take>
  void ForEach(Take take) const {
    for (std::size_t row = begin_; row < end_ && document_.IsTaken(); ++row) take(rows_[row]);
  }

  /// A journal tells of each item, the document of the folders that they were sorted into.
  void AddCollated() const {
    std::map<std::string, std::int32_t> folders;
    ForEach([&](const ResultRow &row) {
      if (row.event != RunEvent::kCollated) return;
      folders[PathOf(row.to.IsSet() ? ResultPlace{row.to.folder} : row.item)] += row.count;
    });
    for (const auto &[path, count] : folders) {
      document_.AddItem({.event = RunEvent::kCollated, .path = path, .count = count});
    }
  }

  std::string PathOf(const ResultPlace &place) const {
    std::string path;
    rows_.AppendPath(place, &path);
    return path;
  }

  const CResultRows &rows_;
  CReportDocument &document_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace

bool WriteResultDocument(const CResultSource &source, const CResultRows &rows, bool isComplete,
                         const CJsonWriter::Output &output) {
  std::vector<ResultFolderReport> reports = source.Reports();
  CReportDocument document(output, kProgram, source.IsPreview(), isComplete && source.IsComplete());
  for (std::size_t number = 0; number < reports.size(); ++number) {
    ResultFolderReport &report = reports[number];
    if (!report.problem.empty()) continue;
    const CSectionWriter section(rows, number, &document);
    // Of what has been read only the rows tell how often it happened.
    if (report.folder.isKnown != nullptr) report.folder.counts = section.Count();
    document.BeginFolder(report.folder, [&](RunEvent event) { section.AddItems(event); });
    if (report.hasChanges) section.AddChanges();
    document.EndFolder();
  }
  document.BeginErrors();
  for (const ResultFolderReport &report : reports) {
    if (!report.problem.empty()) document.AddError(report.folder.path, report.problem);
  }
  return document.End();
}
