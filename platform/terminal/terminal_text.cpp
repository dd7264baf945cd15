#include "platform/terminal/terminal_text.h"

#include "platform/posix/disk_names.h"
#include "platform/text_encoding.h"

namespace {

bool IsHighSurrogate(char16_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

/// Control characters, line separators, and the marks that reorder what follows them.
bool IsObeyed(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069) || unit == 0x200E || unit == 0x200F || unit == 0x061C;
}

}  // namespace

std::string TerminalText(std::u16string_view text) {
  std::u16string harmless;
  harmless.reserve(text.size());
  for (std::size_t index = 0; index < text.size(); ++index) {
    const char16_t unit = text[index];
    if (IsHighSurrogate(unit) && index + 1 < text.size() && IsLowSurrogate(text[index + 1])) {
      harmless += unit;
      harmless += text[++index];
    } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit) || IsObeyed(unit)) {
      harmless += u'?';
    } else {
      harmless += unit;
    }
  }
  std::string bytes;
  (void)TextToDisk(harmless, &bytes);  // Nothing is left in it that could fail.
  return bytes;
}

std::string TerminalTextFromDisk(std::string_view bytes) {
  return TerminalText(TextFromDisk(bytes));
}

std::u16string TextFromMacRoman(std::string_view bytes) {
  std::u16string text(bytes.size(), u'\0');
  std::size_t read = 0;
  std::size_t written = 0;
  TECObjectRef converter = nullptr;
  (void)TECCreateConverter(&converter, kTextEncodingMacRoman, kTextEncodingUnicodeDefault);
  (void)TECConvertText(converter, bytes.data(), bytes.size(), &read, text.data(),
                       text.size() * sizeof(char16_t), &written);
  (void)TECDisposeConverter(converter);
  text.resize(written / sizeof(char16_t));  // What could be converted is shown.
  return text;
}
