/// The program's preferences, beyond what the contract offers.
#pragma once

#include "platform/preferences.h"

/// The value for `key` as CFPreferencesCopyAppValue would answer it were no deletion called off.
std::optional<CFPreferenceValue> ValueBeforeEnding(std::string_view key);

/// For tests, each of which begins anew: forgets what was read, what was set and not yet written,
/// the values for this run and the problem handler. The next use finds the files anew, where the
/// environment then says.
void ForgetPreferences();
