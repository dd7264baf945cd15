/// The window that shows all messages, each whole.
#pragma once

#include <QDialog>
#include <QStringList>
#include <QTextEdit>

/// Beside the event loop, so that a run goes on behind it; what is told meanwhile is added. Deletes
/// itself when it is closed.
class MessagesWindow final : public QDialog {
  Q_OBJECT

 public:
  /// `messages` are plain lines, the oldest first. No more than `most` are kept.
  MessagesWindow(const QStringList &messages, int most, QWidget *parent);

  void Add(const QString &message);

 Q_SIGNALS:
  /// The user has read them.
  void dismissed();

 private:
  QTextEdit *text_;
};
