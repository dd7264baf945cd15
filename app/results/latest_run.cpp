#include "app/results/latest_run.h"

#include "app/report_words.h"

std::vector<std::string> CLatestRun::Folders() const {
  std::vector<std::string> paths;
  for (const CRunLog::Folder &folder : log_.Folders()) paths.push_back(folder.path);
  return paths;
}

std::vector<ResultFolderReport> CLatestRun::Reports() const {
  std::vector<ResultFolderReport> reports;
  for (const CRunLog::Folder &folder : log_.Folders()) {
    ResultFolderReport &known = reports.emplace_back();
    known.folder.path = folder.path;
    known.folder.ended = "at work";
    known.hasChanges = !folder.journal.empty();
    if (!folder.isOver) continue;
    known.folder.ended = WordsOf(folder.report.outcome);
    known.folder.seconds = folder.report.seconds;
    known.folder.counts = folder.report.counts;
    if (folder.report.outcome == RunOutcome::kInUse) known.problem = folder.report.reason;
  }
  return reports;
}

bool CLatestRun::IsComplete() const {
  return log_.IsComplete() && log_.IsRunOver() && !reading_.hasGap;
}

std::string CLatestRun::WhatIsMissing() const {
  if (!log_.IsComplete()) return "There is not enough memory for all items.";
  if (reading_.withoutJournal > 0) {
    return "No journal was kept, or it is no longer there: what was simply moved is not listed.";
  }
  return reading_.hasGap ? "The journal breaks off: what came after that is not listed." : "";
}

bool CLatestRun::TakeIn(CResultRows *rows) {
  if (reading_.folder == log_.Folders().size()) return false;
  const CRunLog::Folder &folder = log_.Folders()[reading_.folder];
  if (!reading_.isBegun && (folder.hasBegun || folder.isOver)) BeginReading(folder, rows);
  const std::size_t endOfNotes = log_.EndOfNotes(reading_.folder);
  rows->AddFrom(log_.Notes(), reading_.notesTaken, endOfNotes);
  reading_.notesTaken = endOfNotes;
  if (reading_.changes != nullptr) {
    const RunReading reading = reading_.changes->ReadOn();
    if (reading == RunReading::kGoesOn) return true;
    if (reading == RunReading::kIsUpToDate && !folder.isOver) return false;
    reading_.hasGap = reading_.hasGap || reading_.changes->HasGap();
    reading_.changes.reset();
  }
  if (!folder.isOver) return false;
  reading_.isBegun = false;
  ++reading_.folder;
  return true;
}

void CLatestRun::BeginReading(const CRunLog::Folder &folder, CResultRows *rows) {
  reading_.isBegun = true;
  rows->BeginSection();
  // That several have been dropped shows in the paths of all.
  (void)rows->DroppedFolder(folder.path);
  auto changes = folder.journal.empty() ? nullptr : OpenRunChanges(folder.journal);
  if (changes != nullptr) {
    reading_.changes = std::make_unique<CChangesToRows>(std::move(changes), rows);
  } else if (folder.hasBegun) {
    ++reading_.withoutJournal;
    reading_.hasGap = reading_.hasGap || !folder.journal.empty();
  }
}
