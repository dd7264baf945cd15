/// What is kept of runs, and how they are taken back.
///
/// The journals that are kept (docs/journal.md) are the history. A run is taken back by a run of
/// its own, the undo, which has a journal too: taking that back is the redo. Nothing is ever
/// replaced, no link is followed, and an item is put back only if it is the one that the run has
/// moved; all else is left alone and told.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/file_manager.h"
#include "platform/journal.h"

/// What has become of a run that flattens.
enum class PastRunState : std::uint8_t {
  kInForce,
  kTakenBack,
  kTakenBackInPart,  ///< the undo is over, and could not put everything back
  kHalfTakenBack,    ///< the undo was stopped
  kNotKnown,         ///< it can't be taken back: `reason` says why
};

struct PastRun {
  std::string folder;  ///< its path then, as bytes
  std::string time;    ///< of its beginning, in UTC: "2026-11-21T18:22:05Z"
  std::string id;      ///< of its journal
  PastRunState state = PastRunState::kInForce;
  RunEnd end = RunEnd::kDone;
  bool wasInterrupted = false;  ///< the program was killed, and a later start has put things right
  std::string reason;           ///< of kNotKnown, or why not all of it can be taken back
  std::uint64_t moved = 0;      ///< files moved up, those under a new name included
  std::uint64_t renamed = 0;
  std::uint64_t aliased = 0;
  std::uint64_t deleted = 0;  ///< files deleted for good: they can't be brought back
  std::uint64_t foldersDeleted = 0;
  std::uint64_t trashed = 0;
  std::uint64_t collated = 0;
  std::uint64_t left = 0;  ///< of kTakenBackInPart: items that could not be put back
};

/// The runs kept that have changed anything, the newest first: of the folders given, or of all
/// when none is.
std::vector<PastRun> ListPastRuns(const std::vector<FSRef> &folders);

enum class TakeBack : std::uint8_t { kUndo, kRedo };

/// Which run is to be taken back.
struct RunToTakeBack {
  std::string id;      ///< of its journal; that of an undo for a redo
  std::string goesOn;  ///< the journal of an undo or redo that was stopped and is gone on with
  std::string folder;  ///< its path then
  TakeBack how = TakeBack::kUndo;
};

/// Finds the newest run that is not taken back yet, or for a redo the newest undo that no run has
/// come after: in the folder, or anywhere when it is null. fnfErr when there is none; `reason` then
/// says why, in words for the user.
OSErr FindRunToTakeBack(TakeBack how, const FSRef *folder, RunToTakeBack *run, std::string *reason);

/// Whether the folder is the one that the run was in, wherever it lies now.
bool IsFolderOfRun(const FSRef &folder, const RunToTakeBack &run);

/// Begins to take a run back: like BeginRunJournal, with `count` set to about the number of steps,
/// each for TakeBackNext. fnfErr, and nothing has begun, when its journal is gone or can't be used;
/// memFullErr when there is no memory for it.
OSErr BeginTakingBack(const RunToTakeBack &run, const FSRef &folder, std::int32_t *count,
                      std::string *reason);

enum class TakenBackKind : std::uint8_t {
  kNothing,          ///< it was as it should be already
  kItem,             ///< one is where it was, or out of the trash, or for a redo in it again
  kAlias,            ///< one that the run had made is gone
  kFolderMade,       ///< one that was removed is there again
  kFolderTakenAway,  ///< one that the run had made is gone
  kNotPutBack,       ///< `error` says why
  kLost,             ///< deleted for good by the run
};

struct TakenBack {
  TakenBackKind kind = TakenBackKind::kNothing;
  std::string path;     ///< of an item not put back or lost: where the run had left it
  std::string oldPath;  ///< where it was before the run, if that is another place
  OSErr error = noErr;
};

/// Takes back the next step, and says what came of it. False when there is none any more.
bool TakeBackNext(TakenBack *what);

/// Ends it, for the journal; `end` is kStopped when there were steps left.
void EndTakingBack(RunEnd end);
