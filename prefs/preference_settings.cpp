#include "prefs/preference_settings.h"

#include <algorithm>
#include <charconv>

#include "prefs/preferences.h"

std::vector<PreferenceSetting> ListPreferences() {
  (void)CFPreferencesAppSynchronize();
  std::vector<PreferenceSetting> settings;
  for (const PreferenceKey &key : kPreferenceKeys) {
    const std::optional<std::int16_t> stored = ReadStoredPreference(key);
    const std::int16_t value = stored.value_or(key.defaultValue);
    settings.push_back(
        {key.name,
         key.type == PreferenceType::kNumber ? std::to_string(value)
         : value != 0                        ? "true"
                                             : "false",
         stored ? PreferencesSourceOfAppValue(key.name) : PreferenceSource::kDefault});
  }
  return settings;
}

std::optional<PreferenceAssignment> ParsePreferenceAssignment(std::string_view text,
                                                              std::string *problem) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    *problem = "\"" + std::string(text) + "\" is not of the form KEY=VALUE";
    return std::nullopt;
  }
  const std::string_view name = text.substr(0, equals);
  const std::string_view value = text.substr(equals + 1);
  const auto *key = std::ranges::find(kPreferenceKeys, name, &PreferenceKey::name);
  if (key == std::end(kPreferenceKeys)) {
    *problem = "there is no preference \"" + std::string(name) + "\"";
    return std::nullopt;
  }
  if (key->type == PreferenceType::kBoolean) {
    if (value == "true" || value == "false") return PreferenceAssignment{*key, value == "true"};
    *problem = std::string(name) + " must be true or false";
    return std::nullopt;
  }
  if (const auto number = ParsePreferenceNumber(value)) {
    return PreferenceAssignment{*key, std::int64_t{*number}};
  }
  *problem = std::string(name) + " must be a number from -32768 to 32767";
  return std::nullopt;
}

std::optional<std::int16_t> ParsePreferenceNumber(std::string_view text) {
  std::int16_t number = 0;
  const char *end = text.data() + text.size();
  const auto [parsed, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || parsed != end) return std::nullopt;
  return number;
}
