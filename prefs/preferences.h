/// The preferences, read afresh from the store at each use, so that a change takes effect at the
/// next point where a run asks.
///
/// No getter reports an error: a key that is missing, of the wrong type or unreadable has its
/// default.
#pragma once

#include <cstdint>
#include <optional>

#include "prefs/preference_keys.h"

/// Sees what other processes have written, except that `Operation` is read without that.
std::int32_t GetOperation();
bool GetQuitWhenDone();
bool GetIgnoreApplications();
bool GetRenameDuplicates();
bool GetDeleteEmptiedFolders();
bool GetDeleteToTrash();
bool GetAggregateFilesWhenDone();
/// Concerns the program in a window alone.
bool GetPreviewFirst();

/// The stored value of a key, a Boolean as 0 or 1 and a number cut to 16 bits; none when it is
/// missing or of another type.
std::optional<std::int16_t> ReadStoredPreference(const PreferenceKey &key);
