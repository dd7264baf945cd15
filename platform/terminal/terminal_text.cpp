#include "platform/terminal/terminal_text.h"

#include <algorithm>
#include <cwchar>

#include "platform/linux/system/disk_names.h"
#include "platform/linux/system/unicode_locale.h"

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

/// How many columns characters take up: two for the wide ones of East Asia, none for accents that
/// follow their letter. The C library answers that for the locale in force.
class CCharacterWidths {
 public:
  CCharacterWidths()
      : usersOwn_(UnicodeLocale() != nullptr ? uselocale(UnicodeLocale()) : nullptr) {}
  ~CCharacterWidths() {
    if (usersOwn_ != nullptr) (void)uselocale(usersOwn_);
  }
  CCharacterWidths(const CCharacterWidths &) = delete;
  CCharacterWidths &operator=(const CCharacterWidths &) = delete;

  /// One that the library does not know might be wide: better cut too early than too late.
  std::size_t Of(char32_t character) const {
    const int width = wcwidth(static_cast<wchar_t>(character));
    return width < 0 ? 2 : static_cast<std::size_t>(width);
  }

 private:
  locale_t usersOwn_;
};

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

std::string_view CutToColumns(std::string_view terminalText, std::size_t columns) {
  const CCharacterWidths widths;
  std::size_t used = 0;
  for (std::size_t at = 0; at < terminalText.size();) {
    char32_t character = 0;
    const std::size_t length =
        std::max<std::size_t>(Utf8SequenceLength(terminalText, at, &character), 1);
    used += widths.Of(character);
    if (used > columns) return terminalText.substr(0, at);
    at += length;
  }
  return terminalText;
}
