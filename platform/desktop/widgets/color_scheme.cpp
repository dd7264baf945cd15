#include "platform/desktop/widgets/color_scheme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QPalette>

#include "platform/desktop/widgets/shades.h"

namespace {

constexpr char kService[] = "org.freedesktop.portal.Desktop";
constexpr char kPath[] = "/org/freedesktop/portal/desktop";
constexpr char kInterface[] = "org.freedesktop.portal.Settings";
constexpr char kGroup[] = "org.freedesktop.appearance";
constexpr char kKey[] = "color-scheme";
constexpr uint kPreferDark = 1;
constexpr int kMillisecondsForPortal = 250;

QPalette DarkPalette() {
  const QColor window(0x2b, 0x2d, 0x30);
  const QColor base(0x1f, 0x21, 0x23);
  const QColor text(0xe8, 0xe8, 0xe8);
  const QColor faint(0xa2, 0xa6, 0xaa);
  const QColor accent(0x4f, 0xb3, 0xac);
  QPalette palette(text, window.lighter(125), window.lighter(160), window.darker(160),
                   window.lighter(130), text, Qt::white, base, window);
  palette.setColor(QPalette::AlternateBase, window);
  palette.setColor(QPalette::ToolTipBase, base);
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, faint);
  palette.setColor(QPalette::Highlight, accent);
  palette.setColor(QPalette::HighlightedText, base);
  palette.setColor(QPalette::Link, accent);
  for (const QPalette::ColorRole role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, faint);
  }
  return palette;
}

bool IsDark(const QPalette &palette) {
  return palette.color(QPalette::Window).lightness() <
         palette.color(QPalette::WindowText).lightness();
}

}  // namespace

ColorScheme::ColorScheme(QObject *parent) : QObject(parent) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  bus.connect(QString(), QLatin1String(kPath), QLatin1String(kInterface),
              QStringLiteral("SettingChanged"), this, SLOT(Change(QDBusMessage)));
  // Asked only where it runs already: to start it would hold up the window.
  if (!bus.interface()->isServiceRegistered(QLatin1String(kService))) return;
  QDBusMessage call =
      QDBusMessage::createMethodCall(QLatin1String(kService), QLatin1String(kPath),
                                     QLatin1String(kInterface), QStringLiteral("Read"));
  call << QLatin1String(kGroup) << QLatin1String(kKey);
  const QDBusReply<QDBusVariant> reply = bus.call(call, QDBus::Block, kMillisecondsForPortal);
  if (reply.isValid()) Apply(reply.value().variant());
}

void ColorScheme::Change(const QDBusMessage &signal) {
  const QVariantList values = signal.arguments();  // group, key, value
  if (values.size() == 3 && values[0] == QLatin1String(kGroup) && values[1] == QLatin1String(kKey))
    Apply(values[2]);
}

void ColorScheme::Apply(const QVariant &scheme) {
  // Wrapped once in the signal, twice in the answer to a call.
  const QVariant plain =
      scheme.canConvert<QDBusVariant>() ? scheme.value<QDBusVariant>().variant() : scheme;
  const bool wantsDark = plain.toUInt() == kPreferDark;
  if (wantsDark && !IsDark(QApplication::palette())) {
    light_ = QApplication::palette();
    // A style of a theme made for light colours would not mix with dark ones.
    QApplication::setStyle(new OutlinedStyle);
    QApplication::setPalette(DarkPalette());
    isDarkOurs_ = true;
  } else if (!wantsDark && isDarkOurs_) {
    QApplication::setPalette(light_);
    isDarkOurs_ = false;
  }
}
