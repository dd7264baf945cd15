#include "app/report_document.h"

#include <cstddef>
#include <utility>

#include "app/report_words.h"

namespace {

using Json = CJsonWriter::Json;

constexpr int kFormat = 1;

/// In the order of ReportedChange.
constexpr const char *kChangeWords[] = {"moved",   "aliased", "deleted",
                                        "trashed", "made",    "restored"};

bool IsKnown(const ReportedFolder &folder, RunEvent event) {
  return folder.isKnown == nullptr || folder.isKnown(event);
}

}  // namespace

CReportDocument::CReportDocument(CJsonWriter::Output output, const std::string &program,
                                 bool isPreview, bool isComplete)
    : writer_(std::move(output)) {
  writer_.Open('{');
  writer_.Member("format", kFormat);
  writer_.Member("program", program);
  if (isPreview) writer_.Member("preview", true);
  writer_.Member("complete", isComplete);
  writer_.Key("folders");
  writer_.Open('[');
}

void CReportDocument::BeginFolder(const ReportedFolder &folder,
                                  const std::function<void(RunEvent event)> &addItems) {
  writer_.Open('{');
  writer_.Text("path", folder.path);
  if (!folder.time.empty()) writer_.Member("time", folder.time);
  writer_.Member("ended", folder.ended);
  if (folder.seconds) writer_.Member("seconds", *folder.seconds);
  if (folder.counts) {
    Json counts;
    for (const EventWords &words : kEventWords) {
      if (!IsKnown(folder, words.event)) continue;
      counts[words.key] = (*folder.counts)[static_cast<std::size_t>(words.event)];
    }
    writer_.Member("counts", counts);
  }
  for (const EventWords &words : kEventWords) {
    if (!IsToldOneByOne(words.event) || !IsKnown(folder, words.event)) continue;
    writer_.Key(words.key);
    writer_.Open('[');
    addItems(words.event);
    writer_.Close();
  }
}

void CReportDocument::AddItem(const ReportedItem &item) {
  Json entry;
  SetText(entry, "path", item.path);
  if (!item.oldPath.empty()) SetText(entry, "oldPath", item.oldPath);
  if (item.event == RunEvent::kCollated) entry["items"] = item.count;
  if (item.error != noErr) {
    const ResultWords words = WordsOf(item.error);
    entry["reason"] = words.reason;
    entry["code"] = item.error;
    entry["error"] = words.name;
  }
  if (!item.now.empty() && item.now != item.path) {
    if (item.event == RunEvent::kRenamed) {
      SetText(entry, "newName", item.now.substr(item.now.rfind('/') + 1));
    } else {
      SetText(entry, "now", item.now);
    }
  }
  writer_.Value(entry);
}

void CReportDocument::BeginChanges() {
  writer_.Key("changes");
  writer_.Open('[');
}

void CReportDocument::AddChange(ReportedChange change, const std::string &path,
                                const std::string &newPath) {
  writer_.Open('{');
  writer_.Text("change", kChangeWords[static_cast<std::size_t>(change)]);
  writer_.Text("path", path);
  if (!newPath.empty()) {
    writer_.Text(change == ReportedChange::kAliased ? "target" : "newPath", newPath);
  }
  writer_.Close();
}

void CReportDocument::BeginErrors() {
  writer_.Close();
  writer_.Key("errors");
  writer_.Open('[');
}

void CReportDocument::AddError(const std::string &folder, const std::string &reason) {
  Json error;
  SetText(error, "folder", folder);
  SetText(error, "reason", reason);
  writer_.Value(error);
}

bool CReportDocument::End() {
  writer_.Close();
  writer_.Close();
  writer_.End();
  return IsTaken();
}
