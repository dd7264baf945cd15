/// Strings of UTF-8 in buffers of 256 bytes: at most 255 bytes and a terminating zero.
///
/// No operation passes that bound or allocates: text that is too long is cut, never rejected, and
/// cut between two characters, so that a name never ends in a broken one. The buffers belong to the
/// callers. A source may be none where that is said.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <variant>

inline constexpr std::size_t kShortStringLimit = 255;
using ShortString = char[kShortStringLimit + 1];

/// A length byte and at most 255 bytes, as controls and menus take their texts.
using PascalString = std::uint8_t[kShortStringLimit + 1];

void ClearCString(ShortString &text);

/// Replaces `destination` by the first 255 bytes of `source`; by nothing when that is none.
char *CopyBoundedCString(ShortString &destination, const char *source);

/// Appends as much of `source` as there is room for; nothing when that is none. `destination` must
/// be terminated.
char *AppendBoundedCString(ShortString &destination, const char *source);

/// Converts UTF-16 to the UTF-8 that is shown: what stands for bytes of a name that are no text
/// becomes U+FFFD. No error is reported.
void ConvertUnicodeToUtf8(ShortString &outText, std::u16string_view text);

/// The same; answers `destination`.
char *CopyCFStringToCString(ShortString &destination, std::u16string_view source);

/// Writes `value` in decimal, zero-terminated. At most `size - 1` digits are kept, the last ones;
/// "-" is written before them even then, so `destination` needs `size + 1` bytes.
void FormatDecimalNumber(char *destination, std::int16_t size, std::int32_t value);

/// Appends `value` in decimal.
char *AppendDecimalNumber(ShortString &destination, std::int32_t value);

/// What stands for one place in a format: a zero-terminated text or a number.
using FormatValue = std::variant<const char *, std::int32_t>;

/// Writes `format` with the values in its places: "%s" is a text, "%d" a number in decimal, and
/// nothing else is understood. Made for status texts, of which every file has three: printf(3)
/// would take longer than all else that is done for them.
void FormatCString(ShortString &destination, const char *format,
                   std::initializer_list<FormatValue> values);

/// Reverses a zero-terminated string in place; none is let pass.
void ReverseCString(char *text);

/// Copies the first 255 bytes of `source`.
void CopyCStringToPascal(const char *source, PascalString &destination);
