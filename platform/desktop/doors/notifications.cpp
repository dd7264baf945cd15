#include "platform/desktop/doors/notifications.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>
#include <QVariantMap>

#include "platform/background.h"
#include "platform/desktop/doors/bus_service.h"
#include "platform/desktop/text/plain_text.h"
#include "platform/processes.h"

namespace {

constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kPath[] = "/org/freedesktop/Notifications";
constexpr int kTimeOfTheDesktop = -1;  ///< how long it is shown

}  // namespace

Notifications &Notifications::Get() {
  static QPointer<Notifications> notifications;
  if (notifications == nullptr) notifications = new Notifications(qApp);
  return *notifications;
}

Notifications::Notifications(QObject *parent) : QObject(parent) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  // From whoever sends them: to name the service would be to wait for the bus to look it up.
  bus.connect(QString(), QLatin1String(kPath), QLatin1String(kService),
              QStringLiteral("ActivationToken"), this, SLOT(UseToken(uint, QString)));
  bus.connect(QString(), QLatin1String(kPath), QLatin1String(kService),
              QStringLiteral("ActionInvoked"), this, SLOT(Act(uint, QString)));
}

void Notifications::Send(const QString &title, const QString &text) {
  const QString entry = QGuiApplication::desktopFileName();
  QDBusMessage call =
      QDBusMessage::createMethodCall(QLatin1String(kService), QLatin1String(kPath),
                                     QLatin1String(kService), QStringLiteral("Notify"));
  call << QStringLiteral("Vannerly") << 0U << entry << title << text
       << QStringList{QStringLiteral("default"), tr("Show")}
       << QVariantMap{{QStringLiteral("desktop-entry"), entry},
                      {QStringLiteral("category"), QStringLiteral("transfer.complete")}}
       << kTimeOfTheDesktop;
  auto *answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
  connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
    const QDBusPendingReply<uint> number = *answer;
    if (number.isValid()) sent_.insert(number.value());
    answer->deleteLater();
  });
}

void Notifications::UseToken(uint id, const QString &token) {
  if (sent_.contains(id)) UseActivationToken(token.toUtf8());
}

void Notifications::Act(uint id, const QString &action) {
  if (sent_.contains(id) && action == QLatin1String("default"))
    (void)SetFrontProcess({0, kCurrentProcess});
}

void NotifyInBackground(const std::u16string &title, const std::string &text) {
  if (QApplication::activeWindow() != nullptr) return;
  if (!QDBusConnection::sessionBus().isConnected()) return;
  Notifications::Get().Send(OneLine(QString::fromStdU16String(title)),
                            QString::fromStdString(text));
}
