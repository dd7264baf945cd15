#include "fsutil/mac_roman.h"

#include "platform/text_encoding.h"

void ConvertUnicodeToMacRoman(ShortString &outText, std::u16string_view text) {
  // One converter serves every name of a run: opening one costs more than using it.
  static TECObjectRef converter = nullptr;
  if (converter == nullptr) {
    (void)TECCreateConverter(&converter, kTextEncodingUnicodeDefault, kTextEncodingMacRoman);
  }
  std::size_t bytesRead = 0;
  std::size_t bytesWritten = 0;
  (void)TECConvertText(converter, text.data(), text.size() * sizeof(char16_t), &bytesRead, outText,
                       kShortStringLimit, &bytesWritten);
  outText[bytesWritten] = '\0';
}
