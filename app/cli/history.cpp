#include "app/cli/history.h"

#include <algorithm>
#include <optional>

#include "app/cli/json_report.h"
#include "app/history/history_words.h"
#include "app/history/take_back_order.h"
#include "app/json_writer.h"
#include "app/report_words.h"
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
  std::string path;
  std::string reason;
  const auto order = FindTakeBackOrder(how, folder ? &*folder : nullptr, &path, &reason);
  if (!order) {
    if (path.empty()) return ReportProblemOf(operand.empty() ? "history" : operand, reason);
    return ReportProblemOf(path, reason + "; name it where it is now");
  }
  // A folder that is named twice is meant once.
  const auto isSame = [&](const TakeBackOrder &other) { return other.run.id == order->run.id; };
  if (std::ranges::none_of(TakeBackOrders, isSame)) TakeBackOrders.push_back(*order);
}

std::string LineOf(const PastRun &run) {
  return LocalTimeOf(run) + "  " + run.folder + ": " + WhatWasDoneIn(run) + "; " +
         StateTextOf(run, "; --undo goes on");
}

void WriteRun(CJsonWriter &writer, const PastRun &run) {
  CJsonWriter::Json entry;
  SetText(entry, "folder", run.folder);
  entry["time"] = run.time;
  entry["ended"] = EndOf(run);
  entry["state"] = StateKeyOf(run);
  if (!run.reason.empty()) entry["reason"] = run.reason;
  entry["left"] = run.left;
  for (const auto &[key, one, several, number] : kPastCountWords)
    entry["counts"][key] = run.*number;
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
