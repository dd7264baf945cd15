/// The file of a journal while it is being written: its end is mapped into memory, so that a line
/// costs no system call and yet outlives the process. What is written already is not kept there: it
/// would count as the program's own memory.
#pragma once

#include <cstddef>
#include <optional>

#include "platform/linux/system/descriptor.h"

class CJournalFile {
 public:
  CJournalFile() = default;
  /// Cuts the file to what was written and closes it, which also gives up its lock.
  ~CJournalFile();
  CJournalFile(const CJournalFile &) = delete;
  CJournalFile &operator=(const CJournalFile &) = delete;

  /// Takes over a file open for reading and writing, of which the first `written` bytes stay, and
  /// makes room for `size` bytes behind them. The room is the disk's, not a promise of it: writing
  /// can then fail no more. Returns 0 or an `errno` value.
  int Open(int descriptor, std::size_t written, std::size_t size);
  bool IsOpen() const { return window_ != nullptr; }

  /// Makes room for `size` further bytes and for `kReserve` after them. On failure, with an `errno`
  /// value, there is room for the reserve still.
  int MakeRoom(std::size_t size);
  static constexpr std::size_t kReserve = 512;

  /// Where the next byte goes.
  char *Next() const { return window_ + (size_ - windowStart_); }
  /// Counts everything before `end` as written.
  void Advance(const char *end) { size_ = windowStart_ + static_cast<std::size_t>(end - window_); }

 private:
  int Grow(std::size_t capacity);
  int MoveWindow(std::size_t end);

  std::optional<CDescriptor> file_;
  std::size_t capacity_ = 0;  ///< how much of the disk is taken
  std::size_t size_ = 0;      ///< how much is written
  char *window_ = nullptr;    ///< the part that is mapped
  std::size_t windowStart_ = 0;
  std::size_t windowSize_ = 0;
};

/// Larger journals are neither written nor read.
inline constexpr std::size_t kLargestJournal = std::size_t{1} << 30;
