/// What hardly anybody means to flatten: a checkout of a version-control system, which flattening
/// takes apart, and a folder with the user's home somewhere below it.
///
/// Finding it costs no walk of its own: the counting pass sees every name.
#pragma once

#include <cstdint>
#include <string>

#include "platform/file_manager.h"

enum class AskFirst : std::uint8_t {
  kNever,       ///< nothing is looked for
  kNotes,       ///< what is found is noted, and the work goes on
  kBeforeWork,  ///< the folder is over before anything is touched, with RunOutcome::kAsksFirst
};

/// What has been found in the folder in hand.
struct WhyAsk {
  bool isHomeBelow = false;
  std::int32_t checkouts = 0;
  std::string first;  ///< the path, as bytes, of the ".git", ".hg" or ".svn" met first

  bool IsAny() const { return isHomeBelow || checkouts > 0; }
};

/// Both note in `FlattenRun.whyAsk`. The first begins anew with a dropped folder, the second looks
/// at an item by its name alone.
void NoteIfHomeIsBelow(const FSRef &folder);
void NoteIfCheckout(const FSRef &item);
