/// What can be told of a run: its phases, how many files met with what, each exception, and its
/// end. A file that is simply moved costs a counter.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/file_manager.h"

/// What the run does with a dropped folder, in this order.
enum class RunPhase : std::uint8_t {
  kWaiting,  ///< for another process to end its work in it
  kCounting,
  kCollecting,
  kHandling,  ///< moving up, or whatever `Operation` asks for
  kDeleting,
  kCollating,
  kUndoing,  ///< the two that take a run back have no other phase but waiting
  kRedoing,
};

constexpr bool IsTakingBack(RunPhase phase) {
  return phase == RunPhase::kUndoing || phase == RunPhase::kRedoing;
}

/// What can happen. The first group counts files and is not told to observers one by one.
enum class RunEvent : std::uint8_t {
  kFound,           ///< by the counting pass
  kHandled,         ///< reached by the pass that handles files; each is one of the next five too
  kMoved,           ///< kRenamed included
  kAlreadyInPlace,  ///< lies directly in the dropped folder
  kAliased,
  kUntouched,         ///< `Operation` asks for nothing to be done
  kHidden,            ///< not collated, because the item is hidden
  kWithoutExtension,  ///< not collated, because there is no folder to put the item in
  // Of an undo or redo:
  kPutBack,          ///< items that are where they were
  kAliasTakenAway,   ///< made by the run, and gone
  kFolderPutBack,    ///< removed by the run, and there again
  kFolderTakenAway,  ///< made by the run, and gone

  kLeftInPlace,     ///< `item` was not moved, or got no alias; `error` says why
  kRenamed,         ///< `item` was moved under another name and is `now`
  kFolderNotRead,   ///< `item` could not be listed: what lies in it has not been found
  kFileDeleted,     ///< `item` was deleted with the folder that held it
  kFolderDeleted,   ///< so was the folder `item`, or it was empty
  kTrashed,         ///< the folder `item` was moved to the trash with all that was in it
  kNotDeleted,      ///< `item` was to be deleted; it and the folders above it stay
  kFolderMade,      ///< `item` was made for collating
  kCollated,        ///< `count` items were moved into the folder `item`
  kNotCollated,     ///< `item` could not be moved into the folder of its extension
  kNotPutBack,      ///< the item `path` belongs at `oldPath` and is left where it is
  kLost,            ///< the file `path` was deleted for good by the run that is taken back
  kNumberOfEvents,  ///< not an event
};
inline constexpr std::size_t kRunEventCount = static_cast<std::size_t>(RunEvent::kNumberOfEvents);

constexpr bool IsToldOneByOne(RunEvent event) {
  return event >= RunEvent::kLeftInPlace;
}

/// One event, as observers are told of it. Valid during the call only.
struct RunNote {
  RunEvent event;
  const FSRef &item;  ///< as it was before
  OSErr error = noErr;
  const FSRef *now = nullptr;  ///< the item as it is now, where it was on its way; else null
  std::int32_t count = 1;
  /// As bytes, of an item to which no reference leads; `item` is the dropped folder then.
  const std::string *path = nullptr;
  const std::string *oldPath = nullptr;
};

/// How the work on one dropped folder ended.
enum class RunOutcome : std::uint8_t {
  kFinished,
  kStopped,       ///< Stop or Quit was requested, in whatever phase
  kNothingFound,  ///< no file, so none was handled
  kCountsDiffer,  ///< the two passes found different numbers, so none was handled
  kOutOfMemory,   ///< for the list of files, so none was handled
  kNotAFolder,    ///< it no longer is one; nothing was done
  kInUse,         ///< by another process; nothing was done
  kNoJournal,     ///< the one of the run to be taken back is gone; nothing was done
  kAsksFirst,     ///< AskFirst wants it: nothing was done
};

/// How often each event has happened, in one folder or in several.
using RunCounts = std::array<std::int64_t, kRunEventCount>;

/// What is other than it was to be. All are 0 when every file found is where it should be; what was
/// asked to be left alone, as by an `Operation` that is neither of the two, does not count.
struct Shortfalls {
  std::int64_t leftInPlace;  ///< files that were not moved, or got no alias
  std::int64_t notReached;   ///< files that were found and not handled, as in a stopped run
  std::int64_t notRead;      ///< folders that could not be listed
  std::int64_t deleted;      ///< files; one that has been moved is never deleted
  std::int64_t notDeleted;   ///< items that were to be
  std::int64_t notCollated;  ///< the same
  std::int64_t notPutBack;   ///< items that an undo or redo has left where they were
  std::int64_t lost;         ///< files that it can't bring back
  bool operator==(const Shortfalls &) const = default;
};
Shortfalls ShortfallsOf(const RunCounts &counts);

struct FolderReport {
  RunCounts counts{};
  RunOutcome outcome = RunOutcome::kFinished;
  std::string reason;  ///< of kInUse: who uses it, as bytes
  double seconds = 0;

  std::int64_t CountOf(RunEvent event) const { return counts[static_cast<std::size_t>(event)]; }
};
