/// Core Foundation strings, as far as paths need them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

using CFStringEncoding = std::uint32_t;
inline constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;

/// The text of a zero-terminated path; none in any encoding but UTF-8. Bytes that are not UTF-8
/// become lone surrogates, as in names, so the path of every item can be had.
std::optional<std::u16string> CFStringCreateWithCString(const char *text,
                                                        CFStringEncoding encoding);
