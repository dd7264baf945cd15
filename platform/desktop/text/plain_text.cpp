#include "platform/desktop/text/plain_text.h"

#include <QStringList>

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

QString IsolatedPath(const QString &path) {
  constexpr QChar kFirstStrongIsolate(0x2068);
  constexpr QChar kPopDirectionalIsolate(0x2069);
  QStringList names = path.split(QLatin1Char('/'));
  for (QString &name : names) {
    if (!name.isEmpty()) name = kFirstStrongIsolate + name + kPopDirectionalIsolate;
  }
  return names.join(QLatin1Char('/'));
}

QString WithPathIsolated(const QString &line) {
  const qsizetype end = line.indexOf(QLatin1String(": "));
  if (!line.startsWith(QLatin1Char('/')) || end < 0) return line;
  return IsolatedPath(line.left(end)) + line.mid(end);
}

QString LabelText(const QString &text) {
  return QString(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}
