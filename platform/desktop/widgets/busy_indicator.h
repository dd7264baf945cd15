/// The indicator that moves while a folder is being flattened.
#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QWidget>

/// A ring of dots, one after the other lit. It moves only while it is seen: a hidden one wakes
/// nobody up.
class BusyIndicator final : public QWidget {
  Q_OBJECT

 public:
  explicit BusyIndicator(QWidget *parent);

 protected:
  void showEvent(QShowEvent *event) override;
  void hideEvent(QHideEvent *event) override;
  void timerEvent(QTimerEvent *event) override;
  void paintEvent(QPaintEvent *event) override;

 private:
  QBasicTimer step_;
  QElapsedTimer sinceShown_;
};
