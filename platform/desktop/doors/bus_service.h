/// The program on the session bus: one Vannerly a session, which the desktop can ask to open
/// folders.
#pragma once

#include <QByteArray>
#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

/// Answers org.freedesktop.Application, the way in that freedesktop.org gives
/// desktop entries which are activated over the bus.
class BusService final : public QObject, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

 public:
  using QObject::QObject;

 public Q_SLOTS:
  void Activate(const QVariantMap &platformData);
  void Open(const QStringList &uris, const QVariantMap &platformData);
  void ActivateAction(const QString &action, const QVariantList &parameter,
                      const QVariantMap &platformData);

 private:
  /// Answers an error to a call that comes too late, so that the caller does it itself.
  bool IsTooLate() const;
};

/// Lets a window of the program come to the front next: the token by which the desktop permits it.
void UseActivationToken(const QByteArray &token);

/// What became of the attempt to be the one Vannerly of the session.
enum class BusOutcome {
  kIsFirst,       ///< it is, or there is no session bus
  kHandedOver,    ///< another one is, and has taken the folders
  kDoesNotAnswer  ///< another one is, but took nothing in the time that it had
};

/// What a start is for.
struct StartRequest {
  QStringList uris;               ///< the folders to flatten, or to preview
  bool wantsPreview = false;      ///< of the folders, or without any of one that is to be chosen
  bool wantsPreferences = false;  ///< the preferences are to be shown; then there are no folders
};

/// Takes the program's name on the session bus. When another Vannerly has it, hands the request
/// over to that one, which comes to the front when nothing is asked of it.
BusOutcome ClaimBusName(const StartRequest &request);

/// Gives the name up: from now on a new start is a program of its own, and a call that has been
/// under way is answered with an error.
void ReleaseBusName();
