#include "platform/desktop/doors/bus_service.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include "platform/desktop/doors/documents.h"
#include "platform/desktop/doors/folder_chooser.h"
#include "platform/desktop/windows/commands.h"
#include "platform/processes.h"

namespace {

constexpr char kName[] = "com.brenmoor.Vannerly";
constexpr char kPath[] = "/com/brenmoor/Vannerly";
constexpr char kInterface[] = "org.freedesktop.Application";
constexpr char kPreferencesAction[] = "preferences";
constexpr char kPreviewAction[] = "preview";
constexpr int kMillisecondsToAnswer = 10000;

bool isNameReleased = false;

QByteArray TokenIn(const QVariantMap &platformData) {
  return platformData.value(QStringLiteral("activation-token")).toByteArray();
}

/// The tokens that this start was given.
QVariantMap OwnPlatformData() {
  QVariantMap data;
  for (const auto &[variable, key] : {std::pair("XDG_ACTIVATION_TOKEN", "activation-token"),
                                      std::pair("DESKTOP_STARTUP_ID", "desktop-startup-id")}) {
    if (qEnvironmentVariableIsSet(variable))
      data.insert(QLatin1String(key), qEnvironmentVariable(variable));
  }
  return data;
}

QDBusMessage MethodCall(const char *method) {
  return QDBusMessage::createMethodCall(QLatin1String(kName), QLatin1String(kPath),
                                        QLatin1String(kInterface), QLatin1String(method));
}

QDBusMessage CallFor(const StartRequest &request) {
  if (request.wantsPreferences)
    return MethodCall("ActivateAction") << QLatin1String(kPreferencesAction) << QVariantList();
  if (request.wantsPreview) {
    const QVariantList uris(request.uris.begin(), request.uris.end());
    return MethodCall("ActivateAction") << QLatin1String(kPreviewAction) << uris;
  }
  if (request.uris.isEmpty()) return MethodCall("Activate");
  return MethodCall("Open") << request.uris;
}

/// The addresses in an action's parameter: each by itself, or a list of them.
QStringList UrisIn(const QVariantList &parameter) {
  QStringList uris;
  for (const QVariant &value : parameter) uris += value.toStringList();
  return uris;
}

bool HandOver(QDBusConnection &bus, const StartRequest &request) {
  const QDBusMessage call = CallFor(request) << OwnPlatformData();
  return bus.call(call, QDBus::Block, kMillisecondsToAnswer).type() == QDBusMessage::ReplyMessage;
}

}  // namespace

void UseActivationToken(const QByteArray &token) {
  // The platform plug-in takes it from there.
  if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token);
}

bool BusService::IsTooLate() const {
  if (!isNameReleased) return false;
  sendErrorReply(QDBusError::Failed, QStringLiteral("Vannerly is about to quit"));
  return true;
}

void BusService::Activate(const QVariantMap &platformData) {
  if (IsTooLate()) return;
  UseActivationToken(TokenIn(platformData));
  (void)SetFrontProcess({0, kCurrentProcess});
}

void BusService::Open(const QStringList &uris, const QVariantMap &platformData) {
  if (IsTooLate()) return;
  UseActivationToken(TokenIn(platformData));
  SendUris(kAEOpenDocuments, uris);
}

void BusService::ActivateAction(const QString &action, const QVariantList &parameter,
                                const QVariantMap &platformData) {
  if (IsTooLate()) return;
  UseActivationToken(TokenIn(platformData));
  if (action == QLatin1String(kPreferencesAction)) {
    (void)SetFrontProcess({0, kCurrentProcess});
    GiveCommand(nullptr, kHICommandPreferences);
  } else if (action == QLatin1String("undo") || action == QLatin1String("redo")) {
    (void)SetFrontProcess({0, kCurrentProcess});
    GiveCommand(nullptr, action == QLatin1String("undo") ? kHICommandUndo : kHICommandRedo);
  } else if (action == QLatin1String(kPreviewAction)) {
    AskForPreview(UrisIn(parameter));
  } else if (action == QLatin1String("quit")) {
    GiveCommand(nullptr, kHICommandQuit);
  } else {
    sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("There is no such action"));
  }
}

BusOutcome ClaimBusName(const StartRequest &request) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return BusOutcome::kIsFirst;
  // There before the name is: a call to the name must find it.
  bus.registerObject(QLatin1String(kPath), new BusService(qApp), QDBusConnection::ExportAllSlots);
  // A Vannerly that ends while it is being asked leaves the name to this one.
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (bus.registerService(QLatin1String(kName))) return BusOutcome::kIsFirst;
    if (HandOver(bus, request)) return BusOutcome::kHandedOver;
  }
  return bus.registerService(QLatin1String(kName)) ? BusOutcome::kIsFirst
                                                   : BusOutcome::kDoesNotAnswer;
}

void ReleaseBusName() {
  isNameReleased = true;
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (bus.isConnected()) (void)bus.unregisterService(QLatin1String(kName));
}
