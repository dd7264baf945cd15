/// The preferences as a command line shows and takes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/preferences.h"
#include "prefs/preference_keys.h"

/// One key with the value in effect and where that comes from.
struct PreferenceSetting {
  std::string_view key;
  std::string value;        ///< "true", "false" or a number
  PreferenceSource source;  ///< kDefault also when a stored value is of the wrong type
};

/// All of them, in the order of the key table.
std::vector<PreferenceSetting> ListPreferences();

/// A key and a value that is right for it.
struct PreferenceAssignment {
  PreferenceKey key;
  CFPreferenceValue value;
};

/// Understands "KEY=VALUE": a key as it is spelled in the table; "true" or "false" for a Boolean, a
/// number for `Operation`. Otherwise answers none and says in `problem` what is wrong.
std::optional<PreferenceAssignment> ParsePreferenceAssignment(std::string_view text,
                                                              std::string *problem);

/// A number that a preference can hold: from -32768 to 32767, in decimal. None for anything else.
std::optional<std::int16_t> ParsePreferenceNumber(std::string_view text);
