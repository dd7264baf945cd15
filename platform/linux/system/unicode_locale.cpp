#include "platform/linux/system/unicode_locale.h"

locale_t UnicodeLocale() {
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}
