/// What both reports of the terminal program call results, events and ends.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "engine/run_observers.h"

/// A result code as the sources call it, and in words.
struct ResultWords {
  const char *name;
  const char *reason;
};
ResultWords WordsOf(OSErr error);

/// What both reports call an event.
struct EventWords {
  RunEvent event;
  const char *key;      ///< of the count, and of the list of what it happened to, for scripts
  const char *counted;  ///< behind a number
  /// Of one item, behind its path; null for what is only counted. {reason}, {name} (the new one),
  /// {now} (if its name has changed), {old} (its place before, if there is one) and {count} stand
  /// for what the note says.
  const char *line;
  /// The same in a preview; null for what is told there as a change, or only counted.
  const char *planned = nullptr;
};

inline constexpr std::array<EventWords, kRunEventCount> kEventWords{{
    {RunEvent::kFound, "found", "found", nullptr},
    {RunEvent::kHandled, "handled", "handled", nullptr},
    {RunEvent::kMoved, "moved", "moved", nullptr},
    {RunEvent::kAlreadyInPlace, "alreadyInPlace", "already in place", nullptr},
    {RunEvent::kAliased, "aliased", "aliased", nullptr},
    {RunEvent::kUntouched, "untouched", "untouched", nullptr},
    {RunEvent::kHidden, "hiddenUncollated", "hidden and not collated", nullptr},
    {RunEvent::kWithoutExtension, "withoutExtensionUncollated",
     "without extension and not collated", nullptr},
    {RunEvent::kPutBack, "putBack", "put back", nullptr},
    {RunEvent::kAliasTakenAway, "aliasesTakenAway", "aliases taken away", nullptr},
    {RunEvent::kFolderPutBack, "foldersPutBack", "folders put back", nullptr},
    {RunEvent::kFolderTakenAway, "foldersTakenAway", "folders taken away", nullptr},
    {RunEvent::kLeftInPlace, "leftInPlace", "left in place", "left in place{reason}{now}",
     "would be left in place{reason}"},
    {RunEvent::kRenamed, "renamed", "renamed", "moved as {name}"},
    {RunEvent::kFolderNotRead, "unreadFolders", "folders not looked into",
     "could not be looked into{reason}", "could not be looked into{reason}"},
    {RunEvent::kFileDeleted, "deletedFiles", "files deleted", "deleted with its folder"},
    {RunEvent::kFolderDeleted, "deletedFolders", "folders deleted", "deleted"},
    {RunEvent::kTrashed, "trashed", "moved to the trash",
     "moved to the trash with all that was in it"},
    {RunEvent::kNotDeleted, "notDeleted", "not deleted",
     "not deleted, nor the folders it lies in{reason}",
     "would not be deleted, nor the folders it lies in{reason}"},
    {RunEvent::kFolderMade, "foldersMade", "folders made", "made"},
    {RunEvent::kCollated, "collated", "collated", "items moved into it: {count}"},
    {RunEvent::kNotCollated, "notCollated", "not collated", "not collated{reason}",
     "would not be collated{reason}"},
    {RunEvent::kNotPutBack, "notPutBack", "not put back", "not put back{old}{reason}"},
    {RunEvent::kLost, "lost", "lost", "can't be put back: it was deleted for good"},
}};

/// Whether every event has its words, in its place.
consteval bool AreEventWordsComplete() {
  for (std::size_t i = 0; i < kRunEventCount; ++i) {
    const EventWords &words = kEventWords[i];
    if (words.event != static_cast<RunEvent>(i) || words.key == nullptr ||
        words.counted == nullptr || (words.line != nullptr) != IsToldOneByOne(words.event)) {
      return false;
    }
  }
  return true;
}
static_assert(AreEventWordsComplete());

/// The words of an event with what its note says in their places. `path` is the item's.
std::string Expanded(std::string_view words, const RunNote &note, const std::string &path);

/// How the work on a folder ended, in a word or two that scripts may rely on.
const char *WordsOf(RunOutcome outcome);
