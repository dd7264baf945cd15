// The progress on the program's icon: the signal to which docks and task bars listen.
#include <QDBusConnection>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QVariantMap>

#include "platform/background.h"

namespace {

void Tell(const QVariantMap &properties) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  QDBusMessage update = QDBusMessage::createSignal(
      QStringLiteral("/com/brenmoor/Vannerly"), QStringLiteral("com.canonical.Unity.LauncherEntry"),
      QStringLiteral("Update"));
  update << QStringLiteral("application://%1.desktop").arg(QGuiApplication::desktopFileName())
         << properties;
  (void)bus.send(update);
}

}  // namespace

void ShowProgressOnIcon(int percent) {
  Tell({{QStringLiteral("progress"), percent / 100.0}, {QStringLiteral("progress-visible"), true}});
}

void RemoveProgressFromIcon() {
  Tell({{QStringLiteral("progress"), 0.0}, {QStringLiteral("progress-visible"), false}});
}
