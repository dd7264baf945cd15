#include "app/results/run_log.h"

#include <utility>

#include "app/results/change_rows.h"
#include "platform/run_changes.h"

namespace {

/// The item's path, however long it is; empty for a reference to nothing.
std::string PathOf(const FSRef &item) {
  constexpr std::size_t kMost = std::size_t{1} << 24;
  std::string path;
  for (std::size_t size = 1024; size <= kMost; size *= 4) {
    path.resize(size);
    const OSStatus status = FSRefMakePath(item, path.data(), static_cast<std::uint32_t>(size));
    if (status == noErr) {
      path.resize(path.find('\0'));
      return path;
    }
    if (status != bdNamErr) break;
  }
  return {};
}

}  // namespace

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
  TakeDown([&] {
    if (std::exchange(isRunOver_, false)) {
      folders_.clear();
      notes_ = std::make_unique<CResultRows>();
      isComplete_ = true;
      ++run_;
      runBegins_();
    }
    isWorkInHand_ = false;
    std::string path = PathOf(folder);
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
  TakeDown([&] {
    const std::string path = note.path != nullptr ? *note.path : PathOf(note.item);
    std::string toPath;
    if (note.oldPath != nullptr) toPath = *note.oldPath;
    if (note.now != nullptr) toPath = PathOf(*note.now);
    ResultRow row{note.event, notes_->PlaceOf(path, dropped_), {}, note.error, note.count};
    if (!toPath.empty() && toPath != path) row.to = notes_->PlaceOf(toPath, dropped_);
    notes_->Add(row);
  });
}

void CRunLog::EndFolder(const FolderReport &report) noexcept {
  if (!std::exchange(isWorkInHand_, false)) return;
  folders_.back().isOver = true;
  TakeDown([&] { folders_.back().report = report; });
}
