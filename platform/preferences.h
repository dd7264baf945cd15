/// The application's preferences: typed values by key.
///
/// A value is searched for in this order: what was given for this run only, what the program has
/// set, the user's file, the system's files. The user's file is
/// `$XDG_CONFIG_HOME/vannerly/preferences.toml` (default `~/.config`), the system's are the same
/// name under each folder of `$XDG_CONFIG_DIRS` (default `/etc/xdg`), in the order
/// of freedesktop.org's base directories (XDG).
///
/// A file that cannot be understood counts as empty. That is reported once in the system log and to
/// the problem handler, and the file is not overwritten without a copy of it being left beside it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

/// A stored value; `std::monostate` stands for a value of a type that no preference has.
using CFPreferenceValue = std::variant<std::monostate, bool, std::int64_t, std::string>;

/// The value for `key`, or none when nothing holds it.
std::optional<CFPreferenceValue> CFPreferencesCopyAppValue(std::string_view key);

/// Sets the user's value. It is seen at once in this process and reaches the file at the next
/// synchronize.
void CFPreferencesSetAppValue(std::string_view key, const CFPreferenceValue &value);

/// Writes what was set and sees what other processes have written (a few milliseconds ago at the
/// latest). Answers false when something could not be written; it is then kept for the next time.
bool CFPreferencesAppSynchronize();

/// Where a value was found, in the order of the search.
enum class PreferenceSource { kCommandLine, kUser, kSystem, kDefault };

/// Where CFPreferencesCopyAppValue takes the value of `key` from; kDefault when nothing holds it.
PreferenceSource PreferencesSourceOfAppValue(std::string_view key);

/// Sets a value for the rest of this process only, before every stored one. Never written.
void PreferencesSetValueForThisRun(std::string_view key, const CFPreferenceValue &value);

/// Why a write failed or a file counts as empty: "PATH:LINE: reason" or "PATH: reason". Called on
/// the main thread once for each problem. With no handler set, problems go to the system log alone.
using PreferencesProblemHandler = void (*)(const std::string &problem);
void PreferencesSetProblemHandler(PreferencesProblemHandler handler);
