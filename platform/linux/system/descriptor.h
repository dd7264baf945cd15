/// A descriptor that closes itself, and writing to one.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

/// Writes all of it; 0 or an `errno` value.
inline int WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) return errno;
    if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

class CDescriptor {
 public:
  /// Takes what `open` and the like have returned; a negative number stands for a failure.
  explicit CDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~CDescriptor() {
    if (descriptor_ >= 0) (void)close(descriptor_);
  }
  CDescriptor(CDescriptor &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  CDescriptor(const CDescriptor &) = delete;
  CDescriptor &operator=(const CDescriptor &) = delete;
  CDescriptor &operator=(CDescriptor &&other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }

  bool IsOpen() const { return descriptor_ >= 0; }
  int Get() const { return descriptor_; }

 private:
  int descriptor_;
};
