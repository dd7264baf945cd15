#include "platform/linux/history/journal_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr std::size_t kSmallestCapacity = std::size_t{1} << 16;
constexpr std::size_t kLargestStep = std::size_t{1} << 25;
constexpr std::size_t kWindow = std::size_t{1} << 20;

/// Whether the process may make a file as large. Trying it would end the process by a signal.
bool IsWithinFileSizeLimit(std::size_t size) {
  rlimit limit{};
  return getrlimit(RLIMIT_FSIZE, &limit) != 0 || size <= limit.rlim_cur;
}

int Allocate(int descriptor, std::size_t size) {
  for (;;) {
    const int error = posix_fallocate(descriptor, 0, static_cast<off_t>(size));
    if (error != EINTR) return error;
  }
}

}  // namespace

CJournalFile::~CJournalFile() {
  if (window_ == nullptr) return;
  (void)munmap(window_, windowSize_);
  // A file that keeps its zeros is as good a journal.
  (void)!ftruncate(file_->Get(), static_cast<off_t>(size_));
}

int CJournalFile::Open(int descriptor, std::size_t written, std::size_t size) {
  file_.emplace(descriptor);
  size_ = written;
  // What a process that died has left behind its last line must not look like one.
  if (ftruncate(descriptor, static_cast<off_t>(written)) != 0) return errno;
  const int error = MakeRoom(size);
  if (error == 0 || written == 0) return error;
  // Behind the end of a journal even a full disk often has room for a line or two.
  const std::size_t needed = size_ + size + kReserve;
  const int errorOfLess = Grow(needed);
  return errorOfLess == 0 ? MoveWindow(needed) : errorOfLess;
}

int CJournalFile::MakeRoom(std::size_t size) {
  const std::size_t needed = size_ + size + kReserve;
  if (needed <= windowStart_ + windowSize_) return 0;
  if (needed > capacity_) {
    const std::size_t step = std::clamp(capacity_, kSmallestCapacity, kLargestStep);
    if (int error = Grow(std::max(needed, capacity_ + step)); error != 0) return error;
  }
  return MoveWindow(needed);
}

int CJournalFile::Grow(std::size_t capacity) {
  if (capacity > kLargestJournal || !IsWithinFileSizeLimit(capacity)) return EFBIG;
  if (int error = Allocate(file_->Get(), capacity); error != 0) return error;
  capacity_ = capacity;
  return 0;
}

/// Maps from where the next byte goes to `end` at least.
int CJournalFile::MoveWindow(std::size_t end) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t start = size_ - size_ % page;
  const std::size_t size = std::max(end - start, std::min(kWindow, capacity_ - start));
  // Prepared at once: page by page, when a line comes to it, costs more.
  void *const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE,
                            file_->Get(), static_cast<off_t>(start));
  if (memory == MAP_FAILED) return errno;
  if (window_ != nullptr) (void)munmap(window_, windowSize_);
  window_ = static_cast<char *>(memory);
  windowStart_ = start;
  windowSize_ = size;
  return 0;
}
