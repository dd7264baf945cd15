/// A descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

class CDescriptor {
 public:
  /// Takes what `open` and the like have returned; a negative number stands for a failure.
  explicit CDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~CDescriptor() {
    if (descriptor_ >= 0) (void)close(descriptor_);
  }
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
