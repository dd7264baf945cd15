#include "platform/preferences.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/linux/preferences/preference_domain.h"
#include "platform/linux/preferences/preference_file.h"
#include "platform/linux/system/coarse_time.h"
#include "platform/linux/system/config_folders.h"
#include "platform/linux/system/ending.h"
#include "platform/linux/system/log.h"
#include "platform/workspace.h"

namespace {

constexpr std::string_view kFileName = "/preferences.toml";
constexpr std::string_view kDeletionKey = "DeleteEmptiedFolders";
constexpr std::int64_t kRetryDelay = 1'000'000'000;  // nanoseconds

PreferencesProblemHandler problemHandler = nullptr;

void ReportProblem(const std::string &problem) {
  if (problemHandler == nullptr) {
    NSLog("%s", problem.c_str());
    return;
  }
  // The handler shows it to the user, so it need not be on the terminal a second time.
  WriteToSystemLog(problem);
  problemHandler(problem);
}

/// What is held for a key, and from where.
struct FoundValue {
  const CFPreferenceValue *value = nullptr;
  PreferenceSource source = PreferenceSource::kDefault;
};

class CPreferenceDomain {
 public:
  CPreferenceDomain() : owner_(getpid()) {
    if (std::string folder = UserConfigFolder(); !folder.empty()) {
      userFile_ = std::make_unique<CPreferenceFile>(folder.append(kFileName), ReportProblem);
    }
    for (std::string folder : SystemConfigFolders()) {
      systemFiles_.emplace_back(folder.append(kFileName), ReportProblem);
    }
  }

  FoundValue Find(std::string_view key) {
    // A run asks for the same few keys with every item it visits.
    for (const auto &[foundKey, found] : found_) {
      if (foundKey == key) return found;
    }
    return found_.emplace_back(key, Search(key)).second;
  }

  void Set(std::string_view key, const CFPreferenceValue &value) {
    found_.clear();
    pending_.insert_or_assign(std::string(key), value);
    retryTime_ = 0;
  }

  void SetForThisRun(std::string_view key, const CFPreferenceValue &value) {
    found_.clear();
    forThisRun_.insert_or_assign(std::string(key), value);
  }

  bool Synchronize() {
    // A run synchronizes once for every item it visits, so nothing but the time is looked at as
    // long as that stands still.
    const std::int64_t now = CoarseTime();
    if (now != refreshTime_) {
      refreshTime_ = now;
      if (userFile_ && userFile_->Refresh()) found_.clear();
      for (CPreferenceFile &file : systemFiles_) {
        if (file.Refresh()) found_.clear();
      }
    }
    if (pending_.empty()) return true;
    if (now < retryTime_) return false;
    return WritePending(now);
  }

  /// The system's own synchronize, at the end of the process. Values that were set before a fork
  /// are the parent's to write.
  void SynchronizeAtExit() {
    if (!pending_.empty() && getpid() == owner_) (void)WritePending(CoarseTime());
  }

 private:
  FoundValue Search(std::string_view key) const {
    if (const auto found = forThisRun_.find(key); found != forThisRun_.end()) {
      return {&found->second, PreferenceSource::kCommandLine};
    }
    if (const auto found = pending_.find(key); found != pending_.end()) {
      return {&found->second, PreferenceSource::kUser};
    }
    if (const auto *value = userFile_ ? userFile_->Find(key) : nullptr) {
      return {value, PreferenceSource::kUser};
    }
    for (const CPreferenceFile &file : systemFiles_) {
      if (const auto *value = file.Find(key)) return {value, PreferenceSource::kSystem};
    }
    return {};
  }

  bool WritePending(std::int64_t now) {
    found_.clear();
    if (!userFile_) {
      if (retryTime_ == 0) ReportProblem("Preferences cannot be kept for a user without a home");
    } else if (userFile_->Write(pending_)) {
      pending_.clear();
      return true;
    }
    retryTime_ = now + kRetryDelay;
    return false;
  }

  pid_t owner_;
  PreferenceValues forThisRun_;
  PreferenceValues pending_;                   ///< set, and not yet written
  std::unique_ptr<CPreferenceFile> userFile_;  ///< none when the user has no home
  std::vector<CPreferenceFile> systemFiles_;   ///< the most important first
  /// What was searched for since any value changed last.
  std::vector<std::pair<std::string, FoundValue>> found_;
  std::int64_t refreshTime_ = 0;  ///< when the files were looked at last
  std::int64_t retryTime_ = 0;    ///< when a failed write is tried again
};

/// Not destroyed with the process: what runs late in it may still ask for a value.
CPreferenceDomain *domain = nullptr;

[[gnu::noinline]] void MakeDomain() {
  domain = std::make_unique<CPreferenceDomain>().release();
}

/// Asked six times a file, so it has to be inlined.
CPreferenceDomain &Domain() {
  if (domain == nullptr) [[unlikely]]
    MakeDomain();
  return *domain;
}

bool IsStorable(const CFPreferenceValue &value) {
  return !std::holds_alternative<std::monostate>(value);
}

}  // namespace

std::optional<CFPreferenceValue> CFPreferencesCopyAppValue(std::string_view key) {
  // Stronger than any value, and at once: a signal may have arrived since the last look.
  if (IsDeletionCalledOff() && key == kDeletionKey) return false;
  return ValueBeforeEnding(key);
}

std::optional<CFPreferenceValue> ValueBeforeEnding(std::string_view key) {
  const FoundValue found = Domain().Find(key);
  if (found.value == nullptr) return std::nullopt;
  return *found.value;
}

void CFPreferencesSetAppValue(std::string_view key, const CFPreferenceValue &value) {
  static const int registered = std::atexit([] { Domain().SynchronizeAtExit(); });
  (void)registered;
  if (IsStorable(value)) Domain().Set(key, value);
}

bool CFPreferencesAppSynchronize() {
  return Domain().Synchronize();
}

PreferenceSource PreferencesSourceOfAppValue(std::string_view key) {
  return Domain().Find(key).source;
}

void PreferencesSetValueForThisRun(std::string_view key, const CFPreferenceValue &value) {
  if (IsStorable(value)) Domain().SetForThisRun(key, value);
}

void PreferencesSetProblemHandler(PreferencesProblemHandler handler) {
  problemHandler = handler;
}

void ForgetPreferences() {
  std::unique_ptr<CPreferenceDomain>(std::exchange(domain, nullptr)).reset();
  problemHandler = nullptr;
}
