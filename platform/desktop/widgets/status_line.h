/// A line of status text in the window.
#pragma once

#include <QBasicTimer>
#include <QLabel>

/// Shows a plain text that never makes the window wider: one that does not fit is broken into as
/// many lines as there are, or loses its middle. A screen reader is told of the latest change
/// twice a second at most.
class StatusLine final : public QLabel {
  Q_OBJECT
  Q_PROPERTY(QString text READ Text WRITE ShowText)
  Q_PROPERTY(int lines MEMBER lines_)

 public:
  explicit StatusLine(QWidget *parent);

  const QString &Text() const { return text_; }
  /// Shows `text`; control characters in it are shown as blanks.
  void ShowText(const QString &text);

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent *event) override;
  void timerEvent(QTimerEvent *event) override;

 private:
  // Not the label's own text, of which it would tell at every change.
  QString text_;
  int lines_ = 1;  ///< how many lines there is room for
  QBasicTimer announcement_;
};
