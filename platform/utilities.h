/// Memory, time and unique identifiers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// A block of memory, its content undefined; null when there is none. To be given back by
/// DisposePtr.
void *NewPtr(std::size_t size);
void DisposePtr(void *block);

/// Gives a block back for an owner such as std::unique_ptr.
struct PtrDisposer {
  void operator()(void *block) const { DisposePtr(block); }
};

/// The time in whole seconds since 1904, local time left aside; wraps in 32 bits.
void GetDateTime(std::uint32_t *seconds);

using CFUUID = std::array<std::uint8_t, 16>;

/// A fresh random identifier (RFC 4122, version 4); none when the system has no randomness to give.
std::optional<CFUUID> CFUUIDCreate();

/// Its 36 characters: upper-case hexadecimal digits in groups of 8, 4, 4, 4 and 12, joined by
/// hyphens.
std::u16string CFUUIDCreateString(const CFUUID &uuid);
