#include "platform/terminal/terminal_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>

#include "platform/linux/system/disk_names.h"
#include "platform/linux/system/shown_text.h"
#include "platform/linux/system/unicode_locale.h"

namespace {

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
  std::string bytes;
  (void)TextToDisk(ShownText(text, u'?', u'?'), &bytes);  // Nothing is left that could fail.
  return bytes;
}

bool IsPlainForTerminal(std::string_view bytes) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  // Of a byte outside of " " to "~" one of the three has its highest bit.
  const auto hasOther = [](std::uint64_t word) {
    return (((word - kEach * ' ') | word | (word + kEach)) & kEach * 0x80) != 0;
  };
  std::uint64_t word = 0;
  for (; bytes.size() >= sizeof word; bytes.remove_prefix(sizeof word)) {
    std::memcpy(&word, bytes.data(), sizeof word);
    if (hasOther(word)) return false;
  }
  return std::ranges::all_of(bytes, [](char byte) { return byte >= ' ' && byte <= '~'; });
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
