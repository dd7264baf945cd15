#include "platform/text_encoding.h"

#include <unicode/ucnv.h>
#include <unicode/unorm2.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "platform/posix/plain_text.h"

struct OpaqueTECObject {
  bool isToMacRoman;
};

namespace {

OpaqueTECObject toMacRoman{true};
OpaqueTECObject fromMacRoman{false};

constexpr std::uint8_t kUnmappable = '?';

/// What each Mac Roman byte stands for, and the way back. ICU's converter would leave out what it
/// calls ignorable instead of answering "?", and be slow one character at a time; so it is asked
/// for its table once.
class CMacRomanTable {
 public:
  /// The table; none when ICU's data lacks it.
  static const CMacRomanTable *Get() {
    static const std::optional<CMacRomanTable> table = Load();
    return table ? &*table : nullptr;
  }

  char16_t TextOf(std::uint8_t byte) const { return text_[byte]; }

  std::optional<std::uint8_t> ByteOf(char16_t unit) const {
    if (unit < 0x80) return static_cast<std::uint8_t>(unit);
    const auto found = std::lower_bound(bytes_.begin(), bytes_.end(), std::pair{unit, 0});
    if (found == bytes_.end() || found->first != unit) return std::nullopt;
    return static_cast<std::uint8_t>(found->second);
  }

 private:
  static std::optional<CMacRomanTable> Load() {
    std::array<char, 256> all;
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<char>(i);
    CMacRomanTable table;
    UErrorCode status = U_ZERO_ERROR;
    UConverter *converter = ucnv_open("macintosh", &status);
    const int length = ucnv_toUChars(converter, table.text_.data(), 256, all.data(), 256, &status);
    ucnv_close(converter);
    if (U_FAILURE(status) || length != 256) return std::nullopt;
    for (std::size_t i = 0; i < table.bytes_.size(); ++i) {
      const int byte = static_cast<int>(i) + 0x80;
      table.bytes_[i] = {table.text_[static_cast<std::size_t>(byte)], byte};
    }
    std::sort(table.bytes_.begin(), table.bytes_.end());
    return table;
  }

  std::array<char16_t, 256> text_;
  std::array<std::pair<char16_t, int>, 128> bytes_;  ///< of the upper half, by what they stand for
};

const UNormalizer2 *Composer() {
  static const UNormalizer2 *const composer = [] {
    UErrorCode status = U_ZERO_ERROR;
    return unorm2_getNFCInstance(&status);
  }();
  return composer;
}

/// How many units of `text`, which is not empty, compose among themselves and with nothing after
/// them.
std::size_t SegmentLength(std::u16string_view text) {
  std::size_t length = 0;
  for (;;) {
    UChar32 character = 0;
    U16_NEXT(text.data(), length, text.size(), character);
    if (length == text.size()) return length;
    std::size_t next = length;
    U16_NEXT(text.data(), next, text.size(), character);
    if (unorm2_hasBoundaryBefore(Composer(), character)) return length;
  }
}

/// Writes the Mac Roman bytes of one segment to `bytes`.
void ConvertSegment(const CMacRomanTable &table, std::u16string_view segment,
                    std::u16string *composed, std::string *bytes) {
  bytes->clear();
  if (segment.size() == 1) {
    if (const auto byte = table.ByteOf(segment[0])) {
      bytes->push_back(static_cast<char>(*byte));
      return;
    }
  }
  composed->resize(segment.size() * 3);  // the most by which composing can lengthen UTF-16
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t length =
      unorm2_normalize(Composer(), segment.data(), static_cast<std::int32_t>(segment.size()),
                       composed->data(), static_cast<std::int32_t>(composed->size()), &status);
  composed->resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
  for (std::size_t i = 0; i < composed->size();) {
    UChar32 character = 0;
    U16_NEXT(composed->data(), i, composed->size(), character);
    const auto byte =
        character <= 0xFFFF ? table.ByteOf(static_cast<char16_t>(character)) : std::nullopt;
    bytes->push_back(static_cast<char>(byte.value_or(kUnmappable)));
  }
}

/// One conversion: what is still to be read, and the room that is left.
struct Conversion {
  const std::uint8_t *input;
  std::size_t inputSize;
  std::size_t read;
  std::uint8_t *output;
  std::size_t outputSize;
  std::size_t written;

  char16_t UnitAt(std::size_t offset) const {
    char16_t unit = 0;
    std::memcpy(&unit, input + offset, sizeof unit);
    return unit;
  }
};

/// Converts as long as the text is plain ASCII, which most names are. The last character before
/// anything else is left, for an accent may follow it.
void ConvertAscii(Conversion *conversion) {
  const std::size_t units = conversion->inputSize / 2;
  const std::size_t most = std::min(units, conversion->outputSize);
  const std::u16string_view text(reinterpret_cast<const char16_t *>(conversion->input), most);
  std::size_t count = CopyPlainText(text, conversion->output);
  if (count > 0 && count < units && conversion->UnitAt(2 * count) >= 0x80) --count;
  conversion->read = 2 * count;
  conversion->written = count;
}

void ConvertToMacRoman(const CMacRomanTable &table, Conversion *conversion) {
  ConvertAscii(conversion);
  const std::size_t units = (conversion->inputSize - conversion->read) / 2;
  if (units == 0 || conversion->written == conversion->outputSize) return;
  std::u16string rest(units, u'\0');
  std::memcpy(rest.data(), conversion->input + conversion->read, units * 2);
  std::u16string composed;
  std::string bytes;
  for (std::size_t at = 0; at < rest.size();) {
    const std::u16string_view text = std::u16string_view(rest).substr(at);
    const std::size_t length = SegmentLength(text);
    ConvertSegment(table, text.substr(0, length), &composed, &bytes);
    if (bytes.size() > conversion->outputSize - conversion->written) return;
    std::memcpy(conversion->output + conversion->written, bytes.data(), bytes.size());
    conversion->written += bytes.size();
    conversion->read += length * 2;
    at += length;
  }
}

void ConvertFromMacRoman(const CMacRomanTable &table, Conversion *conversion) {
  while (conversion->read < conversion->inputSize &&
         conversion->outputSize - conversion->written >= 2) {
    const char16_t unit = table.TextOf(conversion->input[conversion->read++]);
    std::memcpy(conversion->output + conversion->written, &unit, sizeof unit);
    conversion->written += sizeof unit;
  }
}

}  // namespace

OSStatus TECCreateConverter(TECObjectRef *converter, TextEncoding from, TextEncoding to) {
  if (from == kTextEncodingUnicodeDefault && to == kTextEncodingMacRoman) {
    *converter = &toMacRoman;
  } else if (from == kTextEncodingMacRoman && to == kTextEncodingUnicodeDefault) {
    *converter = &fromMacRoman;
  } else {
    return paramErr;
  }
  return noErr;
}

OSStatus TECConvertText(TECObjectRef converter, const void *input, std::size_t inputSize,
                        std::size_t *actualInputSize, void *output, std::size_t outputSize,
                        std::size_t *actualOutputSize) {
  *actualInputSize = 0;
  *actualOutputSize = 0;
  if (converter == nullptr) return paramErr;
  const CMacRomanTable *table = CMacRomanTable::Get();
  if (table == nullptr || Composer() == nullptr) return paramErr;
  Conversion conversion{static_cast<const std::uint8_t *>(input), inputSize,  0,
                        static_cast<std::uint8_t *>(output),      outputSize, 0};
  if (converter->isToMacRoman) {
    ConvertToMacRoman(*table, &conversion);
  } else {
    ConvertFromMacRoman(*table, &conversion);
  }
  *actualInputSize = conversion.read;
  *actualOutputSize = conversion.written;
  return noErr;
}

OSStatus TECDisposeConverter(TECObjectRef converter) {
  // The converters are shared and live as long as the process.
  return converter == nullptr ? paramErr : noErr;
}
