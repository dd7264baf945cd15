#include "platform/posix/journal_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr std::size_t kSmallestCapacity = std::size_t{1} << 16;
constexpr std::size_t kLargestStep = std::size_t{1} << 25;

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
  if (memory_ == nullptr) return;
  (void)munmap(memory_, capacity_);
  // A file that keeps its zeros is as good a journal.
  (void)!ftruncate(file_->Get(), static_cast<off_t>(size_));
}

int CJournalFile::Open(int descriptor, std::size_t size) {
  file_.emplace(descriptor);
  return Grow(std::max(kSmallestCapacity, size + kReserve));
}

int CJournalFile::MakeRoom(std::size_t size) {
  const std::size_t needed = size_ + size + kReserve;
  if (needed <= capacity_) return 0;
  return Grow(std::max(needed, capacity_ + std::min(capacity_, kLargestStep)));
}

int CJournalFile::Grow(std::size_t capacity) {
  if (capacity > kLargestJournal || !IsWithinFileSizeLimit(capacity)) return EFBIG;
  if (int error = Allocate(file_->Get(), capacity); error != 0) return error;
  void *const memory = memory_ == nullptr ? mmap(nullptr, capacity, PROT_READ | PROT_WRITE,
                                                 MAP_SHARED, file_->Get(), 0)
                                          : mremap(memory_, capacity_, capacity, MREMAP_MAYMOVE);
  if (memory == MAP_FAILED) return errno;
  memory_ = static_cast<char *>(memory);
  capacity_ = capacity;
  return 0;
}
