#include "engine/run_observers.h"

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

std::span<CRunObserver *const> RunObservers() {
  return observers;
}

void NoteRunEvent(const RunNote &note) {
  CountRunEvent(note.event, note.count);
  TellObservers(&CRunObserver::TakeNote, note);
}

void BeginFolderReport(const FSRef &folder) {
  ReportOfFolder = {};
  folderBegan = Clock::now();
  TellObservers(&CRunObserver::BeginFolder, folder);
}

void EndFolderReport(RunOutcome outcome, const std::string &reason) {
  ReportOfFolder.outcome = outcome;
  ReportOfFolder.reason = reason;
  ReportOfFolder.seconds = std::chrono::duration<double>(Clock::now() - folderBegan).count();
  TellObservers(&CRunObserver::EndFolder, ReportOfFolder);
}
