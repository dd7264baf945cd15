/// The desktop's notifications: org.freedesktop.Notifications, and what becomes of those sent.
#pragma once

#include <QObject>
#include <QSet>

/// Never waits for the service. Belongs to the application.
class Notifications final : public QObject {
  Q_OBJECT

 public:
  static Notifications &Get();

  void Send(const QString &title, const QString &text);

 private Q_SLOTS:
  void UseToken(uint id, const QString &token);
  void Act(uint id, const QString &action);

 private:
  explicit Notifications(QObject *parent);

  QSet<uint> sent_;  ///< the numbers that the service has given them
};
