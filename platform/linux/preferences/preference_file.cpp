#include "platform/linux/preferences/preference_file.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

#include "platform/linux/system/safe_file.h"

namespace {

/// More than anybody's preferences; what is larger is something else.
constexpr std::size_t kLargestFile = std::size_t{64} * 1024;

std::int64_t Nanoseconds(const timespec &time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

/// Whether nothing is there to be read.
bool IsMissing(int error) {
  return error == ENOENT || error == ENOTDIR;
}

std::string Problem(const std::string &path, int error) {
  return path + ": " + (error == EINVAL ? "Not a regular file" : std::strerror(error));
}

/// Leaves a copy of a broken file beside it, under a name that no earlier copy has.
int KeepBrokenCopy(const std::string &path, std::string_view content, mode_t mode) {
  int error = WriteNewFile(path + ".broken", content, mode);
  for (unsigned number = 2; error == EEXIST; ++number) {
    error = WriteNewFile(path + ".broken-" + std::to_string(number), content, mode);
  }
  return error;
}

}  // namespace

CPreferenceFile::CPreferenceFile(std::string path, ProblemHandler handler)
    : path_(std::move(path)), handler_(handler) {
  (void)Refresh();
}

CPreferenceFile::Version CPreferenceFile::VersionFrom(const struct stat &status) {
  return {true,
          status.st_dev,
          status.st_ino,
          status.st_size,
          Nanoseconds(status.st_mtim),
          Nanoseconds(status.st_ctim)};
}

bool CPreferenceFile::Refresh() {
  struct stat status;
  const int error = stat(path_.c_str(), &status) == 0 ? 0 : errno;
  const Version found = error == 0 ? VersionFrom(status) : Version();
  if (isSettled_ && found == version_ && error == statError_) return false;
  statError_ = error;
  version_ = found;
  Read();
  return true;
}

void CPreferenceFile::Read() {
  std::string text;
  struct stat status;
  const int error =
      statError_ != 0 ? statError_ : ReadWholeFile(path_, kLargestFile, &text, &status);
  values_.clear();
  isSettled_ = true;
  if (error != 0) {
    ReportOnce(IsMissing(error) ? std::string() : Problem(path_, error), &reportedOnRead_);
    return;
  }
  version_ = VersionFrom(status);
  // The clock of a file system stands still for some milliseconds: a second change within them
  // shows neither in the times nor, perhaps, in the size.
  timespec now{};
  (void)clock_gettime(CLOCK_REALTIME, &now);
  constexpr std::int64_t kClockStep = 20'000'000;
  isSettled_ = Nanoseconds(now) - version_.changed > kClockStep;

  PreferenceTextError reason;
  const bool isUnderstood = ReadPreferenceText(text, &values_, &reason);
  ReportOnce(isUnderstood ? std::string()
                          : path_ + ':' + std::to_string(reason.line) + ": " + reason.reason,
             &reportedOnRead_);
}

const CFPreferenceValue *CPreferenceFile::Find(std::string_view key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? nullptr : &found->second;
}

bool CPreferenceFile::Write(const PreferenceValues &changes) {
  const std::string problem = WriteUnderLock(changes);
  ReportOnce(problem, &reportedOnWrite_);
  isSettled_ = false;
  Refresh();
  return problem.empty();
}

/// Returns why it could not be done; nothing when it was.
std::string CPreferenceFile::WriteUnderLock(const PreferenceValues &changes) {
  // A link stays, and what it leads to is written: people keep such files in one place and link
  // them.
  std::string path = path_;
  if (int error = FollowLinks(&path); error != 0) return Problem(path_, error);
  const std::string folder = FolderOf(path);
  if (int error = MakeFolders(folder); error != 0) return Problem(folder, error);
  CFolderLock lock;
  if (int error = lock.Take(folder); error != 0) return Problem(folder, error);

  std::string text;
  struct stat old {};
  const int error = ReadWholeFile(path, kLargestFile, &text, &old);
  // What cannot be read cannot be kept either, so it is left alone.
  if (error != 0 && !IsMissing(error)) return Problem(path, error);
  PreferenceValues values;
  PreferenceTextError reason;
  if (!ReadPreferenceText(text, &values, &reason)) {
    if (int copyError = KeepBrokenCopy(path, text, old.st_mode & 0777); copyError != 0) {
      return Problem(path + ".broken", copyError);
    }
    text.clear();
  }
  const std::optional<std::string> edited = EditPreferenceText(text, changes);
  if (!edited) return path + ": A value cannot be written as text";
  if (error == 0 && *edited == text) return {};
  if (int writeError = ReplaceFile(path, *edited, error == 0 ? &old : nullptr); writeError != 0) {
    return Problem(path, writeError);
  }
  return {};
}

void CPreferenceFile::ReportOnce(const std::string &problem, std::string *reported) {
  if (problem == *reported) return;
  *reported = problem;
  if (!problem.empty()) handler_(problem);
}
