/// The voice of a run: all that it tells, and whoever listens.
///
/// The run depends on nobody who listens. Where its rules let the result of a step go, the result
/// is told here and the run goes on as ever. Those who listen are told in the order in which they
/// were added.
#pragma once

#include <span>
#include <string>
#include <utility>

#include "engine/run_events.h"

/// Somebody who is told. Nothing here may touch the files or throw: a run must not end because of
/// whoever listens. Only what is of interest has to be overridden.
class CRunObserver {
 public:
  /// A drop, or what is to be taken back, has its turn: so many items of it.
  virtual void BeginRun(std::int32_t /*items*/) noexcept {}
  /// A dropped item has its turn. It can turn out to be no folder, or one that is in use.
  virtual void BeginFolder(const FSRef & /*folder*/) noexcept {}
  /// It is a folder.
  virtual void BeginWork(const FSRef & /*folder*/) noexcept {}

  /// `folderName` is the folder's name in UTF-8 for the two passes of the scan, else empty. Waiting
  /// is told anew each time that the folder has turned out to be in use, deleting once more before
  /// the first folder goes.
  virtual void BeginPhase(RunPhase /*phase*/, const char * /*folderName*/) noexcept {}
  /// A file is about to be handled; its name in UTF-8.
  virtual void TakeInHand(const char * /*name*/) noexcept {}
  /// So many items are done. `count` is how many there are, 0 while they are being counted.
  virtual void Advance(std::int32_t /*done*/, std::int32_t /*count*/) noexcept {}
  /// Of the scan's second pass and of the files' handling.
  virtual void EndPhase() noexcept {}
  /// The program was told to end, so nothing is deleted any more.
  virtual void CallOffDeletion() noexcept {}

  /// One event of the second group.
  virtual void TakeNote(const RunNote & /*note*/) noexcept {}

  virtual void EndFolder(const FolderReport & /*report*/) noexcept {}
  /// All items of the run are done.
  virtual void EndRun() noexcept {}

 protected:
  ~CRunObserver() = default;
};

/// The observer is told from now on, for the life of the process.
void AddRunObserver(CRunObserver *observer);
std::span<CRunObserver *const> RunObservers();

/// Tells all of them.
template <typename... Parameters, typename... Arguments>
void TellObservers(void (CRunObserver::*what)(Parameters...) noexcept,
                   const Arguments &...arguments) {
  for (CRunObserver *observer : RunObservers()) (observer->*what)(arguments...);
}

/// The report of the folder in hand.
extern FolderReport ReportOfFolder;

/// Counts an event of the first group.
inline void CountRunEvent(RunEvent event, std::int32_t count = 1) {
  ReportOfFolder.counts[static_cast<std::size_t>(event)] += count;
}

/// Counts an event of the second group and tells it.
void NoteRunEvent(const RunNote &note);

void BeginFolderReport(const FSRef &folder);
void EndFolderReport(RunOutcome outcome, const std::string &reason = {});
