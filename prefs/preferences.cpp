#include "prefs/preferences.h"

#include "platform/preferences.h"

namespace {

bool GetBoolean(const PreferenceKey &key) {
  (void)CFPreferencesAppSynchronize();
  return ReadStoredPreference(key).value_or(key.defaultValue) != 0;
}

}  // namespace

std::int32_t GetOperation() {
  return ReadStoredPreference(kOperation).value_or(kOperation.defaultValue);
}

bool GetQuitWhenDone() {
  return GetBoolean(kQuitWhenDone);
}

bool GetIgnoreApplications() {
  return GetBoolean(kIgnoreApplications);
}

bool GetRenameDuplicates() {
  return GetBoolean(kRenameDuplicates);
}

bool GetDeleteEmptiedFolders() {
  return GetBoolean(kDeleteEmptiedFolders);
}

bool GetDeleteToTrash() {
  return GetBoolean(kDeleteToTrash);
}

bool GetAggregateFilesWhenDone() {
  return GetBoolean(kAggregateFilesWhenDone);
}

bool GetPreviewFirst() {
  return GetBoolean(kPreviewFirst);
}

std::optional<std::int16_t> ReadStoredPreference(const PreferenceKey &key) {
  const std::optional<CFPreferenceValue> value = CFPreferencesCopyAppValue(key.name);
  if (!value) return std::nullopt;
  if (key.type == PreferenceType::kBoolean) {
    if (const bool *boolean = std::get_if<bool>(&*value)) return *boolean;
  } else if (const std::int64_t *number = std::get_if<std::int64_t>(&*value)) {
    return static_cast<std::int16_t>(*number);
  }
  return std::nullopt;
}
