#include "fsutil/short_strings.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>
#include <system_error>

#include "platform/strings.h"

namespace {

bool IsWithinCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// How many bytes of `text` are taken where there is room for `room`: all, or as many whole
/// characters as fit.
std::size_t LengthWithin(const char *text, std::size_t room) {
  constexpr std::size_t kLongestCharacter = 4;
  const std::size_t length = strnlen(text, room);
  if (length < room) return length;
  for (std::size_t back = 0; back < std::min(kLongestCharacter, length + 1); ++back) {
    if (!IsWithinCharacter(text[length - back])) return length - back;
  }
  return length;  // Not UTF-8: there is no character to keep whole.
}

bool IsPlace(const char *format) {
  return format[0] == '%' && (format[1] == 's' || format[1] == 'd');
}

/// Writes the digits that there is room for and answers where they end.
char *WriteDecimalNumber(char *at, char *end, std::int32_t value) {
  if (const auto written = std::to_chars(at, end, value); written.ec == std::errc()) {
    return written.ptr;
  }
  const std::string digits = std::to_string(value);
  return std::copy_n(digits.begin(), end - at, at);
}

}  // namespace

void ClearCString(ShortString &text) {
  text[0] = '\0';
}

char *CopyBoundedCString(ShortString &destination, const char *source) {
  ClearCString(destination);
  return AppendBoundedCString(destination, source);
}

char *AppendBoundedCString(ShortString &destination, const char *source) {
  if (source == nullptr) return destination;
  const std::size_t length = std::strlen(destination);
  const std::size_t count = LengthWithin(source, kShortStringLimit - length);
  std::memcpy(destination + length, source, count);
  destination[length + count] = '\0';
  return destination;
}

void ConvertUnicodeToUtf8(ShortString &outText, std::u16string_view text) {
  (void)CFStringGetCString(text, outText, sizeof outText, kCFStringEncodingUTF8);
}

char *CopyCFStringToCString(ShortString &destination, std::u16string_view source) {
  ConvertUnicodeToUtf8(destination, source);
  return destination;
}

void FormatDecimalNumber(char *destination, std::int16_t size, std::int32_t value) {
  // Unsigned, because the most negative number has no absolute value in 32 signed bits.
  std::uint32_t rest =
      value < 0 ? 0U - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
  char *end = destination;
  do {
    if (end - destination >= size - 1) break;
    *end++ = static_cast<char>('0' + rest % 10);
    rest /= 10;
  } while (rest != 0);
  if (value < 0) *end++ = '-';
  *end = '\0';
  ReverseCString(destination);
}

char *AppendDecimalNumber(ShortString &destination, std::int32_t value) {
  char number[31];
  FormatDecimalNumber(number, sizeof number, value);
  return AppendBoundedCString(destination, number);
}

void FormatCString(ShortString &destination, const char *format,
                   std::initializer_list<FormatValue> values) {
  char *at = destination;
  char *end = destination + kShortStringLimit;
  for (const FormatValue &value : values) {
    while (*format != '\0' && !IsPlace(format) && at < end) *at++ = *format++;
    if (!IsPlace(format)) break;
    format += 2;
    if (const char *const *text = std::get_if<const char *>(&value)) {
      const std::size_t count = LengthWithin(*text, static_cast<std::size_t>(end - at));
      std::memcpy(at, *text, count);
      at += count;
      if ((*text)[count] != '\0') end = at;  // Nothing may follow a text that was cut.
    } else {
      at = WriteDecimalNumber(at, end, std::get<std::int32_t>(value));
    }
  }
  while (*format != '\0' && at < end) *at++ = *format++;
  *at = '\0';
}

void ReverseCString(char *text) {
  if (text == nullptr) return;
  std::reverse(text, text + std::strlen(text));
}

void CopyCStringToPascal(const char *source, PascalString &destination) {
  const std::size_t length = LengthWithin(source, kShortStringLimit);
  destination[0] = static_cast<std::uint8_t>(length);
  std::memcpy(destination + 1, source, length);
}
