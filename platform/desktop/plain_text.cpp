#include "platform/desktop/plain_text.h"

QString TextFromUtf8(std::span<const std::uint8_t> bytes) {
  return QString::fromUtf8(reinterpret_cast<const char *>(bytes.data()),
                           static_cast<qsizetype>(bytes.size()));
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
