#include "app/results/run_log.h"

#include <utility>

#include "app/results/change_rows.h"
#include "app/results/note_rows.h"
#include "fsutil/item_info.h"
#include "platform/plan.h"
#include "platform/run_changes.h"

std::size_t CRunLog::EndOfNotes(std::size_t folder) const {
  return folder + 1 < folders_.size() ? folders_[folder + 1].firstNote : notes_->Count();
}

/// Lets the run go on whatever happens here, as when memory is short.
template <typename Work>
void CRunLog::TakeDown(Work work) noexcept {
  try {
    work();
  } catch (...) {
    isComplete_ = false;
  }
}

void CRunLog::BeginFolder(const FSRef &folder) noexcept {
  if (IsPlanning()) return;  // Nothing happens.
  TakeDown([&] {
    if (std::exchange(isRunOver_, false)) {
      folders_.clear();
      notes_ = std::make_unique<CResultRows>();
      isComplete_ = true;
      ++run_;
      runBegins_();
    }
    isWorkInHand_ = false;
    std::string path = GetItemPath(folder);
    dropped_ = notes_->DroppedFolder(path);
    folders_.push_back({.path = std::move(path), .journal = {}, .firstNote = notes_->Count()});
    isWorkInHand_ = true;
  });
}

void CRunLog::BeginPhase(RunPhase phase, const char * /*folderName*/) noexcept {
  if (phase == RunPhase::kWaiting || !isWorkInHand_ || folders_.back().hasBegun) return;
  TakeDown([this] {
    folders_.back().hasBegun = true;
    folders_.back().journal = RunJournalInHand();
  });
}

void CRunLog::TakeNote(const RunNote &note) noexcept {
  if (!isWorkInHand_ || (IsToldByJournal(note.event) && !folders_.back().journal.empty())) return;
  TakeDown([&] { AddRowOfNote(note, dropped_, notes_.get()); });
}

void CRunLog::EndFolder(const FolderReport &report) noexcept {
  if (!std::exchange(isWorkInHand_, false)) return;
  folders_.back().isOver = true;
  TakeDown([&] { folders_.back().report = report; });
}
