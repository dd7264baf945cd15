#include "platform/text_encoding.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Converted {
  std::string bytes;
  std::size_t read;
};

Converted Convert(TextEncoding from, TextEncoding to, const void *input, std::size_t size,
                  std::size_t room) {
  TECObjectRef converter = nullptr;
  EXPECT_EQ(TECCreateConverter(&converter, from, to), noErr);
  Converted converted{std::string(room, '#'), 0};
  std::size_t written = 0;
  EXPECT_EQ(TECConvertText(converter, input, size, &converted.read, converted.bytes.data(), room,
                           &written),
            noErr);
  EXPECT_LE(written, room);
  converted.bytes.resize(written);
  EXPECT_EQ(TECDisposeConverter(converter), noErr);
  return converted;
}

Converted ToMacRoman(std::u16string_view text, std::size_t room = 1000) {
  return Convert(kTextEncodingUnicodeDefault, kTextEncodingMacRoman, text.data(), text.size() * 2,
                 room);
}

TEST(TextEncodings, UnicodeBecomesMacRomanOneCharacterAtATime) {
  const std::u16string halfPair(1, u'\xD83D');
  const std::u16string strayByte(1, u'\xDCFF');
  const struct {
    std::u16string text;
    std::string bytes;
  } cases[] = {
      {u"", ""},
      {u"plain name.txt", "plain name.txt"},
      {u"caf\u00E9", "caf\x8E"},
      {u"cafe\u0301s", "caf\x8Es"},             // composed first
      {u"e\u0301e\u0301", "\x8E\x8E"},          //
      {u"\u212B\u2126", "\x81\xBD"},            // Angstrom and ohm signs have composed twins
      {u"\u20AC\uFB01\u03C0", "\xDB\xDE\xB9"},  // euro, fi, pi
      {u"x\u0301y", "x?y"},                     // no such letter: the accent is lacking
      {u"\u65E5\u672C.txt", "??.txt"},          //
      {u"a\U0001F600b", "a?b"},                 // two units, one character
      {u"a\u200Bb\uFE0F", "a?b?"},              // not to be seen, but characters all the same
      {u"\u1112\u1161\u11AB", "?"},             // three letters compose to one syllable
      {u"a" + halfPair + u"b" + strayByte, "a?b?"},
  };
  for (const auto &[text, bytes] : cases) {
    const Converted converted = ToMacRoman(text);
    EXPECT_EQ(converted.bytes, bytes);
    EXPECT_EQ(converted.read, text.size() * 2) << bytes;
  }
  const std::string accents(3000, '?');
  EXPECT_EQ(ToMacRoman(u"q" + std::u16string(3000, u'\u0301'), 4000).bytes, "q" + accents);
}

TEST(TextEncodings, AFullOutputStopsBetweenCharacters) {
  const Converted cut = ToMacRoman(u"abce\u0301d", 4);
  EXPECT_EQ(cut.bytes, "abc\x8E");
  EXPECT_EQ(cut.read, 10u);
  const Converted shorter = ToMacRoman(u"abce\u0301d", 3);
  EXPECT_EQ(shorter.bytes, "abc");
  EXPECT_EQ(shorter.read, 6u);
  EXPECT_EQ(ToMacRoman(u"abc", 0).bytes, "");
}

TEST(TextEncodings, EveryMacRomanByteMakesTheRoundTrip) {
  std::string all;
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  const Converted text =
      Convert(kTextEncodingMacRoman, kTextEncodingUnicodeDefault, all.data(), all.size(), 512);
  ASSERT_EQ(text.bytes.size(), 512u);
  EXPECT_EQ(Convert(kTextEncodingUnicodeDefault, kTextEncodingMacRoman, text.bytes.data(), 512, 256)
                .bytes,
            all);
}

}  // namespace
