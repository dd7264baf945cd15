/// Core Foundation strings, as far as paths and the texts that are shown need them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

using CFStringEncoding = std::uint32_t;
inline constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;

/// The text of a zero-terminated path; none in any encoding but UTF-8. Bytes that are not UTF-8
/// become lone surrogates, as in names, so the path of every item can be had.
std::optional<std::u16string> CFStringCreateWithCString(const char *text,
                                                        CFStringEncoding encoding);

/// Writes a text to be shown, zero-terminated, into a buffer of `size` bytes; where that is full
/// the text is cut between two characters. A surrogate that is no half of a pair, as those that
/// stand for bytes of a name, becomes U+FFFD. Answers false, with nothing written, in any encoding
/// but UTF-8.
bool CFStringGetCString(std::u16string_view text, char *buffer, std::size_t size,
                        CFStringEncoding encoding);

/// Writes to `folded` what is the same for two texts that differ in upper and lower case only, for
/// searching, and for names where their case does not count. Texts are UTF-8; bytes that are none
/// stay as they are.
void FoldCase(std::string_view text, std::string *folded);
