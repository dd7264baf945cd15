#include "platform/strings.h"

#include <wctype.h>

#include <algorithm>

#include "platform/linux/system/disk_names.h"
#include "platform/linux/system/plain_text.h"
#include "platform/linux/system/unicode_locale.h"

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

void FoldCase(std::string_view text, std::string *folded) {
  folded->resize(text.size());
  std::size_t at = 0;
  for (; at < text.size() && static_cast<unsigned char>(text[at]) < 0x80; ++at) {
    const char byte = text[at];
    (*folded)[at] = static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
  }
  folded->resize(at);
  while (at < text.size()) {
    char32_t character = 0;
    const std::size_t length = Utf8SequenceLength(text, at, &character);
    if (length == 0) {
      folded->push_back(text[at++]);
      continue;
    }
    char bytes[kLongestUtf8];
    const auto lower = UnicodeLocale() != nullptr
                           ? towlower_l(static_cast<wint_t>(character), UnicodeLocale())
                           : towlower(static_cast<wint_t>(character));
    folded->append(bytes, WriteUtf8(static_cast<char32_t>(lower), bytes));
    at += length;
  }
}
