/// What reports and the results window call results, events and ends.
#pragma once

#include <array>

#include "engine/run_observers.h"
#include "platform/history.h"

/// A result code as the sources call it, and in words.
struct ResultWords {
  const char *name;
  const char *reason;
};
ResultWords WordsOf(OSErr error);

/// What an event is called.
struct EventWords {
  RunEvent event;
  const char *key;       ///< of the count, and of the list of what it happened to, for scripts
  const char *counted;   ///< behind a number
  const char *happened;  ///< to an item in the list of results; null for what is never in it
  /// Of one item, behind its path; null for what is only counted. {reason}, {name} (the new one),
  /// {now} (if its name has changed), {old} (its place before, if there is one) and {count} stand
  /// for what the note says.
  const char *line;
  /// The same in a preview; null for what is told there as a change, or only counted.
  const char *planned = nullptr;
  const char *wouldHappen = nullptr;  ///< `happened` in the list of a plan; null for never in it
};

inline constexpr std::array<EventWords, kRunEventCount> kEventWords{{
    {RunEvent::kFound, "found", "found", nullptr, nullptr},
    {RunEvent::kHandled, "handled", "handled", nullptr, nullptr},
    {RunEvent::kMoved, "moved", "moved", "moved", nullptr, nullptr, "would be moved"},
    {RunEvent::kAlreadyInPlace, "alreadyInPlace", "already in place", nullptr, nullptr},
    {RunEvent::kAliased, "aliased", "aliased", "given an alias", nullptr, nullptr,
     "would get an alias"},
    {RunEvent::kUntouched, "untouched", "untouched", nullptr, nullptr},
    {RunEvent::kHidden, "hiddenUncollated", "hidden and not collated", nullptr, nullptr},
    {RunEvent::kWithoutExtension, "withoutExtensionUncollated",
     "without extension and not collated", nullptr, nullptr},
    {RunEvent::kPutBack, "putBack", "put back", "put back", nullptr},
    {RunEvent::kAliasTakenAway, "aliasesTakenAway", "aliases taken away", "alias taken away",
     nullptr},
    {RunEvent::kFolderPutBack, "foldersPutBack", "folders put back", "folder put back", nullptr},
    {RunEvent::kFolderTakenAway, "foldersTakenAway", "folders taken away", "folder taken away",
     nullptr},
    {RunEvent::kLeftInPlace, "leftInPlace", "left in place", "left in place",
     "left in place{reason}{now}", "would be left in place{reason}", "would be left in place"},
    {RunEvent::kRenamed, "renamed", "renamed", "moved under another name", "moved as {name}",
     nullptr, "would be moved and renamed"},
    {RunEvent::kFolderNotRead, "unreadFolders", "folders not looked into", "not looked into",
     "could not be looked into{reason}", "could not be looked into{reason}",
     "could not be looked into"},
    {RunEvent::kFileDeleted, "deletedFiles", "files deleted", "file deleted",
     "deleted with its folder", nullptr, "file would be deleted"},
    {RunEvent::kFolderDeleted, "deletedFolders", "folders deleted", "folder deleted", "deleted",
     nullptr, "folder would be deleted"},
    {RunEvent::kTrashed, "trashed", "moved to the trash", "moved to the trash",
     "moved to the trash with all that was in it", nullptr, "would be moved to the trash"},
    {RunEvent::kNotDeleted, "notDeleted", "not deleted", "not deleted",
     "not deleted, nor the folders it lies in{reason}",
     "would not be deleted, nor the folders it lies in{reason}", "would not be deleted"},
    {RunEvent::kFolderMade, "foldersMade", "folders made", "folder made", "made", nullptr,
     "folder would be made"},
    {RunEvent::kCollated, "collated", "collated", "collated", "items moved into it: {count}",
     nullptr, "would be collated"},
    {RunEvent::kNotCollated, "notCollated", "not collated", "not collated", "not collated{reason}",
     "would not be collated{reason}", "would not be collated"},
    {RunEvent::kNotPutBack, "notPutBack", "not put back", "not put back",
     "not put back{old}{reason}"},
    {RunEvent::kLost, "lost", "lost", "lost", "can't be put back: it was deleted for good"},
}};

/// Whether every event has its words, in its place.
consteval bool AreEventWordsComplete() {
  for (std::size_t i = 0; i < kRunEventCount; ++i) {
    const EventWords &words = kEventWords[i];
    if (words.event != static_cast<RunEvent>(i) || words.key == nullptr ||
        words.counted == nullptr || (words.line != nullptr) != IsToldOneByOne(words.event) ||
        (words.line != nullptr && words.happened == nullptr) ||
        (words.planned != nullptr && words.wouldHappen == nullptr)) {
      return false;
    }
  }
  return true;
}
static_assert(AreEventWordsComplete());

/// What has happened to an item in the list of results, or in that of a plan would happen.
const char *HappenedInWords(RunEvent event, bool isPlanned);

/// How the work on a folder ended, in a word or two that scripts may rely on.
const char *WordsOf(RunOutcome outcome);
/// The same of a run of the history: "finished", "stopped" or "interrupted".
const char *EndOf(const PastRun &run);

/// Why nothing was done with the files of a folder, behind its path; null for an end that is no
/// reason for that. Who has a folder that is in use, the report tells.
const char *WhyLeftAlone(RunOutcome outcome);
