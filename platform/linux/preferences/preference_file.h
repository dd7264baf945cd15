/// One preference file: its values as they stand on disk, and safe changes to it.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/linux/preferences/preference_text.h"

class CPreferenceFile {
 public:
  /// Told of each problem once: "PATH:LINE: reason" or "PATH: reason".
  using ProblemHandler = void (*)(const std::string &problem);

  CPreferenceFile(std::string path, ProblemHandler handler);

  /// Looks whether the file has changed, which costs one `stat`, and reads it again if so. A file
  /// that is missing, or that cannot be understood, has no values. Returns whether it was read.
  bool Refresh();

  /// The value for `key`; null when the file has none.
  const CFPreferenceValue *Find(std::string_view key) const;

  /// Changes these values in the file as it then is, so that what another process has changed
  /// meanwhile stays. Returns false, with the file as it was, when they cannot be written.
  bool Write(const PreferenceValues &changes);

 private:
  /// What tells one state of the file from another.
  struct Version {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::int64_t modified = 0;  ///< nanoseconds, as `changed`
    std::int64_t changed = 0;
    bool operator==(const Version &) const = default;
  };
  static Version VersionFrom(const struct stat &status);

  void Read();
  std::string WriteUnderLock(const PreferenceValues &changes);
  void ReportOnce(const std::string &problem, std::string *reported);

  std::string path_;
  ProblemHandler handler_;
  PreferenceValues values_;
  Version version_;
  bool isSettled_ = false;  ///< a change that leaves the version as it is is out of the question
  int statError_ = 0;
  std::string reportedOnRead_;
  std::string reportedOnWrite_;
};
