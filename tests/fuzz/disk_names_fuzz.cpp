#include <cstring>

#include "fsutil/short_strings.h"
#include "platform/linux/system/disk_names.h"
#include "platform/terminal/terminal_text.h"
#include "tests/fuzz/fuzz.h"

namespace {

void LookAtBytes(std::string_view bytes) {
  const std::u16string text = TextFromDisk(bytes);
  std::string back;
  const bool hasZero = bytes.find('\0') != bytes.npos;
  Require(TextToDisk(text, &back) != hasZero, "all bytes but zero can go back to the disk");
  Require(hasZero || back == bytes, "every byte string makes the round trip");

  HFSUniStr255 name{};
  NameFromDisk(bytes, &name);
  Require(bytes.size() > 255 || name.View() == text, "a name is the text of its bytes");
  std::string onDisk;
  const bool isName =
      !bytes.empty() && !hasZero && bytes != "." && bytes != ".." && bytes.find('/') == bytes.npos;
  Require((NameToDisk(text, &onDisk) == noErr) == isName, "what can be a name is one");
  Require(!isName || onDisk == bytes, "every name makes the round trip");
}

/// Text need not come back as it was (a lone surrogate before another may join it), but what it
/// is on disk does.
void LookAtText(std::u16string_view text) {
  std::string bytes;
  if (!TextToDisk(text, &bytes)) return;
  Require(bytes.size() <= text.size() * 3, "a unit takes three bytes at the most");
  LookAtBytes(bytes);
}

/// As a status text, and on a terminal.
void LookAtWhatIsShown(std::u16string_view text, std::string_view bytes) {
  ShortString shown;
  ConvertUnicodeToUtf8(shown, text);
  const std::size_t length = std::strlen(shown);
  Require(length <= kShortStringLimit, "a short string is bounded");
  char32_t character = 0;
  for (std::size_t at = 0; at < length;) {
    const std::size_t sequence = Utf8SequenceLength({shown, length}, at, &character);
    Require(sequence > 0, "what is shown is UTF-8, and ends with a whole character");
    at += sequence;
  }
  const std::string onTerminal = TerminalText(text) + TerminalTextFromDisk(bytes);
  for (const char byte : onTerminal) {
    Require(static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7F,
            "no control character comes to the terminal");
  }
  Require(onTerminal.starts_with(CutToColumns(onTerminal, 40)), "a cut text is a beginning");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  LookAtBytes(TextOfInput(data, size));
  std::u16string text(size / 2, u'\0');
  if (!text.empty()) std::memcpy(text.data(), data, text.size() * 2);
  LookAtText(text);
  LookAtWhatIsShown(text, TextOfInput(data, size));
  return 0;
}
