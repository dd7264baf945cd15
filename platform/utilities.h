/// Time and unique identifiers.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

/// The time in whole seconds since 1904, local time left aside; wraps in 32 bits.
void GetDateTime(std::uint32_t *seconds);

using CFUUID = std::array<std::uint8_t, 16>;

/// A fresh random identifier (RFC 4122, version 4); none when the system has no randomness to give.
std::optional<CFUUID> CFUUIDCreate();

/// Its 36 characters: upper-case hexadecimal digits in groups of 8, 4, 4, 4 and 12, joined by
/// hyphens.
std::u16string CFUUIDCreateString(const CFUUID &uuid);
