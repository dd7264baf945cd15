/// A clock that is cheap enough to be asked with every file.
#pragma once

#include <cstdint>
#include <ctime>

/// Nanoseconds of a clock that only goes forward, every few milliseconds, and is read without a
/// system call (CLOCK_MONOTONIC_COARSE, clock_gettime(2)).
inline std::int64_t CoarseTime() {
  timespec time{};
  (void)clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}
