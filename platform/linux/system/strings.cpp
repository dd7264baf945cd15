#include "platform/strings.h"

#include <algorithm>

#include "platform/linux/system/disk_names.h"
#include "platform/linux/system/plain_text.h"

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

}  // namespace

std::optional<std::u16string> CFStringCreateWithCString(const char *text,
                                                        CFStringEncoding encoding) {
  if (encoding != kCFStringEncodingUTF8) return std::nullopt;
  return TextFromDisk(text);
}

bool CFStringGetCString(std::u16string_view text, char *buffer, std::size_t size,
                        CFStringEncoding encoding) {
  if (encoding != kCFStringEncodingUTF8 || size == 0) return false;
  const std::size_t room = size - 1;
  std::size_t written = CopyPlainText(text.substr(0, room), buffer);
  for (std::size_t at = written; at < text.size();) {
    const char32_t character = TakeCharacter(text, &at).value_or(kReplacementCharacter);
    char bytes[kLongestUtf8];
    const std::size_t length = WriteUtf8(character, bytes);
    if (length > room - written) break;
    std::copy_n(bytes, length, buffer + written);
    written += length;
  }
  buffer[written] = '\0';
  return true;
}
