/// Light or dark, as the user has asked the desktop for.
#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QPalette>

/// Follows the desktop's setting where the platform theme does not do so by itself: asks the
/// settings portal, and listens to it while the program runs.
class ColorScheme final : public QObject {
  Q_OBJECT

 public:
  explicit ColorScheme(QObject *parent);

 private Q_SLOTS:
  void Change(const QDBusMessage &signal);

 private:
  void Apply(const QVariant &scheme);

  bool isDarkOurs_ = false;  ///< the dark colours are this class's doing
  QPalette light_;           ///< the colours before they were
};
