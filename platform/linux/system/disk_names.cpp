#include "platform/linux/system/disk_names.h"

#include <algorithm>
#include <type_traits>

#include "platform/linux/system/plain_text.h"

namespace {

constexpr char16_t kFirstByteSurrogate = 0xDC80;
constexpr char16_t kLastByteSurrogate = 0xDCFF;
constexpr std::size_t kMostUnits = std::extent_v<decltype(HFSUniStr255::unicode)>;

unsigned char ByteAt(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

bool IsContinuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

/// Writes the text of `bytes` to `out`, which has room for one unit a byte, and returns its length.
std::size_t Decode(std::string_view bytes, char16_t *out) {
  std::size_t length = CopyPlainText(bytes, out);
  for (std::size_t i = length; i < bytes.size();) {
    char32_t codePoint = 0;
    const std::size_t sequence = Utf8SequenceLength(bytes, i, &codePoint);
    if (sequence == 0) {
      out[length++] = static_cast<char16_t>(0xDC00 + ByteAt(bytes, i));
      ++i;
      continue;
    }
    if (codePoint >= 0x10000) {
      out[length++] = static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
      out[length++] = static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    } else {
      out[length++] = static_cast<char16_t>(codePoint);
    }
    i += sequence;
  }
  return length;
}

}  // namespace

std::size_t WriteUtf8(char32_t codePoint, char *out) {
  char *at = out;
  const auto write = [&at](char32_t byte) { *at++ = static_cast<char>(byte); };
  if (codePoint < 0x80) {
    write(codePoint);
  } else if (codePoint < 0x800) {
    write(0xC0 | codePoint >> 6);
    write(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    write(0xE0 | codePoint >> 12);
    write(0x80 | (codePoint >> 6 & 0x3F));
    write(0x80 | (codePoint & 0x3F));
  } else {
    write(0xF0 | codePoint >> 18);
    write(0x80 | (codePoint >> 12 & 0x3F));
    write(0x80 | (codePoint >> 6 & 0x3F));
    write(0x80 | (codePoint & 0x3F));
  }
  return static_cast<std::size_t>(at - out);
}

std::optional<char32_t> TakeCharacter(std::u16string_view text, std::size_t *at) {
  const char16_t unit = text[(*at)++];
  if (unit < 0xD800 || unit > 0xDFFF) return unit;
  if (unit > 0xDBFF || *at == text.size() || text[*at] < 0xDC00 || text[*at] > 0xDFFF)
    return std::nullopt;
  return 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) + (text[(*at)++] - 0xDC00);
}

std::size_t Utf8SequenceLength(std::string_view bytes, std::size_t start, char32_t *codePoint) {
  const unsigned char lead = ByteAt(bytes, start);
  std::size_t length = 0;
  char32_t value = 0;
  char32_t smallest = 0;
  if (lead < 0x80) {
    *codePoint = lead;
    return 1;
  }
  if ((lead & 0xE0) == 0xC0) {
    length = 2, value = lead & 0x1F, smallest = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, value = lead & 0x0F, smallest = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, value = lead & 0x07, smallest = 0x10000;
  }
  if (length == 0 || start + length > bytes.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned char byte = ByteAt(bytes, start + i);
    if (!IsContinuation(byte)) return 0;
    value = value << 6 | (byte & 0x3F);
  }
  if (value < smallest || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return 0;
  *codePoint = value;
  return length;
}

std::u16string TextFromDisk(std::string_view bytes) {
  std::u16string text(bytes.size(), u'\0');
  text.resize(Decode(bytes, text.data()));
  return text;
}

bool NameFromDisk(std::string_view bytes, HFSUniStr255 *name) {
  if (bytes.size() <= kMostUnits) {
    name->length = static_cast<std::uint16_t>(Decode(bytes, name->unicode));
    return true;
  }
  // Only characters of several bytes can bring it within the limit.
  const std::u16string text = TextFromDisk(bytes);
  if (text.size() > kMostUnits) return false;
  std::ranges::copy(text, name->unicode);
  name->length = static_cast<std::uint16_t>(text.size());
  return true;
}

bool TextToDisk(std::u16string_view text, std::string *bytes) {
  bytes->resize(text.size());
  const std::size_t plain = CopyPlainText(text, bytes->data());
  bytes->resize(plain);
  if (bytes->find('\0') != std::string::npos) return false;
  for (std::size_t i = plain; i < text.size();) {
    const char16_t unit = text[i];
    if (unit == 0) return false;
    if (const std::optional<char32_t> character = TakeCharacter(text, &i)) {
      char sequence[kLongestUtf8];
      bytes->append(sequence, WriteUtf8(*character, sequence));
    } else if (unit >= kFirstByteSurrogate && unit <= kLastByteSurrogate) {
      bytes->push_back(static_cast<char>(unit - 0xDC00));
    } else {
      return false;
    }
  }
  return true;
}

OSErr NameToDisk(std::u16string_view name, std::string *bytes) {
  if (name.empty() || !TextToDisk(name, bytes)) return bdNamErr;
  if (bytes->find('/') != std::string::npos) return bdNamErr;
  return *bytes == "." || *bytes == ".." ? bdNamErr : noErr;
}
