/// The text of a preference file: TOML, of which the keys outside all tables are the preferences.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/preferences.h"

using PreferenceValues = std::map<std::string, CFPreferenceValue, std::less<>>;

/// Why a text could not be understood.
struct PreferenceTextError {
  unsigned line = 0;
  std::string reason;
};

/// Reads the values in `text`; one of a type that no preference has comes as `std::monostate`.
/// Returns false, with `error` set, for what is not TOML.
bool ReadPreferenceText(std::string_view text, PreferenceValues *values,
                        PreferenceTextError *error);

/// The text with `changes` made in it, and everything else in it kept as it stands, comments and
/// unknown keys included. A text that cannot be edited so (a preference's name is used for a table)
/// is written anew, with all its values but without its comments. None when `text` is not TOML, or
/// a string in `changes` is not UTF-8.
std::optional<std::string> EditPreferenceText(std::string text, const PreferenceValues &changes);
