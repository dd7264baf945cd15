#include "fsutil/short_strings.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ShortStrings, CutBetweenTwoCharacters) {
  for (const std::string character : {"\xC3\xA9", "\xE6\x97\xA5", "\xF0\x9F\x98\x80"}) {
    for (std::size_t missing = 0; missing <= character.size(); ++missing) {
      const std::string before(kShortStringLimit - character.size() + missing, 'x');
      const std::string source = before + character + "y";
      const std::string expected =
          missing == 0 ? before + character : source.substr(0, before.size());
      ShortString text;
      EXPECT_EQ(std::string(CopyBoundedCString(text, source.c_str())), expected);
      CopyBoundedCString(text, before.c_str());
      EXPECT_EQ(std::string(AppendBoundedCString(text, (character + "y").c_str())), expected);
      FormatCString(text, "%s!", {source.c_str()});
      EXPECT_EQ(text, expected) << "nothing follows what was cut";
      PascalString pascalText;
      CopyCStringToPascal(source.c_str(), pascalText);
      EXPECT_EQ(std::string(pascalText + 1, pascalText + 1 + pascalText[0]), expected);
    }
  }
  // What is not UTF-8 has no characters to keep whole.
  ShortString text;
  const std::string stray(300, '\x80');
  EXPECT_EQ(std::string(CopyBoundedCString(text, stray.c_str())), stray.substr(0, 255));
  EXPECT_EQ(std::string(CopyCFStringToCString(text, std::u16string(254, u'x') + u"\u00E9")),
            std::string(254, 'x'));
}

TEST(ShortStrings, WriteNumbersInDecimal) {
  for (const auto &[value, digits] : {std::pair{0, "0"},
                                      {7, "7"},
                                      {-42, "-42"},
                                      {2147483647, "2147483647"},
                                      {-2147483647 - 1, "-2147483648"}}) {
    ShortString text = "n=";
    EXPECT_EQ(std::string(AppendDecimalNumber(text, value)), std::string("n=") + digits);
  }
  for (const auto &[size, value, digits] :
       {std::tuple{3, 12345, "45"}, {3, -12345, "-45"}, {2, 10, "0"}, {1, -5, "-"}}) {
    char text[8] = "???????";
    FormatDecimalNumber(text, static_cast<std::int16_t>(size), value);
    EXPECT_STREQ(text, digits);
  }
}

TEST(ShortStrings, FormatsAreFilledInAndCut) {
  ShortString text;
  FormatCString(text, "(%d of %d)", {-1, 2147483647});
  EXPECT_STREQ(text, "(-1 of 2147483647)");
  FormatCString(text, "%s, 100%, %s%", {"50% %s", ""});
  EXPECT_STREQ(text, "50% %s, 100%, %");
  const std::string longText(254, 'x');
  FormatCString(text, "%s%d!", {longText.c_str(), 12});
  EXPECT_EQ(text, longText + "1");
}

}  // namespace
