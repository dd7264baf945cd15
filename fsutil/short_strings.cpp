#include "fsutil/short_strings.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>

#include "fsutil/mac_roman.h"

namespace {

/// Where the first "%s" or "%d" of a format stands.
std::size_t FindPlace(std::string_view format) {
  for (std::size_t at = 0; at + 1 < format.size(); ++at) {
    if (format[at] == '%' && (format[at + 1] == 's' || format[at + 1] == 'd')) return at;
  }
  return std::string_view::npos;
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
  const std::size_t count = strnlen(source, kShortStringLimit - length);
  std::memcpy(destination + length, source, count);
  destination[length + count] = '\0';
  return destination;
}

char *CopyCFStringToCString(ShortString &destination, std::u16string_view source) {
  ConvertUnicodeToMacRoman(destination, source);
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
  char *const end = destination + kShortStringLimit;
  const auto write = [&at, end](std::string_view text) {
    const std::size_t count = std::min(text.size(), static_cast<std::size_t>(end - at));
    std::memcpy(at, text.data(), count);
    at += count;
  };
  std::string_view rest(format);
  for (const FormatValue &value : values) {
    const std::size_t place = FindPlace(rest);
    if (place == std::string_view::npos) break;
    write(rest.substr(0, place));
    rest.remove_prefix(place + 2);
    if (const char *const *text = std::get_if<const char *>(&value)) {
      write(*text);
    } else {
      char digits[12];
      const auto written = std::to_chars(digits, std::end(digits), std::get<std::int32_t>(value));
      write({digits, static_cast<std::size_t>(written.ptr - digits)});
    }
  }
  write(rest);
  *at = '\0';
}

void ReverseCString(char *text) {
  if (text == nullptr) return;
  std::reverse(text, text + std::strlen(text));
}

void CopyCStringToPascal(const char *source, PascalString &destination) {
  const std::size_t length = strnlen(source, kShortStringLimit);
  destination[0] = static_cast<std::uint8_t>(length);
  std::memcpy(destination + 1, source, length);
}
