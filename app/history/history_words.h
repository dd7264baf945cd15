/// The runs of the history, in words.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/history.h"

struct PastCountWords {
  const char *key;
  const char *one;
  const char *several;
  std::uint64_t PastRun::*number;
};
inline constexpr std::array kPastCountWords = std::to_array<PastCountWords>({
    {"moved", "moved", "moved", &PastRun::moved},
    {"renamed", "renamed", "renamed", &PastRun::renamed},
    {"aliased", "aliased", "aliased", &PastRun::aliased},
    {"deletedFiles", "file deleted", "files deleted", &PastRun::deleted},
    {"deletedFolders", "folder deleted", "folders deleted", &PastRun::foldersDeleted},
    {"trashed", "moved to the trash", "moved to the trash", &PastRun::trashed},
    {"collated", "collated", "collated", &PastRun::collated},
});

/// When it began: "2026-11-21 19:22:05", in the user's zone.
std::string LocalTimeOf(const PastRun &run);

/// "4 moved, 2 renamed, stopped".
std::string WhatWasDoneIn(const PastRun &run);

/// The state, in a word that scripts may rely on.
const char *StateKeyOf(const PastRun &run);

/// "can be taken back, save the files deleted"; `howToGoOn` stands behind what says that taking it
/// back was stopped.
std::string StateTextOf(const PastRun &run, const char *howToGoOn);
