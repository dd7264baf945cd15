#include "app/cli/history.h"

#include <algorithm>
#include <ctime>
#include <optional>

#include "app/cli/json_report.h"
#include "app/cli/json_writer.h"
#include "engine/take_back_run.h"
#include "platform/linux/files/admission.h"
#include "platform/terminal/terminal.h"
#include "platform/terminal/terminal_text.h"

namespace {

void ReportProblemOf(const std::string &folder, const std::string &reason) {
  ReportUnusable(folder, reason);
  AddUnusableToJsonReport(folder, reason);
}

/// Any folder may be named: nothing is flattened.
std::optional<FSRef> FolderOf(const std::string &operand) {
  const Admission admission = AdmitFolder(operand, true);
  if (!admission.folder) ReportProblemOf(operand, admission.reason);
  return admission.folder;
}

void Order(TakeBack how, const std::string &operand) {
  const std::optional<FSRef> folder = operand.empty() ? std::nullopt : FolderOf(operand);
  if (!operand.empty() && !folder) return;
  TakeBackOrder order{};
  std::string reason;
  if (FindRunToTakeBack(how, folder ? &*folder : nullptr, &order.run, &reason) != noErr) {
    return ReportProblemOf(operand.empty() ? "history" : operand, reason);
  }
  const std::optional<FSRef> found = folder ? folder : AdmitFolder(order.run.folder, true).folder;
  if (!found || !IsFolderOfRun(*found, order.run)) {
    return ReportProblemOf(order.run.folder,
                           "is not there any more, or is another folder; name it where it is now");
  }
  // A folder that is named twice is meant once.
  const auto isSame = [&](const TakeBackOrder &other) { return other.run.id == order.run.id; };
  if (std::ranges::any_of(TakeBackOrders, isSame)) return;
  order.folder = *found;
  TakeBackOrders.push_back(order);
}

struct StateWords {
  const char *key;
  const char *text;
};

StateWords WordsOf(const PastRun &run) {
  switch (run.state) {
    case PastRunState::kTakenBack:
      return {"takenBack", "taken back"};
    case PastRunState::kTakenBackInPart:
      return {"takenBackInPart", "taken back in part"};
    case PastRunState::kHalfTakenBack:
      return {"halfTakenBack", "taking it back was stopped; --undo goes on"};
    case PastRunState::kNotKnown:
      return {"unknown", "can't be taken back"};
    case PastRunState::kInForce:
      break;
  }
  return {"inForce", "can be taken back"};
}

const char *EndOf(const PastRun &run) {
  if (run.wasInterrupted) return "interrupted";
  return run.end == RunEnd::kStopped ? "stopped" : "finished";
}

struct Count {
  const char *key;
  const char *one;
  const char *several;
  std::uint64_t PastRun::*number;
};

constexpr Count kCounts[] = {
    {"moved", "moved", "moved", &PastRun::moved},
    {"renamed", "renamed", "renamed", &PastRun::renamed},
    {"aliased", "aliased", "aliased", &PastRun::aliased},
    {"deletedFiles", "file deleted", "files deleted", &PastRun::deleted},
    {"deletedFolders", "folder deleted", "folders deleted", &PastRun::foldersDeleted},
    {"trashed", "moved to the trash", "moved to the trash", &PastRun::trashed},
    {"collated", "collated", "collated", &PastRun::collated},
};

/// "2026-11-21 19:22:05", in the user's zone.
std::string LocalTime(const std::string &time) {
  std::tm parts{};
  if (strptime(time.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts) == nullptr) return time;
  const std::time_t seconds = timegm(&parts);
  (void)localtime_r(&seconds, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts)};
}

std::string LineOf(const PastRun &run) {
  std::string line = LocalTime(run.time) + "  " + run.folder + ": ";
  const char *separator = "";
  for (const auto &[key, one, several, number] : kCounts) {
    if (run.*number == 0) continue;
    line.append(separator).append(std::to_string(run.*number)).append(" ");
    line.append(run.*number == 1 ? one : several);
    separator = ", ";
  }
  if (*separator == '\0') line += "nothing moved";
  if (run.wasInterrupted || run.end == RunEnd::kStopped) line.append(", ").append(EndOf(run));
  line.append("; ").append(WordsOf(run).text);
  if (!run.reason.empty()) line.append(": ").append(run.reason);
  if (run.left > 0) {
    line.append(", save ")
        .append(std::to_string(run.left))
        .append(run.left == 1 ? " item" : " items");
  }
  if (run.state == PastRunState::kInForce && run.deleted > 0) line += ", save the files deleted";
  return line;
}

void WriteRun(CJsonWriter &writer, const PastRun &run) {
  CJsonWriter::Json entry;
  SetText(entry, "folder", run.folder);
  entry["time"] = run.time;
  entry["ended"] = EndOf(run);
  entry["state"] = WordsOf(run).key;
  if (!run.reason.empty()) entry["reason"] = run.reason;
  entry["left"] = run.left;
  for (const auto &[key, one, several, number] : kCounts) entry["counts"][key] = run.*number;
  writer.Value(entry);
}

}  // namespace

void ListHistory(const std::vector<std::string> &operands, bool isJson, const char *program) {
  std::vector<FSRef> folders;
  for (const std::string &operand : operands) {
    if (const auto folder = FolderOf(operand)) folders.push_back(*folder);
  }
  std::vector<PastRun> runs;
  if (operands.empty() || !folders.empty()) runs = ListPastRuns(folders);
  if (!isJson) {
    std::string lines;
    for (const PastRun &run : runs) lines.append(TerminalTextFromDisk(LineOf(run))).append("\n");
    (void)WriteOutput(lines);
    return;
  }
  CJsonWriter writer(WriteOutput);
  writer.Open('{');
  writer.Member("format", 1);
  writer.Member("program", program);
  writer.Key("history");
  writer.Open('[');
  for (const PastRun &run : runs) WriteRun(writer, run);
  writer.Close();
  writer.Close();
  writer.End();
}

bool OrderTakingBack(TakeBack how, const std::vector<std::string> &operands) {
  if (operands.empty()) Order(how, "");
  for (const std::string &operand : operands) Order(how, operand);
  return !TakeBackOrders.empty();
}
