#include "platform/linux/system/log.h"

#include <syslog.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "platform/workspace.h"

namespace {

/// The text as one line that no terminal and no log can take for anything but text. File names may
/// hold any byte, an escape sequence included.
std::string Harmless(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string line;
  line.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto previous = i > 0 ? static_cast<unsigned char>(text[i - 1]) : 0;
    // U+0080 to U+009F, control characters too, are C2 80 to C2 9F in UTF-8.
    const bool isSecondOfControl = previous == 0xC2 && byte >= 0x80 && byte < 0xA0;
    if (byte >= 0x20 && byte != 0x7F && !isSecondOfControl) {
      line += text[i];
    } else {
      line += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
  }
  return line;
}

}  // namespace

void WriteToSystemLog(std::string_view line) {
  static const bool isOpen = [] {
    openlog("vannerly", LOG_PID, LOG_USER);
    return true;
  }();
  if (isOpen) syslog(LOG_NOTICE, "%s", Harmless(line).c_str());
}

void NSLog(const char *format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  va_start(arguments, format);
  (void)std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  WriteToSystemLog(text);
  if (isatty(STDERR_FILENO) == 1) {
    (void)std::fprintf(stderr, "vannerly: %s\n", Harmless(text).c_str());
  }
}
