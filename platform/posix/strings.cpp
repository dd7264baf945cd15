#include "platform/strings.h"

#include "platform/posix/disk_names.h"

std::optional<std::u16string> CFStringCreateWithCString(const char *text,
                                                        CFStringEncoding encoding) {
  if (encoding != kCFStringEncodingUTF8) return std::nullopt;
  return TextFromDisk(text);
}
