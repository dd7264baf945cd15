#include <cstring>
#include <string>
#include <vector>

#include "fsutil/short_strings.h"
#include "platform/terminal/terminal_text.h"
#include "platform/text_encoding.h"
#include "tests/fuzz/fuzz.h"

namespace {

struct Conversion {
  std::string bytes;
  std::size_t read = 0;
};

/// Converts into a buffer of exactly `room` bytes, so that a byte too much is noticed.
Conversion Convert(TextEncoding from, TextEncoding to, std::string_view input, std::size_t room) {
  TECObjectRef converter = nullptr;
  Require(TECCreateConverter(&converter, from, to) == noErr, "there is a converter");
  std::vector<char> output(room);
  Conversion done;
  std::size_t written = 0;
  Require(TECConvertText(converter, input.data(), input.size(), &done.read, output.data(), room,
                         &written) == noErr,
          "whatever the text, it is converted");
  Require(done.read <= input.size() && written <= room, "no bound is passed");
  done.bytes.assign(output.data(), written);
  return done;
}

Conversion ToMacRoman(std::string_view units, std::size_t room) {
  return Convert(kTextEncodingUnicodeDefault, kTextEncodingMacRoman, units, room);
}

void LookAtUnits(std::string_view units, std::size_t room) {
  // Composing cannot make more than three units, and so bytes, of one.
  const Conversion whole = ToMacRoman(units, units.size() * 3);
  Require(whole.read == units.size() / 2 * 2, "with room enough all is read");
  const Conversion part = ToMacRoman(units, room);
  Require(part.read % 2 == 0 && whole.bytes.starts_with(part.bytes), "a cut text is a beginning");
  const Conversion rest = ToMacRoman(units.substr(part.read), units.size() * 3);
  Require(part.bytes + rest.bytes == whole.bytes, "a conversion can go on where it stopped");
}

void LookAtShortStrings(std::u16string_view text, const std::string &bytes) {
  ShortString buffer;
  CopyCFStringToCString(buffer, text);
  Require(std::strlen(buffer) <= kShortStringLimit, "a short string is bounded");
  CopyBoundedCString(buffer, bytes.c_str());
  AppendBoundedCString(buffer, bytes.c_str());
  const std::string once = bytes.substr(0, bytes.find('\0'));
  Require(buffer == (once + once).substr(0, kShortStringLimit), "what is too long is cut");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const std::size_t room = input.ConsumeIntegralInRange<std::size_t>(0, 300);
  const std::string bytes = input.ConsumeRemainingBytesAsString();
  LookAtUnits(bytes, room);

  const Conversion text =
      Convert(kTextEncodingMacRoman, kTextEncodingUnicodeDefault, bytes, bytes.size() * 2);
  Require(text.read == bytes.size(), "every byte of Mac Roman is a character");
  Require(ToMacRoman(text.bytes, bytes.size()).bytes == bytes, "Mac Roman makes the round trip");

  std::u16string units(bytes.size() / 2, u'\0');
  if (!units.empty()) std::memcpy(units.data(), bytes.data(), units.size() * 2);
  LookAtShortStrings(units, bytes);
  for (const char shown : TerminalText(units) + TerminalTextFromDisk(bytes)) {
    Require(static_cast<unsigned char>(shown) >= 0x20 && shown != 0x7F,
            "no control character comes to the terminal");
  }
  return 0;
}
