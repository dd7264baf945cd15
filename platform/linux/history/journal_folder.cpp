#include "platform/linux/history/journal_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "platform/linux/system/config_folders.h"
#include "platform/linux/system/directory_listing.h"

namespace {

constexpr std::string_view kSuffix = ".journal";
constexpr std::size_t kMostKept = 20;
constexpr std::size_t kMostBytesKept = std::size_t{200} << 20;
constexpr std::size_t kTimesMoreOfInterrupted = 5;

/// Sorts by time; the process makes it the only one of its microsecond.
std::string NewName() {
  timespec now{};
  (void)clock_gettime(CLOCK_REALTIME, &now);
  std::tm parts{};
  (void)gmtime_r(&now.tv_sec, &parts);
  std::array<char, 96> name;
  const std::size_t length = std::strftime(name.data(), name.size(), "%Y%m%d-%H%M%S", &parts);
  const int rest = std::snprintf(name.data() + length, name.size() - length, "-%06ld-%d%s",
                                 now.tv_nsec / 1000, static_cast<int>(getpid()), kSuffix.data());
  return {name.data(), length + static_cast<std::size_t>(rest)};
}

}  // namespace

std::string CJournalFolder::Path() {
  const std::string folder = UserStateFolder();
  return folder.empty() ? folder : folder + "/journal";
}

int CJournalFolder::Open(bool isMade) {
  const std::string path = Path();
  if (path.empty()) return ENOENT;
  if (isMade) {
    if (int error = MakeFolders(path); error != 0) return error;
  }
  folder_.emplace(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder_->IsOpen()) return errno;
  struct stat status;
  if (fstat(folder_->Get(), &status) != 0) return errno;
  if (status.st_uid != geteuid()) return EPERM;
  return lock_.Take(path);
}

std::vector<std::string> CJournalFolder::Names() const {
  std::vector<std::string> names;
  const CDescriptor listed(openat(folder_->Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!listed.IsOpen()) return names;
  (void)VisitDirectory(listed.Get(), [&names](std::string_view name, unsigned char, std::uint64_t) {
    if (name.ends_with(kSuffix)) names.emplace_back(name);
  });
  std::ranges::sort(names);
  return names;
}

CDescriptor CJournalFolder::OpenJournal(const std::string &name) const {
  const int descriptor =
      openat(folder_->Get(), name.c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC);
  struct stat status;
  if (descriptor >= 0 && (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
                          status.st_uid != geteuid() || status.st_nlink != 1)) {
    close(descriptor);
    return CDescriptor(-1);
  }
  return CDescriptor(descriptor);
}

int CJournalFolder::MakeJournal(std::string *name) const {
  *name = NewName();
  const int descriptor = openat(folder_->Get(), name->c_str(),
                                O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  // On a file system without locks there is none to wait for either.
  if (descriptor >= 0) (void)flock(descriptor, LOCK_EX | LOCK_NB);
  return descriptor;
}

void CJournalFolder::DeleteJournal(const std::string &name) const {
  (void)unlinkat(folder_->Get(), name.c_str(), 0);
}

void CJournalFolder::DeleteOldest(const std::string &kept) const {
  std::vector<std::string> names = Names();
  std::ranges::reverse(names);
  std::size_t count = 1;
  std::size_t bytes = 0;
  for (const std::string &name : names) {
    const CDescriptor journal = OpenJournal(name);
    if (!journal.IsOpen()) continue;
    ++count;
    bytes += SizeOf(journal);
    const std::size_t times = IsJournalEnded(journal) ? 1 : kTimesMoreOfInterrupted;
    const bool isTooMuch = count > kMostKept * times || bytes > kMostBytesKept * times;
    if (count == 2 || !isTooMuch || name == kept || IsJournalInUse(journal) != false) continue;
    DeleteJournal(name);
  }
}

std::optional<bool> IsJournalInUse(const CDescriptor &journal) {
  if (flock(journal.Get(), LOCK_EX | LOCK_NB) == 0) return false;
  if (errno == EWOULDBLOCK) return true;
  return std::nullopt;
}

bool IsJournalEnded(const CDescriptor &journal) {
  std::array<char, 128> buffer;
  const std::size_t size = SizeOf(journal);
  const std::size_t start = size - std::min(size, buffer.size());
  const ssize_t count =
      pread(journal.Get(), buffer.data(), buffer.size(), static_cast<off_t>(start));
  if (count <= 0) return false;
  std::string_view text(buffer.data(), static_cast<std::size_t>(count));
  if (!text.ends_with('\n')) return false;
  text.remove_suffix(1);
  const std::size_t lineEnd = text.rfind('\n');
  return lineEnd != std::string_view::npos && text.substr(lineEnd + 1).starts_with("end\t");
}

std::size_t SizeOf(const CDescriptor &file) {
  struct stat status;
  return fstat(file.Get(), &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}
