#include "platform/linux/system/shown_text.h"

#include "platform/linux/system/disk_names.h"

namespace {

/// Control characters, line separators, and the marks that reorder what follows them.
bool IsObeyed(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0x2028 && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069) || unit == 0x200E || unit == 0x200F || unit == 0x061C;
}

}  // namespace

std::u16string ShownText(std::u16string_view text, char16_t sign, char16_t half) {
  std::u16string shown;
  shown.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = at;
    if (!TakeCharacter(text, &at)) {
      shown += half;
    } else if (IsObeyed(text[start])) {
      shown += sign;
    } else {
      shown.append(text, start, at - start);
    }
  }
  return shown;
}
