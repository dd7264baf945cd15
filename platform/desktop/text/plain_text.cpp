#include "platform/desktop/text/plain_text.h"

#include <QStringList>

#include "platform/linux/system/shown_text.h"

namespace {

constexpr QChar kFirstStrongIsolate(0x2068);
constexpr QChar kPopDirectionalIsolate(0x2069);

}  // namespace

QString TextFromUtf8(std::span<const std::uint8_t> bytes) {
  return QString::fromUtf8(reinterpret_cast<const char *>(bytes.data()),
                           static_cast<qsizetype>(bytes.size()));
}

QString OneLine(QStringView text) {
  const std::u16string_view units(text.utf16(), static_cast<std::size_t>(text.size()));
  return QString::fromStdU16String(ShownText(units, u' ', QChar::ReplacementCharacter));
}

QString IsolatedPath(const QString &path) {
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

QString WithoutIsolation(const QString &text) {
  return QString(text).remove(kFirstStrongIsolate).remove(kPopDirectionalIsolate);
}

QString LabelText(const QString &text) {
  return QString(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}

QString TitleText(const QString &text) {
  return OneLine(text).replace(QLatin1String("[*]"), QLatin1String("[*][*]"));
}
