/// The area that invites the user to drop a folder.
#pragma once

#include <QAbstractButton>

/// A dashed frame with the program's icon in its upper part; a click anywhere in it, or a key, is a
/// click of the button. The drop itself is taken by the window.
class DropArea final : public QAbstractButton {
  Q_OBJECT

 public:
  explicit DropArea(QWidget *parent);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent *event) override;
};
