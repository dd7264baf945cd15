#include "platform/desktop/plain_text.h"

#include <array>

#include "platform/text_encoding.h"

QString TextFromMacRoman(std::span<const std::uint8_t> bytes) {
  std::array<char16_t, 512> text;
  std::size_t read = 0;
  std::size_t written = 0;
  TECObjectRef converter = nullptr;
  if (TECCreateConverter(&converter, kTextEncodingMacRoman, kTextEncodingUnicodeDefault) != noErr)
    return {};
  (void)TECConvertText(converter, bytes.data(), bytes.size(), &read, text.data(), sizeof text,
                       &written);
  (void)TECDisposeConverter(converter);
  return QString::fromUtf16(text.data(), static_cast<qsizetype>(written / sizeof(char16_t)));
}

QString OneLine(QStringView text) {
  QString plain;
  plain.reserve(text.size());
  for (qsizetype i = 0; i < text.size(); ++i) {
    const QChar unit = text[i];
    if (unit.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
      plain += unit;
      plain += text[++i];
    } else if (unit.isSurrogate()) {
      plain += QChar::ReplacementCharacter;
    } else {
      const QChar::Category category = unit.category();
      const bool disturbs = category == QChar::Other_Control || category == QChar::Other_Format ||
                            category == QChar::Separator_Line ||
                            category == QChar::Separator_Paragraph;
      // The joiners are format characters too, but words of some languages need them.
      const bool joins = unit == QChar(0x200C) || unit == QChar(0x200D);
      plain += disturbs && !joins ? QChar(QChar::Space) : unit;
    }
  }
  return plain;
}

QString LabelText(const QString &text) {
  return QString(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}
