#include "engine/run_report.h"

#include <chrono>
#include <vector>

FolderReport ReportOfFolder;

namespace {

using Clock = std::chrono::steady_clock;

std::vector<CRunObserver *> observers;
Clock::time_point folderBegan;

}  // namespace

Shortfalls ShortfallsOf(const RunCounts &counts) {
  const auto countOf = [&](RunEvent event) { return counts[static_cast<std::size_t>(event)]; };
  return {.leftInPlace = countOf(RunEvent::kLeftInPlace),
          .notReached = countOf(RunEvent::kFound) - countOf(RunEvent::kHandled),
          .notRead = countOf(RunEvent::kFolderNotRead),
          .deleted = countOf(RunEvent::kFileDeleted),
          .notDeleted = countOf(RunEvent::kNotDeleted),
          .notCollated = countOf(RunEvent::kNotCollated)};
}

void AddRunObserver(CRunObserver *observer) {
  observers.push_back(observer);
}

void NoteRunEvent(const RunNote &note) {
  CountRunEvent(note.event, note.count);
  for (CRunObserver *observer : observers) observer->TakeNote(note);
}

void BeginFolderReport(const FSRef &folder) {
  ReportOfFolder = {};
  folderBegan = Clock::now();
  for (CRunObserver *observer : observers) observer->BeginFolder(folder);
}

void EndFolderReport(RunOutcome outcome, const std::string &reason) {
  ReportOfFolder.outcome = outcome;
  ReportOfFolder.reason = reason;
  ReportOfFolder.seconds = std::chrono::duration<double>(Clock::now() - folderBegan).count();
  for (CRunObserver *observer : observers) observer->EndFolder(ReportOfFolder);
}

void EndRunReport() {
  for (CRunObserver *observer : observers) observer->EndRun();
}
