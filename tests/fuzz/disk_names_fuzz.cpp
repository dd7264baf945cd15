#include <cstring>

#include "platform/posix/disk_names.h"
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

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  LookAtBytes(TextOfInput(data, size));
  std::u16string text(size / 2, u'\0');
  if (!text.empty()) std::memcpy(text.data(), data, text.size() * 2);
  LookAtText(text);
  return 0;
}
