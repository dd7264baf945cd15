#include "engine/flatten_run.h"

#include <optional>
#include <string>

#include "engine/ask_first.h"
#include "engine/collate.h"
#include "engine/dropped_items.h"
#include "engine/emptied_folders.h"
#include "engine/finder_alias.h"
#include "engine/folder_scan.h"
#include "engine/move_name.h"
#include "engine/run_observers.h"
#include "fsutil/item_info.h"
#include "fsutil/move_item.h"
#include "platform/journal.h"
#include "platform/utilities.h"
#include "platform/workspace.h"
#include "prefs/preferences.h"

FlattenRunState FlattenRun;

namespace {

constexpr std::int32_t kMoveOperation = 1;
constexpr std::int32_t kAliasOperation = 2;

// More names in a row than anyone but an adversary takes.
constexpr int kMostTries = 1000;

bool HasToAskFirst() {
  return FlattenRun.askFirst == AskFirst::kBeforeWork && FlattenRun.whyAsk.IsAny();
}

bool AllocateRefs() {
  CollectedFileList &files = FlattenRun.CollectedFiles;
  files.refs.reset(
      static_cast<FSRef *>(NewPtr(static_cast<std::size_t>(files.count) * sizeof(FSRef))));
  return files.refs != nullptr;
}

// Counts, then collects. Only when both passes agree may the files be touched: a scan that was
// stopped or cut short, or has found a changed tree, does not know them all. Any outcome but
// kFinished means that they may not. `scanError` tells of a walk that came to no end.
RunOutcome CollectFiles(OSErr *scanError) {
  CollectedFileList &files = FlattenRun.CollectedFiles;
  files.count = 0;
  files.collected = 0;
  NoteIfHomeIsBelow(FlattenRun.droppedFolder);
  if (HasToAskFirst()) return RunOutcome::kAsksFirst;
  *scanError = CountFilesInFolder(FlattenRun.droppedFolder);
  CountRunEvent(RunEvent::kFound, files.count);
  if (HasToAskFirst()) return RunOutcome::kAsksFirst;
  if (files.count <= 0) return RunOutcome::kNothingFound;
  if (!AllocateRefs()) return RunOutcome::kOutOfMemory;
  const OSErr error = CollectFilesInFolder(FlattenRun.droppedFolder);
  if (*scanError == noErr) *scanError = error;
  return files.collected == files.count ? RunOutcome::kFinished : RunOutcome::kCountsDiffer;
}

struct MoveResult {
  OSErr error;
  bool isNewName;
  FSRef now;  ///< the file, moved or not
};

MoveResult MoveUnderFreeName(const FSRef &file, bool renamesDuplicates) {
  std::optional<std::u16string> newName;
  if (renamesDuplicates) newName = MakeUniqueMoveName(FlattenRun.droppedFolder, file);
  MoveResult result;
  result.isNewName = newName.has_value();
  result.error = MoveItemWithNewName(file, FlattenRun.droppedFolder, newName, kTextEncodingUnknown,
                                     &result.now);
  return result;
}

void NoteMove(const FSRef &file, const MoveResult &move) {
  if (move.error != noErr) {
    NoteRunEvent({RunEvent::kLeftInPlace, file, move.error, &move.now});
    return;
  }
  CountRunEvent(RunEvent::kMoved);
  if (move.isNewName) NoteRunEvent({RunEvent::kRenamed, file, noErr, &move.now});
}

// A file that cannot be moved stays where it is.
void MoveFileUp(const FSRef &file) {
  FSRef parent;
  if (const OSErr error = GetParentFolderRef(file, &parent); error != noErr) {
    NoteRunEvent({RunEvent::kLeftInPlace, file, error});
    return;
  }
  if (FSCompareFSRefs(FlattenRun.droppedFolder, parent) == noErr) {
    CountRunEvent(RunEvent::kAlreadyInPlace);
    return;
  }
  const bool renamesDuplicates = GetRenameDuplicates();
  MoveResult move = MoveUnderFreeName(file, renamesDuplicates);
  // A name is taken that was found free: by another program, or in another spelling that the volume
  // takes for the same. Now it shows. Left behind, the file could be deleted with its folder.
  for (int tries = 0; move.error == dupFNErr && renamesDuplicates && tries < kMostTries &&
                      FSCompareFSRefs(move.now, file) == noErr;
       ++tries) {
    move = MoveUnderFreeName(file, true);
  }
  NoteMove(file, move);
}

bool HasShortPath(const FSRef &item) {
  char path[4096];
  return FSRefMakePath(item, path, sizeof path) == noErr;
}

// A file that lies directly in the dropped folder gets an alias beside itself too.
void MakeAliasOfFile(const FSRef &file) {
  if (!HasShortPath(file) || !HasShortPath(FlattenRun.droppedFolder)) {
    NoteRunEvent({RunEvent::kLeftInPlace, file, bdNamErr});
    return;
  }
  OSErr error = noErr;
  if (MakeFinderAlias(file, FlattenRun.droppedFolder, &error)) {
    CountRunEvent(RunEvent::kAliased);
  } else {
    NoteRunEvent({RunEvent::kLeftInPlace, file, error});
    NSBeep();
  }
}

void HandleFile(const FSRef &file) {
  CountRunEvent(RunEvent::kHandled);
  ShortString name;
  ClearCString(name);
  if (const OSErr error = GetItemNameAsCString(file, name); error != noErr) {
    NoteRunEvent({RunEvent::kLeftInPlace, file, error});
    return;
  }
  TellObservers(&CRunObserver::TakeInHand, name);
  const std::int32_t operation = GetOperation();
  if (operation == kMoveOperation) {
    MoveFileUp(file);
  } else if (operation == kAliasOperation) {
    MakeAliasOfFile(file);
  } else {
    CountRunEvent(RunEvent::kUntouched);
  }
  ++FlattenRun.CollectedFiles.collected;
}

void HandleCollectedFiles() {
  CollectedFileList &files = FlattenRun.CollectedFiles;
  TellObservers(&CRunObserver::BeginPhase, RunPhase::kHandling, "");
  files.collected = 0;
  for (std::int32_t i = 0; i < files.count && !StopOrQuitRequested(); ++i) {
    HandleFile(files.refs[i]);
    TellObservers(&CRunObserver::Advance, i + 1, files.count);
  }
  TellObservers(&CRunObserver::EndPhase);
}

// Takes the folder for this process; false, and who has it, when another one has and this one does
// not wait, or no longer.
bool TakeDroppedFolder(std::string *reason) {
  while (BeginRunJournal(FlattenRun.droppedFolder, reason) == fBsyErr) {
    if (!WaitForBusyFolder(FlattenRun.droppedFolder, *reason)) return false;
    TellObservers(&CRunObserver::BeginPhase, RunPhase::kWaiting, "");
    if (StopOrQuitRequested()) return false;
  }
  return true;
}

void FlattenDroppedFolder() {
  FlattenRun.StopRequested = false;
  TellObservers(&CRunObserver::BeginWork, FlattenRun.droppedFolder);
  std::string reason;
  if (!TakeDroppedFolder(&reason)) {
    // Not even the later phases: the folder is another's.
    EndFolderReport(RunOutcome::kInUse, reason);
    return;
  }
  OSErr scanError = noErr;
  const RunOutcome outcome = CollectFiles(&scanError);
  if (outcome == RunOutcome::kAsksFirst) {
    // Not even the later phases, whether it was stopped or not: they would delete.
    EndRunJournal(RunEnd::kDone);
    EndFolderReport(StopOrQuitRequested() ? RunOutcome::kStopped : outcome);
    return;
  }
  // Mostly the walk has told of the folder that has ended it.
  if (scanError != noErr && ReportOfFolder.CountOf(RunEvent::kFolderNotRead) == 0) {
    NoteRunEvent({RunEvent::kFolderNotRead, FlattenRun.droppedFolder, scanError});
  }
  if (outcome == RunOutcome::kFinished) HandleCollectedFiles();
  FlattenRun.CollectedFiles.refs.reset();
  EndRunMoves();

  // Both run whatever happened before, a stopped run included.
  if (GetDeleteEmptiedFolders()) {
    TellObservers(&CRunObserver::BeginPhase, RunPhase::kDeleting, "");
    // Where the scan has failed nobody knows what would be deleted.
    if (scanError == noErr) {
      RemoveEmptiedFolders(FlattenRun.droppedFolder);
    } else {
      NoteRunEvent({RunEvent::kNotDeleted, FlattenRun.droppedFolder, scanError});
    }
  }
  if (GetAggregateFilesWhenDone()) {
    TellObservers(&CRunObserver::BeginPhase, RunPhase::kCollating, "");
    CollateFilesByExtension(FlattenRun.droppedFolder);
  }
  ForgetFinderAliases();
  const bool isStopped = StopOrQuitRequested();
  EndRunJournal(isStopped ? RunEnd::kStopped : RunEnd::kDone);

  EndFolderReport(isStopped ? RunOutcome::kStopped : outcome);
}

}  // namespace

void FlattenTimerProc(EventLoopTimerRef /*timer*/, void * /*userData*/) {
  std::int32_t count = 0;
  if (AECountItems(DroppedItemList, &count) != noErr) return;
  TellObservers(&CRunObserver::BeginRun, count);
  FlattenRun.StopAllRequested = false;
  for (std::int32_t index = 1; index <= count && !FlattenRun.StopAllRequested; ++index) {
    // Read from the list as it is now: a drop during the run has replaced it.
    if (AEGetNthPtr(DroppedItemList, index, typeFSRef, &FlattenRun.droppedFolder, sizeof(FSRef)) !=
        noErr) {
      continue;
    }
    BeginFolderReport(FlattenRun.droppedFolder);
    if (IsFolder(FlattenRun.droppedFolder)) {
      FlattenDroppedFolder();
    } else {
      EndFolderReport(RunOutcome::kNotAFolder);
    }
  }
  TellObservers(&CRunObserver::EndRun);
  FSForgetRun();
}
