#include "engine/run_report.h"

#include <chrono>
#include <vector>

FolderReport ReportOfFolder;

namespace {

using Clock = std::chrono::steady_clock;

std::vector<CRunObserver *> observers;
Clock::time_point folderBegan;

}  // namespace

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
