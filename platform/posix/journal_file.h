/// The file of a journal while it is being written: mapped into memory, so that a line costs no
/// system call and yet outlives the process.
#pragma once

#include <cstddef>
#include <optional>

#include "platform/posix/descriptor.h"

class CJournalFile {
 public:
  CJournalFile() = default;
  /// Cuts the file to what was written and closes it, which also gives up its lock.
  ~CJournalFile();
  CJournalFile(const CJournalFile &) = delete;
  CJournalFile &operator=(const CJournalFile &) = delete;

  /// Takes over an empty file open for reading and writing, and makes room for `size` bytes. The
  /// room is the disk's, not a promise of it: writing can then fail no more. Returns 0 or an
  /// `errno` value.
  int Open(int descriptor, std::size_t size);

  /// Makes room for `size` further bytes and for `kReserve` after them. On failure, with an `errno`
  /// value, there is room for the reserve still.
  int MakeRoom(std::size_t size);
  static constexpr std::size_t kReserve = 512;

  /// Where the next byte goes.
  char *Next() const { return memory_ + size_; }
  /// Counts everything before `end` as written.
  void Advance(const char *end) { size_ = static_cast<std::size_t>(end - memory_); }

 private:
  int Grow(std::size_t capacity);

  std::optional<CDescriptor> file_;
  char *memory_ = nullptr;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
};

/// Larger journals are neither written nor read.
inline constexpr std::size_t kLargestJournal = std::size_t{1} << 30;
